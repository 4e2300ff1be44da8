// The run of the cached operations on the real system: order, events, progress and results.

#include <windows.h>

#include <doctest/doctest.h>

#include <optional>
#include <utility>

#include "foundation/owned.h"
#include "removal/removal.h"
#include "support/recorded_log.h"
#include "support/temp_folder.h"

namespace {

// The view that elements without "x32view" act on.
View Native() {
    return UnderWow64() ? View::Bits64 : View::Default;
}

std::wstring Quoted(const std::wstring& text) {
    return L"\"" + text + L"\"";
}

std::wstring Named(const wchar_t* opCode, const std::wstring& name) {
    return Section(opCode, L"name='" + name + L"'");
}

// The method is one of the system's own that takes nothing and answers a number.
constexpr wchar_t kMethod[] = L"module='kernel32.dll' path='windows_system' method_name='GetCurrentProcessId' ";

OwnedHandle Hold(const std::wstring& path) {
    OwnedHandle file(::CreateFileW(path.c_str(), GENERIC_READ, FILE_SHARE_READ, nullptr, OPEN_EXISTING, 0, nullptr));
    REQUIRE(file.Get() != INVALID_HANDLE_VALUE);
    return file;
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

// What is heard of each removal before the operations, and `kinds`.
Lines Heard(const Lines& kinds) {
    Lines events = {L"13/0 Product", L"14/0", L"1/0"};
    events.insert(events.end(), kinds.begin(), kinds.end());
    return events;
}

std::vector<DWORD> g_sleeps;
void WINAPI RecordSleep(DWORD milliseconds) {
    g_sleeps.push_back(milliseconds);
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
    const std::wstring inner = folder.WriteFile(L"data\\inner\\x");
    const std::wstring link = folder.WriteFile(L"x.lnk");
    sandbox.SetString(L"Key", L"v", L"text", Native());
    sandbox.SetString(L"Values", L"gone", L"text", Native());
    sandbox.SetString(L"Values", L"stays", L"text", Native());
    // The tool finds the product's file still there.
    const std::wstring tool = L"tool_name='cmd.exe' path='windows_system' wait='yes' cmd_line='/c copy " + file + L" " +
                              folder.Path(L"copy") + L"'";
    RecordedLog log;
    Removal removal;
    CHECK(Remove(
        removal,
        Script(Section(L"del_regvalue", L"name='gone' key_path='" + sandbox.Path(L"Values") + L"'") +
               Named(L"del_regkey", sandbox.Path(L"Key")) +
               Section(L"del_shortcut", L"path='" + link + L"' target_name='x'") + Named(L"del_file", file) +
               Named(L"del_folder", folder.Path(L"data")) + Section(L"kill_process", L"target_name='prodrm-none.exe'") +
               Section(L"exec_tool", tool) + Section(L"exec_tool", kMethod) +
               Named(L"disable_service", L"prodrm-none") + Named(L"disableandstop_driver", L"prodrm-other"))));
    // Two services that do not exist fail; a process that does not exist is no failure.
    CHECK(Notifications::events == Heard({L"11/2", L"9/2", L"7/0", L"8/0", L"3/0", L"2/0", L"4/0", L"5/0", L"6/0"}));
    CHECK(PrimitivesOf(log) ==
          "DisableService ExecDllMethod ExecTool KillProcess DelFolder DelFolderRec DelFile "
          "DeleteKey GetValues DeleteValue ");
    CHECK(log.Of(L"COperations::DelFile") ==
          Lines{L"16 ->" + Quoted(inner), L"16 ->" + Quoted(file), L"16 ->" + Quoted(link)});
    CHECK(log.Of(L"CProductUninstall::ExecuteCachedOp_DisableAndStopDriver") == Lines{L"8 failed 2"});
    CHECK(log.Of(L"CProductUninstall::ExecuteCachedOp_DisableDriver") ==
          Lines{L"8 failed _ERROR_NOT_FOUND, \"prodrm-none\"", L"8 failed _ERROR_NOT_FOUND, \"prodrm-other\""});
    CHECK(log.Of(L"CProductUninstall::ExecuteCachedOp_KillProcess") ==
          Lines{L"8 failed _ERROR_NOT_FOUND, \"prodrm-none.exe\""});
    CHECK(folder.Tree() == Lines{L"copy"});
    CHECK(sandbox.Dump(Native()) == Lines{L"Values\\", L"Values\\=stays"});
    CHECK_FALSE(removal.RestartRequired());
}

TEST_CASE("progress: 30 for the walk, 70 for the execution, never clamped") {
    const TempFolder folder;
    const RegistrySandbox sandbox;
    const std::wstring key = Named(L"del_regkey", sandbox.Path(L"Key"));
    const std::wstring search = Section(L"del_regkey", L"data_str='x' name='" + sandbox.Path(L"A") + L"'") +
                                Section(L"del_regkey", L"data_str='y' name='" + sandbox.Path(L"A") + L"'");
    struct {
        std::wstring sections;
        Lines events;
        std::vector<LONG> progress;
    } const rows[] = {
        {key + Named(L"del_file", folder.WriteFile(L"x")), {L"2/0", L"5/0", L"6/0"}, {0, 0, 30, 93, 100, 100}},
        {Named(L"disableandstop_driver", L"prodrm-none"), {L"11/2", L"9/2"}, {0, 0, 30, 100, 170}},
        // Searches run only beside a plain key or value, and earn units that were not counted.
        {search, {}, {0, 0, 30}},
        {search + key, {L"5/0", L"6/0"}, {0, 0, 30, 240, 240}},
        {Section(L"kill_process", L"target_name='prodrm-none.exe'") + Named(L"del_file", L"C:\\none\\a") +
             Named(L"del_folder", L"C:\\none\\b"),
         {L"8/0", L"3/0", L"2/0"},
         {0, 0, 30, 88, 94, 100}},
    };
    for (const auto& row : rows) {
        INFO(Utf8(row.sections));
        sandbox.MakeKey(L"Key", Native());
        Removal removal;
        CHECK(Remove(removal, Script(row.sections)));
        CHECK(Notifications::events == Heard(row.events));
        CHECK(Notifications::progress == row.progress);
        CHECK(::GetProgressPercent() == row.progress.back());
    }
}

TEST_CASE("a refused key, held files, a tool that cannot start and a missing library stop nothing") {
    const TempFolder folder;
    const RegistrySandbox sandbox;
    const std::wstring held = folder.WriteFile(L"held");
    const std::wstring below = folder.WriteFile(L"data\\below");
    const std::wstring loose = folder.WriteFile(L"loose");
    const std::wstring values = sandbox.Path(L"Values");
    const OwnedHandle holds[] = {Hold(held), Hold(below)};
    const ImportPatch refuse("RegDeleteValueW", &RefuseDeleteValue);
    sandbox.SetString(L"Values", L"v", L"text", Native());
    sandbox.MakeKey(L"Last", Native());
    RecordedLog log;
    Removal removal;
    CHECK(Remove(removal, Script(Section(L"exec_tool", L"tool_name='C:\\none\\tool.exe' cmd_line='-x'") +
                                 Section(L"exec_tool", L"module='C:\\none\\m.dll' method_name='Go'") +
                                 Named(L"del_folder", folder.Path(L"data")) + Named(L"del_file", held) +
                                 Named(L"del_file", loose) + Named(L"del_file", L"C:\\none\\x") +
                                 Section(L"del_shortcut", L"path='C:\\none\\l' target_name='x'") +
                                 Section(L"del_regvalue", L"name='v' key_path='" + values + L"'") +
                                 Section(L"del_regvalue", L"name='v' key_path='" + values + L"2'") +
                                 Named(L"del_regkey", sandbox.Path(L"Last")) + Named(L"del_regkey", L"No hive"))));
    CHECK(Notifications::events == Heard({L"7/2", L"3/0", L"2/0", L"4/2", L"5/0", L"6/2"}));
    CHECK(folder.Tree() == Lines{L"data\\", L"data\\below", L"held"});
    CHECK(sandbox.Dump(Native()) == Lines{L"Values\\", L"Values\\=v"});
    CHECK(removal.RestartRequired());
    const std::wstring missing = L" failed _ERROR_NOT_FOUND";
    const std::pair<const wchar_t*, Lines> told[] = {
        {L"ProcessExecDllMethod", {L"8" + missing + L", \"C:\\none\\m.dll\" \"Go\""}},
        {L"ExecuteCachedOp_ExecTool", {L"8 failed _ERROR_UNKNOWN, \"\"C:\\none\\tool.exe\" -x\""}},
        {L"ExecuteCachedOp_DelFile",
         {L"16" + missing + L" delete file \"C:\\none\\x\"", L"16 failed _ERROR_FAILED delete file " + Quoted(held)}},
        {L"ExecuteCachedOp_DelShortcut", {L"16 COperations DelShortcut failed _ERROR_NOT_FOUND"}},
        {L"ExecuteCachedOp_DelRegKeys", {L"4" + missing + L" delete key \"No hive\""}},
        {L"ExecuteCachedOp_DelRegValues",
         {L"4 failed _ERROR_FAILED delete key " + Quoted(values),
          L"4" + missing + L" delete key " + Quoted(values + L"2")}},
        // In the order in which they were met: the folder after what keeps it.
        {L"DeleteAtRestart",
         {L"16 RESTART DELETE :", L"16 " + Quoted(below), L"16 " + Quoted(folder.Path(L"data")),
          L"16 " + Quoted(held)}},
    };
    for (const auto& [function, lines] : told) {
        INFO(Utf8(function));
        CHECK(log.Of(std::wstring(L"CProductUninstall::") + function) == lines);
    }
}

TEST_CASE("library methods are judged when their turn comes") {
    const std::wstring pause = L" sleep_after_exec='40'";
    const std::wstring method = kMethod + pause;
    struct {
        std::wstring attributes;
        const wchar_t* result;
        Lines lines;
        std::vector<DWORD> sleeps = {};
    } const rows[] = {
        {method, L"7/0", {}, {40}},
        {method + (UnderWow64() ? L" os='x32'" : L" os='x64'"), L"7/0", {OtherSystemLine()}},
        {L"module='m.dll' path='nowhere'", L"7/2", {L"4 method_name attributte is missing"}},
        {L"module='m.dll' path='nowhere' method_name='m'", L"7/2", {L"4 unknown special folder \"nowhere\""}},
        {L"module='C:\\none.dll' method_name='m'" + pause,
         L"7/2",
         {L"8 failed _ERROR_NOT_FOUND, \"C:\\none.dll\" \"m\""}},
        {L"module='C:\\Used.dll' method_name='Do It'" + pause, L"7/0", {L"16 in use"}},
        // The pause belongs to methods alone.
        {L"tool_name='cmd.exe' path='windows_system' cmd_line='/c exit' wait='yes'" + pause, L"7/0", {}},
    };
    std::vector<CProductCheckUse> usedBy;
    Staying staying(L"staying.xml");
    staying.usedTools = {{L"c:\\used.dll", L"doit"}};
    usedBy.emplace_back(std::move(staying));
    for (const auto& row : rows) {
        INFO(Utf8(row.attributes));
        g_sleeps.clear();
        const ImportPatch sleep("Sleep", &RecordSleep);
        RecordedLog log;
        Removal removal(&usedBy);
        CHECK(Remove(removal, Script(Section(L"exec_tool", row.attributes))));
        CHECK(Notifications::events == Heard({row.result}));
        CHECK(log.Of(L"CProductUninstall::ProcessExecDllMethod") == row.lines);
        CHECK(g_sleeps == row.sleeps);
    }
}

TEST_CASE("a product that stays keeps what it uses, by exact text and view") {
    const TempFolder folder;
    const RegistrySandbox sandbox;
    const std::wstring used = folder.WriteFile(L"data\\used");
    folder.WriteFile(L"data\\free");
    sandbox.MakeKey(L"Used", Native());
    const std::wstring key = sandbox.Path(L"Used");
    std::vector<CProductCheckUse> usedBy;
    for (const wchar_t* const name : {L"first.xml", L"second.xml"}) {
        Staying staying(name);
        staying.usedFiles = {used, std::wstring(L"C:\\") + name};
        staying.usedFolders = {L"C:\\f"};
        staying.usedRegKeys = {{key, false}};
        staying.usedRegValues = {{L"HKLM\\K\\v", true}};
        staying.usedTools = {{L"c:\\t", L"-a"}};
        usedBy.emplace_back(std::move(staying));
    }
    RecordedLog log;
    Removal removal(&usedBy);
    CHECK(removal.IsUsedFile(L"C:\\second.xml"));
    CHECK_FALSE(removal.IsUsedFile(L"C:\\Second.xml"));
    CHECK_FALSE(removal.IsUsedFile(L"C:\\f"));
    CHECK(removal.IsUsedFolder(L"C:\\f"));
    CHECK_FALSE(removal.IsUsedRegKey(key, true));
    CHECK(removal.IsUsedRegValue(L"HKLM\\K", L"v", true));
    CHECK_FALSE(removal.IsUsedRegValue(L"HKLM\\K", L"v", false));
    CHECK(removal.IsUsedTool(L"C:\\T", L"- A"));
    CHECK_FALSE(removal.IsUsedTool(L"C:\\T", L""));
    CHECK(log.Of(L"CProductUninstall::IsUsedFile") == Lines{L"16 \"C:\\second.xml\" used by \"second.xml\""});
    CHECK(log.Of(L"CProductUninstall::IsUsedTool") == Lines{L"16 \"C:\\T\" \"- A\" used by \"first.xml\""});

    CHECK(Remove(removal, Script(Named(L"del_folder", folder.Path(L"data")) + Named(L"del_file", used) +
                                 Named(L"del_regkey", key))));
    CHECK(Notifications::events == Heard({L"3/0", L"2/0", L"5/0", L"6/0"}));
    CHECK(folder.Tree() == Lines{L"data\\", L"data\\used"});
    CHECK(sandbox.Dump(Native()) == Lines{L"Used\\"});
    CHECK(log.Of(L"CProductUninstall::ExecuteCachedOp_DelFile").empty());
    CHECK_FALSE(removal.RestartRequired());
}

TEST_CASE("documents that cannot be walked leave the machine alone") {
    struct {
        const wchar_t* document;
        Lines events;
        Lines lines;
    } const rows[] = {
        // The line prints the result of the object's creation, not of the load.
        {L"<uninstall_information>", {L"1/1"}, {L"4 load \"product.xml\" failed 0x0"}},
        {L"<other/>", {L"0/2"}, {L"4 failed load \"uninstall_information\" node 0x1", L"4 failed \"product.xml\""}},
        {L"<uninstall_information/>", {}, {}},
        {L"", {L"1/3"}, {L"4 CoCreateInstance CLSID_DOMDocument30 failed 0x5aa"}},  // no XML engine
    };
    for (const auto& row : rows) {
        INFO(Utf8(row.document));
        RecordedLog log;
        Removal removal;
        Embed(row.document);
        std::optional<ImportPatch> refuse;
        if (*row.document == L'\0') {
            refuse.emplace("CoCreateInstance", &RefuseObject);
        }
        CHECK_FALSE(removal.Uninstall());
        Lines events = {L"13/0 Product", L"14/0"};
        events.insert(events.end(), row.events.begin(), row.events.end());
        CHECK(Notifications::events == events);
        Lines lines = {L"16 \"product.xml\""};
        lines.insert(lines.end(), row.lines.begin(), row.lines.end());
        CHECK(log.Of(L"CProductUninstall::Process") == lines);
        CHECK(log.Of(L"CProductUninstall::Uninstall") ==
              Lines{L"16 \"product.xml\"", L"4 CProductConfig Process failed"});
        CHECK(log.Of(L"CProductUninstall::DeleteAtRestart") == Lines{L"16 RESTART DELETE :"});
        CHECK(::GetProgressPercent() == 0);
    }
}
