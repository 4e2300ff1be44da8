#include <windows.h>
#include <doctest/doctest.h>

#include <shlobj.h>

#include <string>
#include <vector>

#include "foundation/CSpecialFolder.h"
#include "foundation/CWow64.h"
#include "support/import_patch.h"
#include "support/recorded_log.h"
#include "support/show_text.h"

namespace {

using Lines = std::vector<std::wstring>;

BOOL g_underWow64 = FALSE;
BOOL WINAPI PlayIsWow64Process(HANDLE, BOOL* result) {
    *result = g_underWow64;
    return TRUE;
}

// A process of the given kind, whatever the real one is. The end of any CWow64 makes the process-wide one ask anew.
class PlayedKind {
public:
    explicit PlayedKind(BOOL underWow64) {
        g_underWow64 = underWow64;
        const CWow64 ended;
    }
    ~PlayedKind() { const CWow64 ended; }

private:
    EntryPointPatch m_patch{"IsWow64Process", reinterpret_cast<void*>(&PlayIsWow64Process)};
};

int g_folder = -1;
HRESULT g_folderResult = S_OK;
HRESULT WINAPI PlayFolderPath(HWND, int folder, HANDLE, DWORD flags, LPWSTR path) {
    CHECK(flags == 0);
    g_folder = folder;
    ::lstrcpyW(path, L"C:\\given");
    return g_folderResult;
}

// The road through the registry: what is asked, and what comes back.
struct {
    LONG openResult = ERROR_SUCCESS;
    LONG queryResult = ERROR_SUCCESS;
    std::wstring subkey;
    std::wstring valueName;
    REGSAM access = 0;
    DWORD room = 0;
    int open = 0;
} g_registry;

LONG WINAPI PlayOpenKey(HKEY hive, LPCWSTR subkey, DWORD, REGSAM access, HKEY* key) {
    CHECK(hive == HKEY_LOCAL_MACHINE);
    g_registry.subkey = subkey;
    g_registry.access = access;
    if (g_registry.openResult == ERROR_SUCCESS) {
        ++g_registry.open;
        *key = reinterpret_cast<HKEY>(&g_registry);
    }
    return g_registry.openResult;
}
LONG WINAPI PlayQueryValue(HKEY key, LPCWSTR name, DWORD*, DWORD*, BYTE* data, DWORD* bytes) {
    CHECK(key == reinterpret_cast<HKEY>(&g_registry));
    g_registry.valueName = name;
    g_registry.room = *bytes;
    for (DWORD at = 0; at < *bytes; at += 2) {  // no terminator
        data[at] = 'x';
        data[at + 1] = 0;
    }
    return g_registry.queryResult;
}
LONG WINAPI PlayCloseKey(HKEY key) {
    g_registry.open -= key == reinterpret_cast<HKEY>(&g_registry) ? 1 : 0;
    return ERROR_SUCCESS;
}

}  // namespace

TEST_CASE("each folder name asks the system for its number, by the kind of process") {
    constexpr int kRegistry = -1;
    const struct {
        const wchar_t* name;
        int underWow64;
        int otherwise;
        const wchar_t* path = L"C:\\given";
    } rows[] = {
        {L"desktop_folder", 0x10, 0x10},
        {L"app_data", 0x1A, 0x1A},
        {L"common_app_data", 0x23, 0x23},
        {L"local_app_data", 0x1C, 0x1C},
        {L"common_desktop_folder", 0x19, 0x19},
        {L"common_start_menu", 0x16, 0x16},
        {L"common_start_menu_programs", 0x17, 0x17},
        {L"start_menu", 0x0B, 0x0B},
        {L"start_menu_programs", 0x02, 0x02},
        {L"windows_folder", 0x24, 0x24},
        {L"windows_system", 0x25, 0x25},
        {L"program_files", kRegistry, 0x26},
        {L"common_files", kRegistry, 0x2B},
        {L"windows_system_drivers", 0x25, 0x25, L"C:\\given\\drivers"},
        {L"windows_system_x86", 0x29, 0x25},
        {L"program_files_x86", 0x2A, 0x26},
        {L"common_files_x86", 0x2C, 0x2B},
        {L"windows_system_drivers_x86", 0x29, 0x25, L"C:\\given\\drivers"},
        // The case of a name decides its road, not whether it is known.
        {L"Windows_System", 0x25, 0x25},
        {L"Program_Files", 0x26, 0x26},
        {L"COMMON_FILES", 0x2B, 0x2B},
        {L"WINDOWS_SYSTEM_DRIVERS", 0x25, 0x25},
        {L"windows_system_Drivers_x86", 0x29, 0x25},
    };
    const ImportPatch patch("SHGetFolderPathW", &PlayFolderPath);
    for (const BOOL underWow64 : {TRUE, FALSE}) {
        const PlayedKind kind(underWow64);
        for (const auto& row : rows) {
            CAPTURE(row.name);
            RecordedLog log;
            g_folder = kRegistry;
            std::wstring path;
            CHECK(CSpecialFolder().Get(row.name, path));
            CHECK(g_folder == (underWow64 ? row.underWow64 : row.otherwise));
            if (g_folder != kRegistry) {
                CHECK(path == row.path);
                CHECK(log.Of(L"CSpecialFolder::Get") ==
                      Lines{L"16 ->\"" + std::wstring(row.name) + L"\"", L"16 <- path is : \"" + path + L"\""});
            }
        }
    }
}

TEST_CASE("what is no folder leaves the output alone") {
    const struct {
        const wchar_t* name;
        const wchar_t* line;
    } rows[] = {
        {L"app_path", L"4 <-\"app_path\" is empty! "},
        {L"APP_PATH", L"4 SHGetFolderPath \"APP_PATH\" failed, unknown special folder"},
        {L"", L"4 SHGetFolderPath \"\" failed, unknown special folder"},
        {L"App_Data", L"4 SHGetFolderPath \"App_Data\" failed 0x1"},
    };
    const ImportPatch patch("SHGetFolderPathW", &PlayFolderPath);
    g_folderResult = S_FALSE;  // every result but 0 fails
    for (const auto& row : rows) {
        const RecordedLog log;
        std::wstring path = L"kept";
        CHECK_FALSE(CSpecialFolder().Get(row.name, path));
        CHECK(path == L"kept");
        CHECK(log.Of(L"CSpecialFolder::Get") == Lines{L"16 ->\"" + std::wstring(row.name) + L"\"", row.line});
    }
    g_folderResult = S_OK;

    const RecordedLog log;
    std::wstring path;
    CHECK(CSpecialFolder(L"D:\\app").Get(L"app_path", path));
    CHECK(path == L"D:\\app");
    CHECK(log.Of(L"CSpecialFolder::Get") == Lines{L"16 ->\"app_path\"", L"16 <-\"app_path\" = \"D:\\app\""});
}

TEST_CASE("under WOW64 the program folders come from the native registry view") {
    const ImportPatch open("RegOpenKeyExW", &PlayOpenKey);
    const ImportPatch query("RegQueryValueExW", &PlayQueryValue);
    const ImportPatch close("RegCloseKey", &PlayCloseKey);
    const std::wstring key = L"SOFTWARE\\Microsoft\\Windows\\CurrentVersion";
    const struct {
        LONG openResult;
        LONG queryResult;
        const wchar_t* line;
    } failures[] = {
        {ERROR_ACCESS_DENIED, 0,
         L"4 RegOpenKeyEx HKEY_LOCAL_MACHINE\\SOFTWARE\\Microsoft\\Windows\\CurrentVersion failed 0x5"},
        {0, ERROR_MORE_DATA,
         L"4 RegQueryValue HKEY_LOCAL_MACHINE\\SOFTWARE\\Microsoft\\Windows\\CurrentVersion \"CommonFilesDir\" failed "
         L"0xea"},
    };
    const PlayedKind kind(TRUE);
    for (const auto& row : failures) {
        const RecordedLog log;
        g_registry.openResult = row.openResult;
        g_registry.queryResult = row.queryResult;
        std::wstring path = L"kept";
        CHECK_FALSE(CSpecialFolder().Get(L"common_files", path));
        CHECK(path == L"kept");
        CHECK(log.Of(L"CSpecialFolder::ReadFromRegistry") == Lines{row.line});
        CHECK(log.Of(L"CSpecialFolder::Get") == Lines{L"16 ->\"common_files\""});
        CHECK(g_registry.open == 0);
    }
    g_registry = {};
    std::wstring path;
    CHECK(CSpecialFolder().Get(L"program_files", path));
    CHECK(path == std::wstring(260, L'x'));
    CHECK(g_registry.room == 0x208);
    CHECK(g_registry.access == 0xF013F);
    CHECK(g_registry.subkey == key);
    CHECK(g_registry.valueName == L"ProgramFilesDir");
    CHECK(g_registry.open == 0);
}

TEST_CASE("the real program folder is the native one in both kinds") {
    std::wstring path;
    CHECK(CSpecialFolder().Get(L"program_files", path));
    CHECK(path == L"C:\\Program Files");
    CHECK(CSpecialFolder().Get(L"program_files_x86", path));
    CHECK(path == (CWow64::Instance().IsWow64Process() ? L"C:\\Program Files (x86)" : L"C:\\Program Files"));
}
