#include <windows.h>
#include <shlobj.h>

#include <iterator>
#include <string>
#include <utility>
#include <vector>

#include "findings_passes.h"
#include "foundation/CWow64.h"
#include "foundation/owned.h"
#include "foundation/registry_access.h"

namespace preview {

namespace {

// A place that never goes as a whole.
struct Root {
    std::wstring path;  // folded
    std::wstring shown;
};

struct SystemFolder {
    int csidl;
    bool isPersonal;  // holds files that people made
};

// clang-format off
constexpr SystemFolder kSystemFolders[] = {
    {CSIDL_WINDOWS,                 false},
    {CSIDL_SYSTEM,                  false},
    {CSIDL_SYSTEMX86,               false},
    {CSIDL_FONTS,                   false},
    {CSIDL_PROGRAM_FILES,           false},
    {CSIDL_PROGRAM_FILESX86,        false},
    {CSIDL_PROGRAM_FILES_COMMON,    false},
    {CSIDL_PROGRAM_FILES_COMMONX86, false},
    {CSIDL_PROFILE,                 false},
    {CSIDL_COMMON_APPDATA,          false},
    {CSIDL_APPDATA,                 false},
    {CSIDL_LOCAL_APPDATA,           false},
    {CSIDL_STARTMENU,               false},
    {CSIDL_PROGRAMS,                false},
    {CSIDL_STARTUP,                 false},
    {CSIDL_COMMON_STARTMENU,        false},
    {CSIDL_COMMON_PROGRAMS,         false},
    {CSIDL_COMMON_STARTUP,          false},
    {CSIDL_PERSONAL,                true},
    {CSIDL_MYPICTURES,              true},
    {CSIDL_MYMUSIC,                 true},
    {CSIDL_MYVIDEO,                 true},
    {CSIDL_DESKTOPDIRECTORY,        true},
    {CSIDL_COMMON_DOCUMENTS,        true},
    {CSIDL_COMMON_PICTURES,         true},
    {CSIDL_COMMON_MUSIC,            true},
    {CSIDL_COMMON_VIDEO,            true},
    {CSIDL_COMMON_DESKTOPDIRECTORY, true},
};
// clang-format on

constexpr const wchar_t* kBelowWindows[] = {L"System32",          L"SysWOW64",         L"System32\\drivers",
                                            L"SysWOW64\\drivers", L"System32\\config", L"WinSxS",
                                            L"Installer",         L"assembly"};
constexpr const wchar_t* kProgramFolders[] = {L"ProgramFilesDir", L"ProgramFilesDir (x86)", L"ProgramW6432Dir",
                                              L"CommonFilesDir",  L"CommonFilesDir (x86)",  L"CommonW6432Dir"};
constexpr const wchar_t* kBelowProfile[] = {L"AppData", L"AppData\\Roaming", L"AppData\\Local", L"AppData\\LocalLow"};
constexpr const wchar_t* kPersonalBelowProfile[] = {L"Documents", L"Desktop", L"Pictures",
                                                    L"Music",     L"Videos",  L"Downloads"};

// clang-format off
constexpr const wchar_t* kProtectedKeys[] = {
    // of the machine
    L"HKEY_LOCAL_MACHINE",
    L"HKEY_LOCAL_MACHINE\\HARDWARE",
    L"HKEY_LOCAL_MACHINE\\SAM",
    L"HKEY_LOCAL_MACHINE\\SECURITY",
    L"HKEY_LOCAL_MACHINE\\SYSTEM",
    L"HKEY_LOCAL_MACHINE\\SYSTEM\\Setup",
    L"HKEY_LOCAL_MACHINE\\SYSTEM\\CurrentControlSet",
    L"HKEY_LOCAL_MACHINE\\SYSTEM\\CurrentControlSet\\Control",
    L"HKEY_LOCAL_MACHINE\\SYSTEM\\CurrentControlSet\\Control\\Class",
    L"HKEY_LOCAL_MACHINE\\SYSTEM\\CurrentControlSet\\Control\\Session Manager",
    L"HKEY_LOCAL_MACHINE\\SYSTEM\\CurrentControlSet\\Enum",
    L"HKEY_LOCAL_MACHINE\\SYSTEM\\CurrentControlSet\\Services",
    // of all users alike
    L"HKEY_CURRENT_CONFIG",
    L"HKEY_USERS",
};
// Below both HKEY_LOCAL_MACHINE and HKEY_CURRENT_USER.
constexpr const wchar_t* kProtectedSoftware[] = {
    L"Software",
    L"Software\\Classes",
    L"Software\\Classes\\*",
    L"Software\\Classes\\AppID",
    L"Software\\Classes\\CLSID",
    L"Software\\Classes\\Directory",
    L"Software\\Classes\\Drive",
    L"Software\\Classes\\Folder",
    L"Software\\Classes\\Installer",
    L"Software\\Classes\\Interface",
    L"Software\\Classes\\TypeLib",
    L"Software\\Microsoft",
    L"Software\\Microsoft\\Windows",
    L"Software\\Microsoft\\Windows\\CurrentVersion",
    L"Software\\Microsoft\\Windows\\CurrentVersion\\App Paths",
    L"Software\\Microsoft\\Windows\\CurrentVersion\\Explorer",
    L"Software\\Microsoft\\Windows\\CurrentVersion\\Installer",
    L"Software\\Microsoft\\Windows\\CurrentVersion\\Policies",
    L"Software\\Microsoft\\Windows\\CurrentVersion\\Run",
    L"Software\\Microsoft\\Windows\\CurrentVersion\\RunOnce",
    L"Software\\Microsoft\\Windows\\CurrentVersion\\SharedDLLs",
    L"Software\\Microsoft\\Windows\\CurrentVersion\\Shell Extensions",
    L"Software\\Microsoft\\Windows\\CurrentVersion\\Uninstall",
    L"Software\\Microsoft\\Windows NT",
    L"Software\\Microsoft\\Windows NT\\CurrentVersion",
    L"Software\\Microsoft\\Windows NT\\CurrentVersion\\Image File Execution Options",
    L"Software\\Microsoft\\Windows NT\\CurrentVersion\\Winlogon",
    L"Software\\Policies",
};
// clang-format on

class Roots {
public:
    Roots() {
        AddSystemFolders();
        AddWindows();
        AddProgramFolders();
        AddProfiles();
    }

    const std::vector<Root>& Protected() const { return m_protected; }
    const std::vector<Root>& Personal() const { return m_personal; }

private:
    static void Add(std::vector<Root>& list, const std::wstring& path) {
        if (!path.empty()) {
            list.push_back({FoldedPath(path), path});
        }
    }
    // What people made is warned of where it is touched, and never goes as a whole.
    void AddPersonal(const std::wstring& path) {
        Add(m_personal, path);
        Add(m_protected, path);
    }

    void AddSystemFolders() {
        for (const SystemFolder& folder : kSystemFolders) {
            wchar_t path[MAX_PATH] = {};
            if (::SHGetFolderPathW(nullptr, folder.csidl, nullptr, SHGFP_TYPE_CURRENT, path) != S_OK) {
                continue;
            }
            if (folder.isPersonal) {
                AddPersonal(path);
            } else {
                Add(m_protected, path);
            }
        }
    }

    void AddWindows() {
        wchar_t path[MAX_PATH] = {};
        ::GetSystemWindowsDirectoryW(path, MAX_PATH);
        Add(m_protected, path);
        for (const wchar_t* name : kBelowWindows) {
            Add(m_protected, std::wstring(path) + L"\\" + name);
        }
    }

    // Both kinds, whatever this process is told for its own.
    void AddProgramFolders() {
        for (const REGSAM access : {ReadNativeView(), kReadDefaultView}) {
            OwnedRegKey key;
            if (::RegOpenKeyExW(HKEY_LOCAL_MACHINE, L"SOFTWARE\\Microsoft\\Windows\\CurrentVersion", 0, access,
                                key.Put()) != ERROR_SUCCESS) {
                continue;
            }
            for (const wchar_t* name : kProgramFolders) {
                wchar_t path[MAX_PATH + 1] = {};
                DWORD bytes = MAX_PATH * sizeof(wchar_t);
                if (::RegQueryValueExW(key.Get(), name, nullptr, nullptr, reinterpret_cast<BYTE*>(path), &bytes) ==
                    ERROR_SUCCESS) {
                    Add(m_protected, path);
                }
            }
        }
    }

    // Those of the other users too.
    void AddProfiles() {
        wchar_t own[MAX_PATH] = {};
        if (::SHGetFolderPathW(nullptr, CSIDL_PROFILE, nullptr, SHGFP_TYPE_CURRENT, own) != S_OK) {
            return;
        }
        const std::wstring profile = own;
        const std::wstring users = profile.substr(0, profile.find_last_of(L'\\'));
        Add(m_protected, users);
        WIN32_FIND_DATAW entry;
        const OwnedFindHandle find(::FindFirstFileW((users + L"\\*").c_str(), &entry));
        for (BOOL found = find ? TRUE : FALSE; found; found = ::FindNextFileW(find.Get(), &entry)) {
            const std::wstring name = entry.cFileName;
            if ((entry.dwFileAttributes & FILE_ATTRIBUTE_DIRECTORY) != 0 && name != L"." && name != L"..") {
                AddProfile(users + L"\\" + name);
            }
        }
    }

    void AddProfile(const std::wstring& profile) {
        Add(m_protected, profile);
        for (const wchar_t* name : kBelowProfile) {
            Add(m_protected, profile + L"\\" + name);
        }
        for (const wchar_t* name : kPersonalBelowProfile) {
            AddPersonal(profile + L"\\" + name);
        }
    }

    std::vector<Root> m_protected;
    std::vector<Root> m_personal;
};

// "C:", or a share of the network.
bool IsDrive(const std::wstring& folded) {
    if (folded.starts_with(L"\\\\")) {
        const std::size_t share = folded.find(L'\\', 2);
        return share == std::wstring::npos || folded.find(L'\\', share + 1) == std::wstring::npos;
    }
    return folded.size() == 2 && folded[1] == L':';
}

void CheckFile(Plan& plan, const Roots& roots, const std::wstring& folded, NodeId node) {
    const std::wstring path = plan.items.Path(node);
    if (IsDrive(folded)) {
        AddFinding(plan, "protected-root", Severity::Stop, node, path + L" is a whole drive");
        return;
    }
    for (const Root& root : roots.Protected()) {
        if (folded == root.path) {
            AddFinding(plan, "protected-root", Severity::Stop, node, path + L" is a folder of the system as a whole");
            return;
        }
        if (IsWithin(folded, root.path)) {
            AddFinding(plan, "protected-root", Severity::Stop, node,
                       path + L" holds a folder of the system, " + root.shown);
            return;
        }
    }
    const ItemKind kind = plan.items[node].kind;
    for (const Root& root : roots.Personal()) {
        if (kind != ItemKind::Shortcut && !folded.ends_with(L".LNK") && IsWithin(root.path, folded)) {
            AddFinding(plan, "user-content", Severity::Warn, node,
                       path + L" lies among personal files, in " + root.shown);
            return;
        }
    }
}

std::vector<Root> ProtectedKeys() {
    std::vector<Root> keys;
    const auto add = [&](const std::wstring& path) { keys.push_back({FoldedKey(View::None, path).path, path}); };
    for (const wchar_t* path : kProtectedKeys) {
        add(path);
    }
    for (const wchar_t* path : kProtectedSoftware) {
        add(std::wstring(L"HKEY_LOCAL_MACHINE\\") + path);
        add(std::wstring(L"HKEY_CURRENT_USER\\") + path);
    }
    return keys;
}

void CheckKey(Plan& plan, const std::vector<Root>& roots, const KeyPlace& place, NodeId node) {
    for (const Root& root : roots) {
        if (IsWithin(place.path, root.path)) {
            const bool isRoot = place.path == root.path;
            AddFinding(
                plan, "protected-root", Severity::Stop, node,
                plan.items.Path(node) + ViewText(plan.items[node].view) +
                    (isRoot ? L" is a key of the system as a whole" : L" holds a key of the system, " + root.shown));
            return;
        }
    }
}

}  // namespace

void AddRootFindings(Plan& plan, const Effects& effects) {
    const Roots roots;
    for (const auto& [folded, node] : effects.Files()) {
        CheckFile(plan, roots, folded, node);
    }
    const std::vector<Root> keys = ProtectedKeys();
    for (const auto& [place, node] : effects.Keys()) {
        CheckKey(plan, keys, place, node);
    }
}

}  // namespace preview
