#include <windows.h>
#include <doctest/doctest.h>

#include <algorithm>
#include <cwctype>
#include <string>
#include <vector>

#include "foundation/CSplitKeyPath.h"
#include "foundation/path.h"
#include "foundation/result.h"
#include "foundation/text.h"
#include "support/import_patch.h"
#include "support/recorded_log.h"
#include "support/show_text.h"

TEST_CASE("PathJoin extends its first text in place and gives a copy") {
    const struct {
        const wchar_t* first;
        const wchar_t* second;
        const wchar_t* expected;
    } rows[] = {
        {L"", L"b", L"b"},
        {L"", L"", L""},
        {L"C:\\a", L"b", L"C:\\a\\b"},
        {L"C:\\a\\", L"b", L"C:\\a\\b"},
        {L"C:/a/", L"b", L"C:/a/b"},
        {L"C:\\a", L"", L"C:\\a\\"},
        {L"C:\\a", L"\\b", L"C:\\a\\\\b"},
    };
    for (const auto& row : rows) {
        std::wstring first = row.first;
        CHECK(PathJoin(first, row.second) == row.expected);
        CHECK(first == row.expected);
    }
    std::wstring folder = L"C:\\a";
    PathJoin(folder, L"b");
    CHECK(PathJoin(folder, L"c") == L"C:\\a\\b\\c");
    std::wstring bare = L"C:";
    CHECK(PathAddSeparator(bare) == L"C:\\");
    CHECK(bare == L"C:\\");
}

TEST_CASE("PathCanonical cleans what fits 260 characters and leaves the rest") {
    const std::wstring longest = L"C:\\" + std::wstring(256, L'x');
    const std::wstring tooLong = longest + L"x";
    const std::wstring shrinking = L"C:\\" + std::wstring(253, L'x') + L"\\..";
    const struct {
        std::wstring text;
        std::wstring expected;
    } rows[] = {
        {L"C:\\a\\.\\b\\..\\c", L"C:\\a\\c"},
        {L"C:\\..\\..\\a", L"C:\\a"},
        {L"a\\..\\..\\b", L"\\b"},
        {L"C:\\a/b", L"C:\\a/b"},
        {longest, longest},
        {tooLong, tooLong},
        {L"C:\\a\\..\\" + tooLong, L"C:\\a\\..\\" + tooLong},
        {shrinking, L"C:\\"},
    };
    for (const auto& row : rows) {
        std::wstring text = row.text;
        CHECK(PathCanonical(text) == row.expected);
        CHECK(text == row.expected);
    }
}

namespace {

std::wstring g_moduleFile;
HMODULE g_askedModule = nullptr;
DWORD g_askedChars = 0;

DWORD WINAPI PlayModuleFileName(HMODULE module, LPWSTR path, DWORD chars) {
    g_askedModule = module;
    g_askedChars = chars;
    ::SetLastError(ERROR_INVALID_HANDLE);
    // As the system does: a text that does not fit fills the buffer without a terminator.
    const DWORD length = std::min(static_cast<DWORD>(g_moduleFile.size()), chars);
    g_moduleFile.copy(path, length);
    if (length < chars) {
        path[length] = L'\0';
    }
    return length;
}

}  // namespace

TEST_CASE("GetCurrentPath gives the folder with its backslash, or says why not and leaves the output") {
    const std::wstring longName = L"C:\\f\\" + std::wstring(400, L'x');
    const struct {
        std::wstring file;
        bool found;
        std::wstring expected;
        std::wstring line;
    } rows[] = {
        {L"C:\\f\\g h\\prodrm.dll", true, L"C:\\f\\g h\\", {}},
        {L"C:\\f/g\\x/prodrm.dll", true, L"C:\\f/g\\", {}},
        {longName, true, L"C:\\f\\", {}},
        {L"prodrm.dll", false, L"kept", L"4 path \"prodrm.dll\" ???"},
        {L"", false, L"kept", L"4 GetModuleFileName failed 0x6"},
    };
    RecordedLog log;
    const ImportPatch patch("GetModuleFileNameW", &PlayModuleFileName);
    for (const auto& row : rows) {
        log.Clear();
        g_moduleFile = row.file;
        std::wstring path = L"kept";
        CHECK(CPath::GetCurrentPath(path) == row.found);
        CHECK(path == row.expected);
        CHECK(log.Of(L"CPath::GetCurrentPath") ==
              (row.line.empty() ? std::vector<std::wstring>{} : std::vector<std::wstring>{row.line}));
    }
    CHECK(g_askedModule == ::GetModuleHandleW(nullptr));
    CHECK(g_askedChars == 260);
}

TEST_CASE("a registry path splits at its first separator, and hive names are exact") {
    const struct {
        const wchar_t* path;
        HKEY hive;
        const wchar_t* subkey;
    } found[] = {
        {L"HKEY_LOCAL_MACHINE\\Software\\x/y", HKEY_LOCAL_MACHINE, L"Software\\x/y"},
        {L"HKEY_CURRENT_CONFIG\\x", HKEY_CURRENT_CONFIG, L"x"},
        {L"HKEY_CLASSES_ROOT\\x", HKEY_CLASSES_ROOT, L"x"},
        {L"HKEY_CURRENT_USER\\x", HKEY_CURRENT_USER, L"x"},
        {L"HKEY_USERS\\x", HKEY_USERS, L"x"},
        {L"HKEY_PERFORMANCE_DATA\\x", HKEY_PERFORMANCE_DATA, L"x"},
        {L"HKEY_DYN_DATA\\x", HKEY_DYN_DATA, L"x"},
        {L"HKLM/SOFTWARE\\x", HKEY_LOCAL_MACHINE, L"SOFTWARE\\x"},
        {L"HKCC\\", HKEY_CURRENT_CONFIG, L""},
        {L"HKCR\\\\x", HKEY_CLASSES_ROOT, L"\\x"},
        {L"HKCU\\x\\", HKEY_CURRENT_USER, L"x\\"},
        {L"HKU/", HKEY_USERS, L""},
        {L"HKPD/x", HKEY_PERFORMANCE_DATA, L"x"},
        {L"HKDD\\x", HKEY_DYN_DATA, L"x"},
    };
    for (const auto& row : found) {
        HKEY hive = nullptr;
        std::wstring subkey = L"kept";
        CHECK(CSplitKeyPath::Split(row.path, hive, subkey));
        CHECK(hive == row.hive);
        CHECK(subkey == row.subkey);
    }
    const struct {
        const wchar_t* path;
        const wchar_t* unknown;
    } refused[] = {
        {L"HKLM", L"HKLM"},
        {L"hklm\\x", L"hklm"},
        {L"", L""},
        {L"\\HKLM\\x", L""},
        {L"HKEY_LOCAL_MACHINE \\x", L"HKEY_LOCAL_MACHINE "},
    };
    RecordedLog log;
    for (const auto& row : refused) {
        log.Clear();
        HKEY hive = HKEY_USERS;
        std::wstring subkey = L"kept";
        CHECK_FALSE(CSplitKeyPath::Split(row.path, hive, subkey));
        CHECK(hive == HKEY_USERS);
        CHECK(subkey == L"kept");
        const std::vector<LogLine> expected = {
            {4, L"CSplitKeyPath::Split", L"unknown base key \"" + std::wstring(row.unknown) + L"\""}};
        CHECK(log.Lines() == expected);
    }
    CHECK(std::wstring(HiveName(HKEY_DYN_DATA)) == L"HKEY_DYN_DATA");
    CHECK(std::wstring(HiveName(HKEY_CLASSES_ROOT)) == L"HKEY_CLASSES_ROOT");
    CHECK(HiveName(nullptr) == nullptr);
}
