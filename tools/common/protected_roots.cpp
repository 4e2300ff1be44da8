#include "common/protected_roots.h"

#include <windows.h>
#include <shlobj.h>

#include <algorithm>

#include "foundation/text.h"

namespace tools {

namespace {

// Keys below HKEY_LOCAL_MACHINE and HKEY_CURRENT_USER alike: what exists in one of them only does no harm in the other.
// A key above one of these is protected as well.
constexpr std::wstring_view kProtectedKeys[] = {
    L"BCD00000000",
    L"Control Panel",
    L"Environment",
    L"HARDWARE",
    L"SAM",
    L"SECURITY",
    L"Software\\Classes\\*",
    L"Software\\Classes\\.exe",
    L"Software\\Classes\\.lnk",
    L"Software\\Classes\\AppID",
    L"Software\\Classes\\CLSID",
    L"Software\\Classes\\Directory",
    L"Software\\Classes\\Drive",
    L"Software\\Classes\\exefile",
    L"Software\\Classes\\Folder",
    L"Software\\Classes\\Installer",
    L"Software\\Classes\\Interface",
    L"Software\\Classes\\lnkfile",
    L"Software\\Classes\\TypeLib",
    L"Software\\Clients",
    L"Software\\Microsoft\\Cryptography",
    L"Software\\Microsoft\\Internet Explorer",
    L"Software\\Microsoft\\Windows NT\\CurrentVersion\\Image File Execution Options",
    L"Software\\Microsoft\\Windows NT\\CurrentVersion\\Winlogon",
    L"Software\\Microsoft\\Windows\\CurrentVersion\\App Paths",
    L"Software\\Microsoft\\Windows\\CurrentVersion\\Explorer",
    L"Software\\Microsoft\\Windows\\CurrentVersion\\Installer",
    L"Software\\Microsoft\\Windows\\CurrentVersion\\Policies",
    L"Software\\Microsoft\\Windows\\CurrentVersion\\Run",
    L"Software\\Microsoft\\Windows\\CurrentVersion\\RunOnce",
    L"Software\\Microsoft\\Windows\\CurrentVersion\\SharedDLLs",
    L"Software\\Microsoft\\Windows\\CurrentVersion\\Uninstall",
    L"Software\\Policies",
    L"Software\\RegisteredApplications",
    L"Software\\Wow6432Node",
    L"SYSTEM\\CurrentControlSet\\Control\\Class",
    L"SYSTEM\\CurrentControlSet\\Control\\Lsa",
    L"SYSTEM\\CurrentControlSet\\Control\\Session Manager\\Environment",
    L"SYSTEM\\CurrentControlSet\\Enum",
    L"SYSTEM\\CurrentControlSet\\Services",
};

std::wstring_view WithoutEnd(std::wstring_view path) {
    return path.substr(0, path.find_last_not_of(L"\\/") + 1);
}

bool SameUnit(wchar_t left, wchar_t right) {
    const bool separators = (left == L'\\' || left == L'/') && (right == L'\\' || right == L'/');
    return separators || EqualsBlind({&left, 1}, {&right, 1});
}

// Takes the first part of a key off it.
std::wstring_view TakePart(std::wstring_view& key) {
    const std::size_t end = std::min(key.find_first_of(L"\\/"), key.size());
    const std::wstring_view part = key.substr(0, end);
    key.remove_prefix(std::min(end + 1, key.size()));
    return part;
}

bool IsControlSet(std::wstring_view part) {
    constexpr std::wstring_view kName = L"ControlSet";
    return part.size() == kName.size() + 3 && EqualsBlind(part.substr(0, kName.size()), kName);
}

bool SamePart(std::wstring_view part, std::wstring_view tablePart) {
    return EqualsBlind(part, tablePart) || (IsControlSet(part) && EqualsBlind(tablePart, L"CurrentControlSet"));
}

// `rest` is a key below its hive, `root` one of the table.
bool IsOrHoldsKey(std::wstring_view rest, std::wstring_view root) {
    while (!rest.empty()) {
        const std::wstring_view part = TakePart(rest);
        const bool mirrored = EqualsBlind(part, L"Wow6432Node") && !rest.empty();
        if (!mirrored && !SamePart(part, TakePart(root))) {
            return false;
        }
    }
    return true;
}

}  // namespace

const std::vector<int> kProtectedFolders = {
    CSIDL_WINDOWS,
    CSIDL_SYSTEM,
    CSIDL_SYSTEMX86,
    CSIDL_FONTS,
    CSIDL_PROGRAM_FILES,
    CSIDL_PROGRAM_FILESX86,
    CSIDL_PROGRAM_FILES_COMMON,
    CSIDL_PROGRAM_FILES_COMMONX86,
    CSIDL_PROFILE,
    CSIDL_APPDATA,
    CSIDL_LOCAL_APPDATA,
    CSIDL_COMMON_APPDATA,
    CSIDL_DESKTOPDIRECTORY,
    CSIDL_COMMON_DESKTOPDIRECTORY,
    CSIDL_STARTMENU,
    CSIDL_PROGRAMS,
    CSIDL_COMMON_STARTMENU,
    CSIDL_COMMON_PROGRAMS,
    CSIDL_PERSONAL,
    CSIDL_MYMUSIC,
    CSIDL_MYPICTURES,
    CSIDL_MYVIDEO,
};

bool IsOrHolds(std::wstring_view path, std::wstring_view root) {
    path = WithoutEnd(path);
    root = WithoutEnd(root);
    if (path.size() > root.size() || !std::equal(path.begin(), path.end(), root.begin(), &SameUnit)) {
        return false;
    }
    return path.size() == root.size() || root[path.size()] == L'\\' || root[path.size()] == L'/';
}

bool IsProtectedKey(std::wstring_view key) {
    constexpr std::wstring_view kClasses = L"Software\\Classes\\";
    const std::wstring_view hive = TakePart(key);
    std::wstring_view rest = WithoutEnd(key);
    const bool ofClasses = hive == L"HKEY_CLASSES_ROOT";
    if (hive == L"HKEY_USERS") {
        TakePart(rest);  // the user
    } else if (!ofClasses && hive != L"HKEY_LOCAL_MACHINE" && hive != L"HKEY_CURRENT_USER") {
        return true;  // of the configuration and of performance data: all of it is the system's
    }
    return std::any_of(std::begin(kProtectedKeys), std::end(kProtectedKeys), [&](std::wstring_view root) {
        if (ofClasses) {
            return root.starts_with(kClasses) && IsOrHoldsKey(rest, root.substr(kClasses.size()));
        }
        return IsOrHoldsKey(rest, root);
    });
}

}  // namespace tools
