#include "places.h"

#include <windows.h>
#include <shlobj.h>

#include <algorithm>
#include <array>

#include "common/protected_roots.h"
#include "foundation/CSpecialFolder.h"
#include "foundation/CSplitKeyPath.h"
#include "foundation/path.h"
#include "script/vocabulary.h"

namespace tools::lint {

namespace {

constexpr std::wstring_view kRestartMark = L"#####";
constexpr std::wstring_view kFromRegistry = L"X:\\{";

struct UsualFolder {
    int number;  // CSIDL
    const wchar_t* x86;
    const wchar_t* x64;
};

// clang-format off
constexpr UsualFolder kUsualFolders[] = {
    {CSIDL_WINDOWS,                 L"C:\\Windows",                                L"C:\\Windows"},
    {CSIDL_SYSTEM,                  L"C:\\Windows\\System32",                      L"C:\\Windows\\System32"},
    {CSIDL_SYSTEMX86,               L"C:\\Windows\\System32",                      L"C:\\Windows\\SysWOW64"},
    {CSIDL_FONTS,                   L"C:\\Windows\\Fonts",                         L"C:\\Windows\\Fonts"},
    {CSIDL_PROGRAM_FILES,           L"C:\\Program Files",                          L"C:\\Program Files (x86)"},
    {CSIDL_PROGRAM_FILESX86,        L"C:\\Program Files",                          L"C:\\Program Files (x86)"},
    {CSIDL_PROGRAM_FILES_COMMON,    L"C:\\Program Files\\Common Files",            L"C:\\Program Files (x86)\\Common Files"},
    {CSIDL_PROGRAM_FILES_COMMONX86, L"C:\\Program Files\\Common Files",            L"C:\\Program Files (x86)\\Common Files"},
    {CSIDL_PROFILE,                 L"C:\\Users\\user",                            L"C:\\Users\\user"},
    {CSIDL_APPDATA,                 L"C:\\Users\\user\\AppData\\Roaming",          L"C:\\Users\\user\\AppData\\Roaming"},
    {CSIDL_LOCAL_APPDATA,           L"C:\\Users\\user\\AppData\\Local",            L"C:\\Users\\user\\AppData\\Local"},
    {CSIDL_COMMON_APPDATA,          L"C:\\ProgramData",                            L"C:\\ProgramData"},
    {CSIDL_DESKTOPDIRECTORY,        L"C:\\Users\\user\\Desktop",                   L"C:\\Users\\user\\Desktop"},
    {CSIDL_COMMON_DESKTOPDIRECTORY, L"C:\\Users\\Public\\Desktop",                 L"C:\\Users\\Public\\Desktop"},
    {CSIDL_STARTMENU,
     L"C:\\Users\\user\\AppData\\Roaming\\Microsoft\\Windows\\Start Menu",
     L"C:\\Users\\user\\AppData\\Roaming\\Microsoft\\Windows\\Start Menu"},
    {CSIDL_PROGRAMS,
     L"C:\\Users\\user\\AppData\\Roaming\\Microsoft\\Windows\\Start Menu\\Programs",
     L"C:\\Users\\user\\AppData\\Roaming\\Microsoft\\Windows\\Start Menu\\Programs"},
    {CSIDL_COMMON_STARTMENU,
     L"C:\\ProgramData\\Microsoft\\Windows\\Start Menu",
     L"C:\\ProgramData\\Microsoft\\Windows\\Start Menu"},
    {CSIDL_COMMON_PROGRAMS,
     L"C:\\ProgramData\\Microsoft\\Windows\\Start Menu\\Programs",
     L"C:\\ProgramData\\Microsoft\\Windows\\Start Menu\\Programs"},
    {CSIDL_PERSONAL,                L"C:\\Users\\user\\Documents",                 L"C:\\Users\\user\\Documents"},
    {CSIDL_MYMUSIC,                 L"C:\\Users\\user\\Music",                     L"C:\\Users\\user\\Music"},
    {CSIDL_MYPICTURES,              L"C:\\Users\\user\\Pictures",                  L"C:\\Users\\user\\Pictures"},
    {CSIDL_MYVIDEO,                 L"C:\\Users\\user\\Videos",                    L"C:\\Users\\user\\Videos"},
};
// clang-format on

std::wstring UsualFolderOf(int number, System system) {
    const auto found = std::find_if(std::begin(kUsualFolders), std::end(kUsualFolders),
                                    [number](const UsualFolder& folder) { return folder.number == number; });
    if (found == std::end(kUsualFolders)) {
        return {};
    }
    return system == System::X64 ? found->x64 : found->x86;
}

// As CSpecialFolder::Get decides, the spelling included.
std::wstring KnownFolder(const std::wstring& name, System system) {
    const std::optional<int> number = CSpecialFolder::NumberOf(name, system == System::X64);
    if (!number) {
        return {};
    }
    if (system == System::X64 && name == L"program_files") {
        return L"C:\\Program Files";
    }
    if (system == System::X64 && name == L"common_files") {
        return L"C:\\Program Files\\Common Files";
    }
    std::wstring folder = UsualFolderOf(*number, system);
    if (name == L"windows_system_drivers" || name == L"windows_system_drivers_x86") {
        PathJoin(folder, L"drivers");
    }
    return folder;
}

std::wstring ValueOf(const Node* node, std::wstring_view attribute) {
    const std::wstring* const value = node != nullptr ? node->Find(attribute) : nullptr;
    return value != nullptr ? *value : L"";
}

std::vector<std::wstring> ApplicationFolders(const Version& version, System system) {
    std::vector<std::wstring> folders;
    if (version.appPath != nullptr) {
        folders.push_back(std::wstring(kFromRegistry) + KeyOf(ValueOf(version.appPath, attribute::kKey)) + L"|" +
                          ValueOf(version.appPath, attribute::kName) + L"}");
        std::replace(folders[0].begin() + static_cast<std::ptrdiff_t>(kFromRegistry.size()), folders[0].end(), L'\\',
                     L':');
    }
    if (version.installFolder != nullptr) {
        std::wstring folder = KnownFolder(L"program_files", system);
        folders.push_back(PathJoin(folder, ValueOf(version.installFolder, attribute::kName)));
    }
    return folders;
}

std::vector<std::wstring> FindFolders(const std::wstring& name, const Version& version, System system) {
    if (name == element::kAppPath) {
        return ApplicationFolders(version, system);
    }
    const std::wstring folder = KnownFolder(name, system);
    return folder.empty() ? std::vector<std::wstring>() : std::vector{folder};
}

std::size_t Index(System system) {
    return system == System::X64 ? 1 : 0;
}

std::vector<std::wstring> ProtectedFolders(System system) {
    std::vector<std::wstring> folders = {L"C:\\Users\\user", L"C:\\Program Files"};
    for (const int number : kProtectedFolders) {
        const std::wstring folder = UsualFolderOf(number, system);
        if (!folder.empty()) {
            folders.push_back(folder);
        }
    }
    return folders;
}

const std::vector<std::wstring>& ProtectedFoldersOn(System system) {
    static const std::array<std::vector<std::wstring>, 2> folders = {ProtectedFolders(System::X86),
                                                                     ProtectedFolders(System::X64)};
    return folders[Index(system)];
}

}  // namespace

const std::vector<std::wstring>& FoldersOf(const std::wstring& name, const Version& version, System system) {
    auto found = version.folders.find(name);
    if (found == version.folders.end()) {
        found = version.folders.try_emplace(name).first;
        for (const System each : {System::X86, System::X64}) {
            found->second[Index(each)] = FindFolders(name, version, each);
        }
    }
    return found->second[Index(system)];
}

std::vector<std::wstring> PathsOf(const Element& element, System system) {
    const std::wstring* const folder = element.FindNonEmpty(attribute::kPath);
    const std::wstring* const name = element.Find(attribute::kName);
    std::vector<std::wstring> paths;
    if (folder != nullptr) {
        paths = FoldersOf(*folder, *element.section->version, system);
    } else if (name != nullptr && !name->empty()) {
        paths.emplace_back();
    }
    for (std::wstring& path : paths) {
        if (name != nullptr && folder == nullptr) {
            path = *name;
        } else if (name != nullptr) {
            const bool marked = element.Is(OPERATION_DEL_FILE) && name->starts_with(kRestartMark);
            PathJoin(path, marked ? name->substr(kRestartMark.size()) : *name);
        }
        PathCanonical(path);
    }
    return paths;
}

std::wstring KeyOf(const std::wstring& path) {
    HKEY hive = nullptr;
    std::wstring subkey;
    if (!CSplitKeyPath::Split(path, hive, subkey)) {
        return {};
    }
    return std::wstring(HiveName(hive)) + L"\\" + subkey;
}

bool IsFromRegistry(const std::wstring& path) {
    return path.starts_with(kFromRegistry);
}

bool IsProtectedFolder(const std::wstring& path, System system) {
    if (IsFromRegistry(path)) {
        return false;
    }
    const bool isDrive = path.size() >= 2 && path[1] == L':' && path.find_first_not_of(L"\\/", 2) == std::wstring::npos;
    const std::vector<std::wstring>& folders = ProtectedFoldersOn(system);
    return isDrive || std::any_of(folders.begin(), folders.end(),
                                  [&path](const std::wstring& folder) { return IsOrHolds(path, folder); });
}

bool IsHarmlessBelow(const std::wstring& folder, const std::wstring& name, System system) {
    const std::size_t size = folder.size() + 1 + name.size();
    const bool hasDots =
        name[0] == L'.' || name.find(L"\\.") != std::wstring::npos || name.find(L"/.") != std::wstring::npos;
    const std::vector<std::wstring>& folders = ProtectedFoldersOn(system);
    return size < MAX_PATH && !hasDots && name[0] != L'\\' && name[0] != L'/' &&
           std::none_of(folders.begin(), folders.end(), [&](const std::wstring& root) {
               return root.size() >= size && IsOrHolds(name, std::wstring_view(root).substr(folder.size() + 1));
           });
}

}  // namespace tools::lint
