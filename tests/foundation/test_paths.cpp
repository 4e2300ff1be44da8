// Paths, registry paths, special folders and attributes.

#include <windows.h>
#include <doctest/doctest.h>

#include <shlobj.h>

#include "foundation/CSpecialFolder.h"
#include "foundation/CSplitKeyPath.h"
#include "foundation/CXMLHelper.h"
#include "foundation/dom.h"
#include "foundation/path.h"
#include "support/com_scope.h"
#include "support/import_patch.h"
#include "support/recorded_log.h"
#include "support/registry_sandbox.h"

TEST_CASE("PathJoin extends its first text in place and gives a copy") {
    for (const Lines& row : Rows(LR"(
 | b | b
 | |
C:\a | b | C:\a\b
C:\a\ | b | C:\a\b
C:/a/ | b | C:/a/b
C:\a | | C:\a\
C:\a | \b | C:\a\\b
)",
                                 3)) {
        std::wstring first = row[0];
        CHECK(PathJoin(first, row[1]) == row[2]);
        CHECK(first == row[2]);
    }
    std::wstring bare = L"C:";
    CHECK(PathAddSeparator(bare) == L"C:\\");
    CHECK(bare == L"C:\\");
}

TEST_CASE("PathCanonical cleans what fits 260 characters and leaves the rest") {
    const Nicknames parts = {{L"LONGEST", L"C:\\" + std::wstring(256, L'x')}, {L"253", std::wstring(253, L'x')}};
    for (const Lines& row : Rows(LR"(
C:\a\.\b\..\c | C:\a\c
C:\..\..\a | C:\a
a\..\..\b | \b
C:\a/b | C:\a/b
LONGEST | LONGEST
LONGESTx | LONGESTx
C:\a\..\LONGESTx | C:\a\..\LONGESTx
C:\253\.. | C:\
)",
                                 2)) {
        std::wstring text = parts.Real(row[0]);
        CHECK(PathCanonical(text) == parts.Real(row[1]));
        CHECK(text == parts.Real(row[1]));
    }
}

TEST_CASE("GetCurrentPath gives the folder with its backslash, or says why not and leaves the output") {
    RecordedLog log;
    const std::wstring longName(400, L'x');
    // Columns: the module's file, its folder, the line.
    for (const Lines& row : Rows(LR"(
C:\f\g h\prodrm.dll | C:\f\g h\
C:\f/g\x/prodrm.dll | C:\f/g\
C:\f\LONG | C:\f\
prodrm.dll | kept | E path "prodrm.dll" ???
 none | kept | E GetModuleFileName failed 0x6
)",
                                 3)) {
        log.Clear();
        const std::wstring file = row[0] == L"none" ? L"" : Replaced(row[0], L"LONG", longName);
        // As the system does: a text that does not fit fills the buffer without a terminator.
        PLAY(GetModuleFileNameW, [&](HMODULE module, LPWSTR path, DWORD chars) {
            CHECK(module == ::GetModuleHandleW(nullptr));
            CHECK(chars == 260);
            ::SetLastError(ERROR_INVALID_HANDLE);
            const DWORD length = static_cast<DWORD>((file + L'\0').copy(path, chars));
            return length < chars ? length - 1 : chars;
        });
        std::wstring path = L"kept";
        CHECK(CPath::GetCurrentPath(path) == (row[1] != L"kept"));
        CHECK(path == row[1]);
        CHECK(log.Told(L"CPath::GetCurrentPath") == row[2]);
    }
}

TEST_CASE("a registry path splits at its first separator, and hive names are exact") {
    RecordedLog log;
    // Columns: path, number of the hive, subkey; of a path that is refused the unknown name.
    for (const Lines& row : Rows(LR"(
HKEY_CLASSES_ROOT\x | 0 | x
HKEY_CURRENT_USER\x | 1 | x
HKEY_LOCAL_MACHINE\Software\x/y | 2 | Software\x/y
HKEY_USERS\x | 3 | x
HKEY_PERFORMANCE_DATA\x | 4 | x
HKEY_CURRENT_CONFIG\x | 5 | x
HKEY_DYN_DATA\x | 6 | x
HKCR\\x | 0 | \x
HKCU\x\ | 1 | x\
HKLM/SOFTWARE\x | 2 | SOFTWARE\x
HKU/ | 3 |
HKPD/x | 4 | x
HKCC\ | 5 |
HKDD\x | 6 | x
HKLM | | HKLM
hklm\x | | hklm
\HKLM\x | |
HKEY_LOCAL_MACHINE \x | | HKEY_LOCAL_MACHINE_
)",
                                 3)) {
        INFO(Utf8(row[0]));
        log.Clear();
        HKEY hive = nullptr;
        std::wstring subkey = L"kept";
        const bool found = !row[1].empty();
        CHECK(CSplitKeyPath::Split(row[0], hive, subkey) == found);
        const ULONG_PTR expected = found ? 0x80000000 + static_cast<ULONG_PTR>(row[1][0] - L'0') : 0;
        CHECK(hive == reinterpret_cast<HKEY>(static_cast<LONG_PTR>(static_cast<LONG>(expected))));
        CHECK(subkey == (found ? row[2] : L"kept"));
        CHECK(log.Told(L"CSplitKeyPath::Split") ==
              (found ? L"" : L"E unknown base key \"" + Replaced(row[2], L"E_", L"E ") + L"\""));
    }
    CHECK(std::wstring(HiveName(HKEY_DYN_DATA)) == L"HKEY_DYN_DATA");
    CHECK(HiveName(nullptr) == nullptr);
}

TEST_CASE("folders of the system come out as the kind of process has them, by the name as it is given") {
    RecordedLog log;
    const Nicknames parts = {{L"PF", L"C:\\Program Files"},
                             {L"X86", UnderWow64() ? L" (x86)" : L""},
                             {L"WIN", L"C:\\windows"},
                             {L"SYS", UnderWow64() ? L"syswow64" : L"system32"}};
    // Only the exact name takes the native road, and only the exact name gets the folder below.
    for (const Lines& row : Rows(LR"(
program_files | PF
Program_Files | PFX86
program_files_x86 | PFX86
common_files | PF\Common Files
common_files_x86 | PFX86\Common Files
windows_system | WIN\system32
windows_system_x86 | WIN\SYS
windows_system_drivers | WIN\system32\drivers
Windows_System_Drivers | WIN\system32
windows_system_drivers_x86 | WIN\SYS\drivers
windows_folder | WIN
common_app_data | C:\ProgramData
)",
                                 2)) {
        std::wstring path;
        CHECK(CSpecialFolder().Get(row[0], path));
        CHECK(path == parts.Real(row[1]));
    }
    std::wstring path;
    log.Clear();
    CHECK(CSpecialFolder(L"D:\\app").Get(L"app_path", path));
    CHECK(path == L"D:\\app");
    CHECK(log.Told(L"CSpecialFolder::Get") == L"I ->\"app_path\" / I <-\"app_path\" = \"D:\\app\"");

    // What is no folder leaves the output alone; every result but 0 fails.
    PLAY(SHGetFolderPathW, [](HWND, int, HANDLE, DWORD flags, LPWSTR given) {
        CHECK(flags == 0);
        ::lstrcpyW(given, L"C:\\given");
        return HRESULT{S_FALSE};
    });
    for (const Lines& row : Rows(LR"(
app_path | E <-"app_path" is empty!
APP_PATH | E SHGetFolderPath "APP_PATH" failed, unknown special folder
App_Data | E SHGetFolderPath "App_Data" failed 0x1
)",
                                 2)) {
        log.Clear();
        CHECK_FALSE(CSpecialFolder().Get(row[0], path));
        CHECK(path == L"D:\\app");
        CHECK(Split(log.Of(L"CSpecialFolder::Get").back(), L'|')[0] == row[1]);
    }
}

TEST_CASE("attributes are read exactly, and the output keeps what it held on failure") {
    const ComScope com;
    ComPtr<IXMLDOMDocument> document;
    ComPtr<IXMLDOMElement> element;
    HRESULT hr = S_OK;
    REQUIRE(SUCCEEDED(dom::CreateDocument(document)));
    REQUIRE(dom::LoadText(document.Get(), L"<e empty='' t=' a&amp;b ' n='42px' m='-7' x='abc'><!--c--></e>", hr));
    REQUIRE(document->get_documentElement(element.Put()) == S_OK);
    const auto references = [&] { return element.Get()->AddRef(), element.Get()->Release(); };
    const ULONG before = references();
    RecordedLog log;
    // Columns: name, text in brackets, number, line.
    for (const Lines& row : Rows(LR"(
empty | [] | 0
t | [ a&b ] | 0
n | [42px] | 42
m | [-7] | -7
x | [abc] | 0
X | | | E failed load attribute "X" 0x1
)",
                                 4)) {
        log.Clear();
        std::wstring text = L"kept";
        int number = 99;
        const bool found = !row[1].empty();
        CHECK(CXMLHelper::GetNodeAttribute(element.Get(), row[0].c_str(), text) == found);
        CHECK((found ? L"[" + text + L"]" : text) == (found ? row[1] : L"kept"));
        CHECK(log.Told(L"CXMLHelper::GetNodeAttribute") == row[3]);
        CHECK(CXMLHelper::GetNodeAttribute(element.Get(), row[0].c_str(), number) == found);
        CHECK(number == (found ? std::stoi(row[2]) : 99));
    }
    log.Clear();
    ComPtr<IXMLDOMNode> comment;
    REQUIRE(element->get_firstChild(comment.Put()) == S_OK);
    std::wstring text = L"kept";
    CHECK_FALSE(CXMLHelper::GetNodeAttribute(comment.Get(), L"n", text));
    CHECK(text == L"kept");
    CHECK(log.Told(L"CXMLHelper::GetNodeAttribute") == L"E failed get attributes 0x1");
    {
        REFUSE(SysAllocString, nullptr, 0);
        CHECK_THROWS_AS(CXMLHelper::GetNodeAttribute(element.Get(), L"n", text), ComError);
    }
    CHECK(references() == before);
}
