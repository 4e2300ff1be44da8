#include "author/draft/territory.h"

#include <algorithm>

#include "foundation/text.h"

namespace tools::author {

namespace {

constexpr const wchar_t* kAnyName = L"?";  // which no name holds

// Keys of HKLM and HKCU alike, each as it reads in its own view. Every key that leads to one of them is shared as well.
constexpr const wchar_t* kSharedKeys[] = {
    L"Software\\Classes\\*\\shell",
    L"Software\\Classes\\*\\shellex\\ContextMenuHandlers",
    L"Software\\Classes\\AppID",
    L"Software\\Classes\\Applications",
    L"Software\\Classes\\CLSID",
    L"Software\\Classes\\Component Categories",
    L"Software\\Classes\\Installer\\Assemblies",
    L"Software\\Classes\\Installer\\Dependencies",
    L"Software\\Classes\\Installer\\Features",
    L"Software\\Classes\\Installer\\Patches",
    L"Software\\Classes\\Installer\\Products",
    L"Software\\Classes\\Installer\\UpgradeCodes\\?",
    L"Software\\Classes\\Interface",
    L"Software\\Classes\\MIME\\Database\\Content Type",
    L"Software\\Classes\\PROTOCOLS\\Filter",
    L"Software\\Classes\\PROTOCOLS\\Handler",
    L"Software\\Classes\\SystemFileAssociations",
    L"Software\\Classes\\TypeLib",
    L"Software\\Clients\\?",
    L"Software\\Microsoft\\Active Setup\\Installed Components",
    L"Software\\Microsoft\\Internet Explorer\\Extensions",
    L"Software\\Microsoft\\Internet Explorer\\Low Rights\\ElevationPolicy",
    L"Software\\Microsoft\\Windows NT\\CurrentVersion\\Fonts",
    L"Software\\Microsoft\\Windows NT\\CurrentVersion\\Image File Execution Options",
    L"Software\\Microsoft\\Windows\\CurrentVersion\\App Paths",
    L"Software\\Microsoft\\Windows\\CurrentVersion\\Explorer\\AutoplayHandlers\\Handlers",
    L"Software\\Microsoft\\Windows\\CurrentVersion\\Explorer\\Browser Helper Objects",
    L"Software\\Microsoft\\Windows\\CurrentVersion\\Explorer\\Desktop\\NameSpace",
    L"Software\\Microsoft\\Windows\\CurrentVersion\\Explorer\\MyComputer\\NameSpace",
    L"Software\\Microsoft\\Windows\\CurrentVersion\\Explorer\\ShellIconOverlayIdentifiers",
    L"Software\\Microsoft\\Windows\\CurrentVersion\\Installer\\Folders",
    L"Software\\Microsoft\\Windows\\CurrentVersion\\Installer\\UpgradeCodes\\?",
    L"Software\\Microsoft\\Windows\\CurrentVersion\\Installer\\UserData\\?\\Components\\?",
    L"Software\\Microsoft\\Windows\\CurrentVersion\\Installer\\UserData\\?\\Patches",
    L"Software\\Microsoft\\Windows\\CurrentVersion\\Installer\\UserData\\?\\Products",
    L"Software\\Microsoft\\Windows\\CurrentVersion\\Run",
    L"Software\\Microsoft\\Windows\\CurrentVersion\\RunOnce",
    L"Software\\Microsoft\\Windows\\CurrentVersion\\RunServices",
    L"Software\\Microsoft\\Windows\\CurrentVersion\\Shell Extensions\\Approved",
    L"Software\\Microsoft\\Windows\\CurrentVersion\\SharedDLLs",
    L"Software\\Microsoft\\Windows\\CurrentVersion\\Uninstall",
    L"Software\\ODBC\\ODBC.INI\\ODBC Data Sources",
    L"Software\\ODBC\\ODBCINST.INI\\ODBC Drivers",
    L"Software\\Policies\\Microsoft",
    L"Software\\RegisteredApplications",
    L"Environment",
    L"System\\CurrentControlSet\\Control\\SafeBoot\\?",
    L"System\\CurrentControlSet\\Control\\Session Manager\\Environment",
    L"System\\CurrentControlSet\\Services",
    L"System\\CurrentControlSet\\Services\\EventLog\\?",
};

constexpr const wchar_t* kSystemKeys[] = {
    L"HKLM\\Software\\Microsoft",
    L"HKCU\\Software\\Microsoft",
    L"HKLM\\Software\\Policies",
    L"HKCU\\Software\\Policies",
    L"HKLM\\System",
    L"HKCU\\Software\\Wine",
    L"HKCU\\Control Panel",
    L"HKU",
};

// Folders, by the names of the scripts, whose folders belong to products or makers.
constexpr const wchar_t* kMakersFolders[] = {
    L"program_files",  L"program_files_x86", L"common_files",        L"common_files_x86",           L"app_data",
    L"local_app_data", L"common_app_data",   L"start_menu_programs", L"common_start_menu_programs",
};

struct SharedFolder {
    const wchar_t* folder;
    const wchar_t* rest;
};

constexpr SharedFolder kSharedFolders[] = {
    {L"local_app_data", L"Programs"},
    {L"local_app_data", L"Programs\\Common"},
    {L"local_app_data", L"Microsoft\\Windows"},
    {L"app_data", L"Microsoft\\Internet Explorer\\Quick Launch\\User Pinned"},
    {L"app_data", L"Microsoft\\Windows"},
    {L"common_app_data", L"Microsoft\\Windows"},
    {L"common_app_data", L"Package Cache"},
    {L"common_files", L"Microsoft Shared"},
    {L"common_files_x86", L"Microsoft Shared"},
    {L"start_menu_programs", L"Startup"},
    {L"start_menu_programs", L"Accessories"},
    {L"start_menu_programs", L"Administrative Tools"},
    {L"common_start_menu_programs", L"Startup"},
    {L"common_start_menu_programs", L"Accessories"},
    {L"common_start_menu_programs", L"Administrative Tools"},
    {L"windows_folder", L"Fonts"},
    {L"windows_folder", L"Help"},
    {L"windows_folder", L"Installer"},
    {L"windows_folder", L"Tasks"},
    {L"windows_folder", L"assembly\\?"},
    {L"windows_folder", L"inf"},
    {L"windows_system", L"Tasks"},
};

std::vector<std::wstring> Names(const std::wstring& path) {
    std::vector<std::wstring> names;
    for (std::size_t begin = 0; begin <= path.size();) {
        const std::size_t end = std::min(path.find(L'\\', begin), path.size());
        names.push_back(path.substr(begin, end - begin));
        begin = end + 1;
    }
    return names;
}

}  // namespace

Territory::Territory(const Machine& machine) : m_places(machine) {
    for (const wchar_t* hive : {L"HKLM\\", L"HKCU\\"}) {
        for (const wchar_t* key : kSharedKeys) {
            m_shared.push_back(Names(LowerCase(std::wstring(hive) + key)));
        }
        m_makers.push_back(Names(LowerCase(std::wstring(hive) + L"Software")));
    }
    for (const wchar_t* key : kSystemKeys) {
        m_system.push_back(Names(LowerCase(key)));
    }
    const auto named = [&machine](const wchar_t* name) {
        const auto found = machine.folders.find(name);
        return found != machine.folders.end() ? LowerCase(found->second) : std::wstring();
    };
    for (const SharedFolder& shared : kSharedFolders) {
        if (const std::wstring folder = named(shared.folder); !folder.empty()) {
            m_shared.push_back(Names(folder + L"\\" + LowerCase(shared.rest)));
        }
    }
    for (const wchar_t* name : kMakersFolders) {
        if (const std::wstring folder = named(name); !folder.empty()) {
            m_makers.push_back(Names(folder));
        }
    }
    m_makers.push_back(Names(named(L"local_app_data") + L"\\programs"));
    m_installerFolder = named(L"windows_folder") + L"\\installer";
}

std::wstring Territory::Comparable(const std::wstring& path) const {
    return LowerCase(m_places.InItsView(path));
}

// Whether the names are those of the pattern, or of the way to it.
bool Territory::Matches(const Pattern& pattern, const Pattern& names) {
    return names.size() <= pattern.size() && std::equal(names.begin(), names.end(), pattern.begin(),
                                                        [](const std::wstring& name, const std::wstring& part) {
                                                            return part == kAnyName || part == name;
                                                        });
}

bool Territory::IsShared(const std::wstring& path) const {
    const Pattern names = Names(Comparable(path));
    return m_places.LeadsToNamedFolder(path) ||
           std::any_of(m_shared.begin(), m_shared.end(),
                       [&](const Pattern& pattern) { return Matches(pattern, names); });
}

bool Territory::HoldsProducts(const std::wstring& path) const {
    const Pattern names = Names(Comparable(path));
    return std::any_of(m_shared.begin(), m_shared.end(), [&](const Pattern& pattern) {
        return pattern.size() == names.size() && Matches(pattern, names);
    });
}

bool Territory::IsOfSystem(const std::wstring& path) const {
    const std::wstring comparable = Comparable(path);
    return std::any_of(m_system.begin(), m_system.end(), [&](const Pattern& pattern) {
        const Pattern names = Names(comparable);
        return names.size() >= pattern.size() && std::equal(pattern.begin(), pattern.end(), names.begin());
    });
}

bool Territory::HoldsMakers(const std::wstring& path) const {
    return std::find(m_makers.begin(), m_makers.end(), Names(Comparable(path))) != m_makers.end();
}

bool Territory::IsExtension(const std::wstring& path) {
    return LastName(path).starts_with(L'.') && EqualsBlind(LastName(Parent(path)), L"Classes");
}

bool Territory::IsPartOfClass(const std::wstring& path) {
    constexpr const wchar_t* kParts[] = {
        L"ContextMenuHandlers",
        L"CurVer",
        L"DefaultIcon",
        L"OpenWithList",
        L"OpenWithProgids",
        L"PersistentHandler",
        L"print",
        L"PropertySheetHandlers",
        L"shell",
        L"shellex",
        L"ShellNew",
        L"open",
        L"edit",
        L"command",
    };
    const std::wstring name = LastName(path);
    return std::any_of(std::begin(kParts), std::end(kParts),
                       [&](const wchar_t* part) { return EqualsBlind(name, part); });
}

bool Territory::HasRandomName(const std::wstring& path) const {
    return LowerCase(Parent(path)) == m_installerFolder;
}

}  // namespace tools::author
