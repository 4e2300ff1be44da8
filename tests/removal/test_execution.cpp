// The run of the cached operations on the real system: order, events, progress and results.

#include <windows.h>

#include <doctest/doctest.h>

#include <algorithm>

#include "foundation/owned.h"
#include "removal/removal.h"
#include "support/recorded_log.h"
#include "support/registry_sandbox.h"
#include "support/temp_folder.h"

namespace {

std::wstring Named(const std::wstring& name) {
    return L"name='" + name + L"'";
}

// The view that elements without "x32view" act on.
View Native() {
    return UnderWow64() ? View::Bits64 : View::Default;
}

std::wstring Key(const RegistrySandbox& sandbox, const std::wstring& relative) {
    return Section(L"del_regkey", Named(sandbox.Path(relative)));
}

// The method is one of the system's own that takes nothing and answers a number.
constexpr wchar_t kMethod[] = L"module='kernel32.dll' path='windows_system' method_name='GetCurrentProcessId' ";

OwnedHandle Hold(const std::wstring& path) {
    OwnedHandle file(::CreateFileW(path.c_str(), GENERIC_READ, FILE_SHARE_READ, nullptr, OPEN_EXISTING, 0, nullptr));
    REQUIRE(file.Get() != INVALID_HANDLE_VALUE);
    return file;
}

// The system's list of files to delete at the restart, without its prefixes.
Lines PendingDeletions() {
    std::wstring data(0x4000, L'\0');
    DWORD size = static_cast<DWORD>(data.size() * sizeof(wchar_t));
    OwnedRegKey key;
    Lines pending;
    if (::RegOpenKeyExW(HKEY_LOCAL_MACHINE, L"System\\CurrentControlSet\\Control\\Session Manager", 0, KEY_READ,
                        key.Put()) != ERROR_SUCCESS ||
        ::RegQueryValueExW(key.Get(), L"PendingFileRenameOperations", nullptr, nullptr,
                           reinterpret_cast<BYTE*>(data.data()), &size) != ERROR_SUCCESS) {
        return pending;
    }
    // Pairs of old and new name; the new one of a deletion is empty.
    for (const wchar_t* at = data.c_str(); *at != L'\0'; at += std::wcslen(at) + 1) {
        const std::wstring path = at;
        at += path.size() + 1;
        pending.push_back((path.starts_with(L"\\??\\") ? path.substr(4) : path) + (*at != L'\0' ? L" moved" : L""));
    }
    return pending;
}

// The system's primitives in the order of their first lines.
std::string PrimitivesOf(const RecordedLog& log) {
    std::wstring primitives;
    for (const LogLine& line : log.Lines()) {
        const std::wstring name = line.function.substr(line.function.rfind(L':') + 1) + L' ';
        const bool isPrimitive = line.function.starts_with(L"COperations::") || line.function.starts_with(L"CRegKey");
        if (isPrimitive && primitives.find(name) == std::wstring::npos) {
            primitives += name;
        }
    }
    return Utf8(primitives);
}

std::vector<DWORD> g_sleeps;
void WINAPI RecordSleep(DWORD milliseconds) {
    g_sleeps.push_back(milliseconds);
}

BOOL WINAPI RefuseMove(LPCWSTR, LPCWSTR, DWORD) {
    ::SetLastError(ERROR_ACCESS_DENIED);
    return FALSE;
}
LONG WINAPI RefuseDeleteValue(HKEY, LPCWSTR) {
    return ERROR_ACCESS_DENIED;
}
HRESULT WINAPI RefuseObject(REFCLSID, LPUNKNOWN, DWORD, REFIID, LPVOID*) {
    ::SetLastError(ERROR_NO_SYSTEM_RESOURCES);
    return REGDB_E_CLASSNOTREG;
}

}  // namespace

TEST_CASE("a removal runs kind by kind, whatever the order of the script") {
    const TempFolder folder;
    const RegistrySandbox sandbox;
    const std::wstring file = folder.WriteFile(L"product.dll");
    folder.WriteFile(L"data\\inner\\x");
    const std::wstring link = folder.WriteFile(L"links\\x.lnk");
    sandbox.SetString(L"Key", L"v", L"text", Native());
    sandbox.SetString(L"Values", L"gone", L"text", Native());
    sandbox.SetString(L"Values", L"stays", L"text", Native());
    // The tool finds the product's file still there.
    const std::wstring tool = L"tool_name='cmd.exe' path='windows_system' wait='yes' cmd_line='/c copy " + file + L" " +
                              folder.Path(L"copy") + L"'";
    Removal removal;
    RecordedLog log;
    CHECK(Remove(removal,
                 Script(Section(L"del_regvalue", L"name='gone' key_path='" + sandbox.Path(L"Values") + L"'") +
                        Key(sandbox, L"Key") + Section(L"del_shortcut", L"path='" + link + L"' target_name='x'") +
                        Section(L"del_file", Named(file)) + Section(L"del_folder", Named(folder.Path(L"data"))) +
                        Section(L"kill_process", L"target_name='prodrm-none.exe'") + Section(L"exec_tool", tool) +
                        Section(L"exec_tool", kMethod) + Section(L"disable_service", L"name='prodrm-none'") +
                        Section(L"disableandstop_driver", L"name='prodrm-other'"))));
    // Two services that do not exist fail; a process that does not exist is no failure.
    CHECK(Notifications::events == Lines{L"13/0 Product", L"14/0", L"1/0", L"11/2", L"9/2", L"7/0", L"8/0", L"3/0",
                                         L"2/0", L"4/0", L"5/0", L"6/0"});
    CHECK(PrimitivesOf(log) ==
          "DisableService ExecDllMethod ExecTool KillProcess DelFolder DelFolderRec DelFile "
          "DeleteKey GetValues DeleteValue ");
    CHECK(log.Of(L"COperations::DelFile") == Lines{L"16 ->\"" + folder.Path(L"data\\inner\\x") + L"\"",
                                                   L"16 ->\"" + file + L"\"", L"16 ->\"" + link + L"\""});
    CHECK(log.Of(L"CProductUninstall::ExecuteCachedOp_DisableAndStopDriver") == Lines{L"8 failed 2"});
    CHECK(log.Of(L"CProductUninstall::ExecuteCachedOp_DisableDriver") ==
          Lines{L"8 failed _ERROR_NOT_FOUND, \"prodrm-none\"", L"8 failed _ERROR_NOT_FOUND, \"prodrm-other\""});
    CHECK(log.Of(L"CProductUninstall::ExecuteCachedOp_KillProcess") ==
          Lines{L"8 failed _ERROR_NOT_FOUND, \"prodrm-none.exe\""});
    CHECK(folder.Tree() == Lines{L"copy", L"links\\"});
    CHECK(sandbox.Dump(Native()) == Lines{L"Values\\", L"Values\\=stays"});
    CHECK_FALSE(removal.RestartRequired());
}

TEST_CASE("progress: 30 for the walk, 70 for the execution, never clamped") {
    const TempFolder folder;
    const RegistrySandbox sandbox;
    sandbox.MakeKey(L"Key", Native());
    const std::wstring key = Key(sandbox, L"Key");
    const std::wstring search = Section(L"del_regkey", L"data_str='x' " + Named(sandbox.Path(L"A"))) +
                                Section(L"del_regkey", L"data_str='y' " + Named(sandbox.Path(L"A")));
    struct {
        std::wstring sections;
        Lines events;  // after 13, 14 and 1
        std::vector<LONG> progress;
    } const rows[] = {
        {key + Section(L"del_file", Named(folder.WriteFile(L"x"))), {L"2/0", L"5/0", L"6/0"}, {93, 100, 100}},
        {Section(L"disableandstop_driver", L"name='prodrm-none'"), {L"11/2", L"9/2"}, {100, 170}},
        // Searches run only beside a plain key or value, and earn units that were not counted.
        {search, {}, {}},
        {search + key, {L"5/0", L"6/0"}, {240, 240}},
        // 100 of 120 units, then the rest: 70 * 100 / 120 is cut down.
        {Section(L"kill_process", L"target_name='prodrm-none.exe'") + Section(L"del_file", L"name='C:\\none\\a'") +
             Section(L"del_folder", L"name='C:\\none\\b'"),
         {L"8/0", L"3/0", L"2/0"},
         {88, 94, 100}},
    };
    for (const auto& row : rows) {
        INFO(Utf8(row.sections));
        Removal removal;
        CHECK(Remove(removal, Script(row.sections)));
        Lines events = {L"13/0 Product", L"14/0", L"1/0"};
        events.insert(events.end(), row.events.begin(), row.events.end());
        std::vector<LONG> progress = {0, 0, 30};
        progress.insert(progress.end(), row.progress.begin(), row.progress.end());
        CHECK(Notifications::events == events);
        CHECK(Notifications::progress == progress);
        CHECK(::GetProgressPercent() == progress.back());
        const Removal next;
        CHECK(::GetProgressPercent() == 0);
    }
}

TEST_CASE("progress of the walk: each listed version is worth the same, the rest comes at the end") {
    struct {
        int versions;
        std::vector<LONG> atVersions;  // at the start of "v", which is listed every second time
    } const rows[] = {{0, {}}, {4, {0, 14}}, {7, {0, 8, 16, 24}}, {31, std::vector<LONG>(16, 0)}};
    for (const auto& row : rows) {
        std::wstring list;
        for (int index = 0; index < row.versions; ++index) {
            list += index % 2 == 0 ? L"<v/>" : L"<missing/>";
        }
        Removal removal;
        CHECK(Remove(removal,
                     L"<uninstall_information><version_list>" + list + L"</version_list><v/></uninstall_information>"));
        CHECK(removal.progressAtVersions == row.atVersions);
        CHECK(Notifications::events == Lines{L"13/0 Product", L"14/0", L"1/0"});  // though every version failed
        CHECK(Notifications::progress.back() == 30);
    }
}

TEST_CASE("a refused key, held files, a tool that cannot start and a missing library stop nothing") {
    const TempFolder folder;
    const RegistrySandbox sandbox;
    const std::wstring held = folder.WriteFile(L"held");
    const std::wstring below = folder.WriteFile(L"data\\below");
    const std::wstring loose = folder.WriteFile(L"loose");
    sandbox.SetString(L"Values", L"v", L"text", Native());
    sandbox.MakeKey(L"Last", Native());
    const OwnedHandle holds[] = {Hold(held), Hold(below)};
    const std::size_t before = PendingDeletions().size();
    RecordedLog log;
    Removal removal;
    {
        const ImportPatch refuse("RegDeleteValueW", &RefuseDeleteValue);
        CHECK(Remove(removal,
                     Script(Section(L"exec_tool", L"tool_name='C:\\none\\tool.exe' cmd_line='-x'") +
                            Section(L"exec_tool", L"module='C:\\none\\m.dll' method_name='Go' sleep_after_exec='9'") +
                            Section(L"del_folder", Named(folder.Path(L"data"))) + Section(L"del_file", Named(held)) +
                            Section(L"del_file", Named(loose)) + Section(L"del_file", L"name='C:\\none\\x'") +
                            Section(L"del_shortcut", L"path='C:\\none\\l' target_name='x'") +
                            Section(L"del_regvalue", L"name='v' key_path='" + sandbox.Path(L"Values") + L"'") +
                            Section(L"del_regvalue", L"name='v' key_path='" + sandbox.Path(L"None") + L"'") +
                            Key(sandbox, L"Last") + Section(L"del_regkey", L"name='No hive'"))));
    }
    CHECK(Notifications::events ==
          Lines{L"13/0 Product", L"14/0", L"1/0", L"7/2", L"3/0", L"2/0", L"4/2", L"5/0", L"6/2"});
    CHECK(log.Of(L"CProductUninstall::ProcessExecDllMethod") ==
          Lines{L"8 failed _ERROR_NOT_FOUND, \"C:\\none\\m.dll\" \"Go\""});
    CHECK(log.Of(L"CProductUninstall::ExecuteCachedOp_ExecTool") ==
          Lines{L"8 failed _ERROR_UNKNOWN, \"\"C:\\none\\tool.exe\" -x\""});
    CHECK(log.Of(L"CProductUninstall::ExecuteCachedOp_DelFile") ==
          Lines{L"16 failed _ERROR_NOT_FOUND delete file \"C:\\none\\x\"",
                L"16 failed _ERROR_FAILED delete file \"" + held + L"\""});
    CHECK(log.Of(L"CProductUninstall::ExecuteCachedOp_DelShortcut") ==
          Lines{L"16 COperations DelShortcut failed _ERROR_NOT_FOUND"});
    CHECK(log.Of(L"CProductUninstall::ExecuteCachedOp_DelRegKeys") ==
          Lines{L"4 failed _ERROR_NOT_FOUND delete key \"No hive\""});
    CHECK(log.Of(L"CProductUninstall::ExecuteCachedOp_DelRegValues") ==
          Lines{L"4 failed _ERROR_NOT_FOUND delete key \"" + sandbox.Path(L"None") + L"\"",
                L"4 failed _ERROR_FAILED delete key \"" + sandbox.Path(L"Values") + L"\""});
    CHECK(folder.Tree() == Lines{L"data\\", L"data\\below", L"held"});
    CHECK(sandbox.Dump(Native()) == Lines{L"Values\\", L"Values\\=v"});

    // What is held goes at the restart, in the order in which it was met: the folder after what keeps it.
    CHECK(removal.RestartRequired());
    const Lines late = {below, folder.Path(L"data"), held};
    CHECK(log.Of(L"CProductUninstall::DeleteAtRestart") == Lines{L"16 RESTART DELETE :", L"16 \"" + late[0] + L"\"",
                                                                 L"16 \"" + late[1] + L"\"",
                                                                 L"16 \"" + late[2] + L"\""});
    Lines pending = PendingDeletions();
    pending.erase(pending.begin(), pending.begin() + static_cast<std::ptrdiff_t>(std::min(before, pending.size())));
    CHECK(pending == late);
}

TEST_CASE("what the restart cannot be given fails the removal") {
    const TempFolder folder;
    const std::wstring held = folder.WriteFile(L"held");
    const OwnedHandle hold = Hold(held);
    const ImportPatch refuse("MoveFileExW", &RefuseMove);
    RecordedLog log;
    Removal removal;
    CHECK_FALSE(Remove(removal, Script(Section(L"del_file", Named(held)))));
    CHECK(removal.RestartRequired());
    CHECK(Notifications::events.back() == L"2/0");
    CHECK(log.Has(kWarning, L"CProductUninstall::DeleteAtRestart", L"MoveFileEx \"" + held + L"\" failed 0x5"));
}

TEST_CASE("library methods are judged when their turn comes") {
    const std::wstring otherSystem = UnderWow64() ? L"os='x32' " : L"os='x64' ";
    const std::wstring method = kMethod;
    struct {
        std::wstring attributes;
        const wchar_t* result;
        Lines lines;
        std::vector<DWORD> sleeps = {};
    } const rows[] = {
        {method + L"sleep_after_exec='40'", L"7/0", {}, {40}},
        {method + otherSystem + L"sleep_after_exec='40'",
         L"7/0",
         {UnderWow64() ? L"32 Will not execute x32 operation on x64 OS! AppPath=C:\\Program Files\\Product"
                       : L"32 Will not execute x64 operation on x32 OS! AppPath=C:\\Program Files\\Product"}},
        {L"module='m.dll' path='nowhere'", L"7/2", {L"4 method_name attributte is missing"}},
        {L"module='m.dll' path='nowhere' method_name='m'", L"7/2", {L"4 unknown special folder \"nowhere\""}},
        {L"module='C:\\Used.dll' method_name='Do It' sleep_after_exec='40'", L"7/0", {L"16 in use"}},
        // The pause belongs to methods alone.
        {L"tool_name='cmd.exe' path='windows_system' cmd_line='/c exit' wait='yes' sleep_after_exec='40'", L"7/0", {}},
    };
    std::vector<CProductCheckUse> usedBy;
    Staying staying(L"staying.xml");
    staying.usedTools = {{L"c:\\used.dll", L"doit"}};
    usedBy.emplace_back(std::move(staying));
    RecordedLog log;
    for (const auto& row : rows) {
        INFO(Utf8(row.attributes));
        log.Clear();
        g_sleeps.clear();
        const ImportPatch sleep("Sleep", &RecordSleep);
        Removal removal(&usedBy);
        CHECK(Remove(removal, Script(Section(L"exec_tool", row.attributes))));
        CHECK(Notifications::events.back() == row.result);
        CHECK(log.Of(L"CProductUninstall::ProcessExecDllMethod") == row.lines);
        CHECK(g_sleeps == row.sleeps);
    }
}

TEST_CASE("a product that stays keeps what it uses, by exact text and view") {
    std::vector<CProductCheckUse> usedBy;
    for (const wchar_t* const name : {L"first.xml", L"second.xml"}) {
        Staying staying(name);
        staying.usedFiles = {L"C:\\x", std::wstring(L"C:\\") + name};
        staying.usedFolders = {L"C:\\f"};
        staying.usedRegKeys = {{L"HKLM\\K", true}};
        staying.usedRegValues = {{L"HKLM\\K\\v", false}};
        staying.usedTools = {{L"c:\\t", L"-a"}};
        usedBy.emplace_back(std::move(staying));
    }
    RecordedLog log;
    Removal removal(&usedBy);
    CHECK(removal.IsUsedFile(L"C:\\x"));
    CHECK(removal.IsUsedFile(L"C:\\second.xml"));
    CHECK_FALSE(removal.IsUsedFile(L"c:\\x"));
    CHECK_FALSE(removal.IsUsedFile(L"C:\\f"));
    CHECK(removal.IsUsedFolder(L"C:\\f"));
    CHECK_FALSE(removal.IsUsedFolder(L"C:\\x"));
    CHECK(removal.IsUsedRegKey(L"HKLM\\K", true));
    CHECK_FALSE(removal.IsUsedRegKey(L"HKLM\\K", false));
    CHECK(removal.IsUsedRegValue(L"HKLM\\K", L"v", false));
    CHECK_FALSE(removal.IsUsedRegValue(L"HKLM\\K", L"v", true));
    CHECK(removal.IsUsedTool(L"C:\\T", L"- A"));
    CHECK_FALSE(removal.IsUsedTool(L"C:\\T", L""));
    CHECK(log.Of(L"CProductUninstall::IsUsedFile") ==
          Lines{L"16 \"C:\\x\" used by \"first.xml\"", L"16 \"C:\\second.xml\" used by \"second.xml\""});
    CHECK(log.Of(L"CProductUninstall::IsUsedTool") == Lines{L"16 \"C:\\T\" \"- A\" used by \"first.xml\""});

    // The scan's own road finds no script: nothing is protected on its account.
    CHECK(log.Count(kError, L"CProductCheckUse::CProductCheckUse", L"CProductConfig::Process failed") == 0);
}

TEST_CASE("used files and keys stay in the run, and count as done") {
    const TempFolder folder;
    const RegistrySandbox sandbox;
    const std::wstring used = folder.WriteFile(L"data\\used");
    folder.WriteFile(L"data\\free");
    sandbox.MakeKey(L"Used", Native());
    std::vector<CProductCheckUse> usedBy;
    Staying staying(L"staying.xml");
    staying.usedFiles = {used};
    staying.usedRegKeys = {{sandbox.Path(L"Used"), false}};
    usedBy.emplace_back(std::move(staying));
    RecordedLog log;
    Removal removal(&usedBy);
    CHECK(Remove(removal, Script(Section(L"del_folder", Named(folder.Path(L"data"))) +
                                 Section(L"del_file", Named(used)) + Key(sandbox, L"Used"))));
    CHECK(Notifications::events == Lines{L"13/0 Product", L"14/0", L"1/0", L"3/0", L"2/0", L"5/0", L"6/0"});
    CHECK(folder.Tree() == Lines{L"data\\", L"data\\used"});
    CHECK(sandbox.Dump(Native()) == Lines{L"Used\\"});
    CHECK(log.Of(L"CProductUninstall::ExecuteCachedOp_DelFile").empty());
    CHECK_FALSE(removal.RestartRequired());
}

TEST_CASE("documents that cannot be walked leave the machine alone") {
    RecordedLog log;
    SUBCASE("malformed") {
        Removal removal;
        CHECK_FALSE(Remove(removal, L"<uninstall_information>"));
        CHECK(Notifications::events == Lines{L"13/0 Product", L"14/0", L"1/1"});
        // The line prints the result of the object's creation, not of the load.
        CHECK(log.Of(L"CProductUninstall::Process") ==
              Lines{L"16 \"product.xml\"", L"4 load \"product.xml\" failed 0x0"});
    }
    SUBCASE("another root") {
        Removal removal;
        CHECK_FALSE(Remove(removal, L"<other/>"));
        CHECK(Notifications::events == Lines{L"13/0 Product", L"14/0", L"0/2"});
        CHECK(log.Of(L"CProductUninstall::Process") == Lines{L"16 \"product.xml\"",
                                                             L"4 failed load \"uninstall_information\" node 0x1",
                                                             L"4 failed \"product.xml\""});
        CHECK(log.Of(L"CProductConfig::ReadVersions").size() == 1);
    }
    SUBCASE("no list of versions") {
        Removal removal;
        CHECK_FALSE(Remove(removal, L"<uninstall_information/>"));
        CHECK(Notifications::events == Lines{L"13/0 Product", L"14/0"});
    }
    SUBCASE("no XML engine") {
        Removal removal;
        Embed(Script({}));
        const ImportPatch refuse("CoCreateInstance", &RefuseObject);
        CHECK_FALSE(removal.Uninstall());
        CHECK(Notifications::events == Lines{L"13/0 Product", L"14/0", L"1/3"});
        CHECK(log.Has(kError, L"CProductUninstall::Process", L"CoCreateInstance CLSID_DOMDocument30 failed 0x5aa"));
    }
    CHECK(log.Of(L"CProductUninstall::Uninstall") == Lines{L"16 \"product.xml\"", L"4 CProductConfig Process failed"});
    CHECK(log.Of(L"CProductUninstall::DeleteAtRestart") == Lines{L"16 RESTART DELETE :"});
    CHECK(::GetProgressPercent() == 0);
}
