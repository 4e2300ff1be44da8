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

HRESULT g_folderResult = S_OK;
HRESULT WINAPI PlayFolderPath(HWND, int, HANDLE, DWORD flags, LPWSTR path) {
    CHECK(flags == 0);
    ::lstrcpyW(path, L"C:\\given");
    return g_folderResult;
}

}  // namespace

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

TEST_CASE("folders of the system come out as the kind of process has them, by the name as it is given") {
    const bool wow64 = CWow64::Instance().IsWow64Process();
    const std::wstring x86 = wow64 ? L" (x86)" : L"";
    const std::wstring system32 = wow64 ? L"C:\\windows\\syswow64" : L"C:\\windows\\system32";
    const struct {
        const wchar_t* name;
        std::wstring path;
    } rows[] = {
        {L"program_files", L"C:\\Program Files"},
        {L"Program_Files", L"C:\\Program Files" + x86},  // only the exact name takes the native road
        {L"program_files_x86", L"C:\\Program Files" + x86},
        {L"common_files", L"C:\\Program Files\\Common Files"},
        {L"common_files_x86", L"C:\\Program Files" + x86 + L"\\Common Files"},
        {L"windows_system", L"C:\\windows\\system32"},
        {L"windows_system_x86", system32},
        {L"windows_system_drivers", L"C:\\windows\\system32\\drivers"},
        {L"Windows_System_Drivers", L"C:\\windows\\system32"},  // and only the exact name gets the folder below
        {L"windows_system_drivers_x86", system32 + L"\\drivers"},
        {L"windows_folder", L"C:\\windows"},
        {L"common_app_data", L"C:\\ProgramData"},
    };
    for (const auto& row : rows) {
        std::wstring path;
        CHECK(CSpecialFolder().Get(row.name, path));
        CHECK(path == row.path);
    }
}
