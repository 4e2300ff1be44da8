#include "foundation/CSpecialFolder.h"

#include <shlobj.h>

#include "foundation/CWow64.h"
#include "foundation/log_statement.h"
#include "foundation/owned.h"
#include "foundation/path.h"
#include "foundation/registry_access.h"
#include "foundation/text.h"

namespace {

struct SpecialFolder {
    const wchar_t* name;
    int csidlUnderWow64;
    int csidlOtherwise;
};

// clang-format off
constexpr SpecialFolder kSpecialFolders[] = {
    {L"desktop_folder",             CSIDL_DESKTOPDIRECTORY,         CSIDL_DESKTOPDIRECTORY},
    {L"app_data",                   CSIDL_APPDATA,                  CSIDL_APPDATA},
    {L"common_app_data",            CSIDL_COMMON_APPDATA,           CSIDL_COMMON_APPDATA},
    {L"local_app_data",             CSIDL_LOCAL_APPDATA,            CSIDL_LOCAL_APPDATA},
    {L"common_desktop_folder",      CSIDL_COMMON_DESKTOPDIRECTORY,  CSIDL_COMMON_DESKTOPDIRECTORY},
    {L"common_start_menu",          CSIDL_COMMON_STARTMENU,         CSIDL_COMMON_STARTMENU},
    {L"common_start_menu_programs", CSIDL_COMMON_PROGRAMS,          CSIDL_COMMON_PROGRAMS},
    {L"start_menu",                 CSIDL_STARTMENU,                CSIDL_STARTMENU},
    {L"start_menu_programs",        CSIDL_PROGRAMS,                 CSIDL_PROGRAMS},
    {L"windows_folder",             CSIDL_WINDOWS,                  CSIDL_WINDOWS},
    {L"windows_system",             CSIDL_SYSTEM,                   CSIDL_SYSTEM},
    {L"program_files",              CSIDL_PROGRAM_FILES,            CSIDL_PROGRAM_FILES},
    {L"common_files",               CSIDL_PROGRAM_FILES_COMMON,     CSIDL_PROGRAM_FILES_COMMON},
    {L"windows_system_drivers",     CSIDL_SYSTEM,                   CSIDL_SYSTEM},
    {L"windows_system_x86",         CSIDL_SYSTEMX86,                CSIDL_SYSTEM},
    {L"program_files_x86",          CSIDL_PROGRAM_FILESX86,         CSIDL_PROGRAM_FILES},
    {L"common_files_x86",           CSIDL_PROGRAM_FILES_COMMONX86,  CSIDL_PROGRAM_FILES_COMMON},
    {L"windows_system_drivers_x86", CSIDL_SYSTEMX86,                CSIDL_SYSTEM},
};
// clang-format on

constexpr DWORD kRegistryPathBytes = 0x208;  // 260 wide characters

const SpecialFolder* FindSpecialFolder(const std::wstring& lowerName) {
    for (const SpecialFolder& folder : kSpecialFolders) {
        if (lowerName == folder.name) {
            return &folder;
        }
    }
    return nullptr;
}

}  // namespace

std::vector<std::wstring> CSpecialFolder::Names() {
    std::vector<std::wstring> names;
    for (const SpecialFolder& folder : kSpecialFolders) {
        names.emplace_back(folder.name);
    }
    return names;
}

std::optional<int> CSpecialFolder::NumberOf(const std::wstring& name, bool underWow64) {
    const SpecialFolder* const folder = FindSpecialFolder(LowerCase(name));
    if (folder == nullptr) {
        return std::nullopt;
    }
    return underWow64 ? folder->csidlUnderWow64 : folder->csidlOtherwise;
}

bool CSpecialFolder::Get(const std::wstring& name, std::wstring& path) const {
    LOG(kInfo, L"->\"%s\"", name.c_str());
    if (name == L"app_path") {
        if (m_appPath.empty()) {
            LOG(kError, L"<-\"%s\" is empty! ", name.c_str());
            return false;
        }
        path = m_appPath;
        LOG(kInfo, L"<-\"%s\" = \"%s\"", name.c_str(), path.c_str());
        return true;
    }
    const SpecialFolder* const folder = FindSpecialFolder(LowerCase(name));
    if (folder == nullptr) {
        LOG(kError, L"SHGetFolderPath \"%s\" failed, unknown special folder", name.c_str());
        return false;
    }
    const bool underWow64 = CWow64::Instance().IsWow64Process();
    // From here on the name counts as given, case included: other spellings take the system's road, undecorated.
    if (underWow64 && name == L"program_files") {
        return ReadFromRegistry(L"ProgramFilesDir", path);
    }
    if (underWow64 && name == L"common_files") {
        return ReadFromRegistry(L"CommonFilesDir", path);
    }
    wchar_t buffer[MAX_PATH] = {};
    const int csidl = underWow64 ? folder->csidlUnderWow64 : folder->csidlOtherwise;
    const HRESULT hr = ::SHGetFolderPathW(nullptr, csidl, nullptr, 0, buffer);
    if (hr != S_OK) {
        LOG(kError, L"SHGetFolderPath \"%s\" failed 0x%x", name.c_str(), hr);
        return false;
    }
    path = buffer;
    if (name == L"windows_system_drivers" || name == L"windows_system_drivers_x86") {
        PathJoin(path, L"drivers");
    }
    LOG(kInfo, L"<- path is : \"%s\"", path.c_str());
    return true;
}

bool CSpecialFolder::ReadFromRegistry(const wchar_t* valueName, std::wstring& path) {
    OwnedRegKey key;
    LONG error = ::RegOpenKeyExW(HKEY_LOCAL_MACHINE, L"SOFTWARE\\Microsoft\\Windows\\CurrentVersion", 0,
                                 FullAccess(false), key.Put());
    if (error != ERROR_SUCCESS) {
        LOG(kError, L"RegOpenKeyEx HKEY_LOCAL_MACHINE\\SOFTWARE\\Microsoft\\Windows\\CurrentVersion failed 0x%x",
            error);
        return false;
    }
    wchar_t buffer[kRegistryPathBytes / sizeof(wchar_t) + 1] = {};  // a terminator always follows
    DWORD bytes = kRegistryPathBytes;
    error = ::RegQueryValueExW(key.Get(), valueName, nullptr, nullptr, reinterpret_cast<BYTE*>(buffer), &bytes);
    if (error != ERROR_SUCCESS) {
        LOG(kError,
            L"RegQueryValue HKEY_LOCAL_MACHINE\\SOFTWARE\\Microsoft\\Windows\\CurrentVersion \"%s\" failed 0x%x",
            valueName, error);
        return false;
    }
    path = buffer;
    return true;
}
