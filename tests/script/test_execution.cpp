// The run of the cached operations on the real system: order, events, progress and results; and their thinning.

#include <windows.h>

#include <doctest/doctest.h>

#include <optional>

#include "foundation/owned.h"
#include "script/processors.h"
#include "support/recorded_log.h"
#include "support/registry_sandbox.h"
#include "support/temp_folder.h"

namespace {

// What is heard of each removal before its operations.
const std::wstring kBegun = L"13/0 Product, 14/0, 1/0";

// A folder and a key, for which DIR and KEY stand, and a removal of "operation attributes" lines.
struct Bench {
    bool Remove(const std::wstring& elements, const std::vector<CProductCheckUse>* usedBy = &kNothingStays) {
        std::wstring sections;
        for (const Lines& row : Rows(elements, 1)) {
            const std::size_t blank = row[0].find(L' ');
            sections += Section(row[0].substr(0, blank), names.Real(row[0].substr(blank)));
        }
        log.Clear();
        removal.emplace(usedBy);
        return ::Remove(*removal, Script(sections));
    }
    std::wstring Told(const std::wstring& function) const {
        return names.Nick(log.Told(L"CProductUninstall::" + function));
    }
    // Everything that is left.
    std::wstring Left() const { return Joined(folder.Tree(), L" ") + L"|" + Joined(key.Dump(), L" "); }

    TempFolder folder;
    RegistrySandbox key;
    Nicknames names = {{L"DIR", folder.Path()},
                       {L"KEY", key.Path()},
                       // One of the system's own, which takes nothing and answers a number.
                       {L"METHOD", L"module='kernel32.dll' path='windows_system' method_name='GetCurrentProcessId'"}};
    RecordedLog log;
    std::optional<Removal> removal;
};

// The system's primitives in the order of their first lines.
std::wstring PrimitivesOf(const RecordedLog& log) {
    std::wstring primitives;
    for (const LogLine& line : log.Lines()) {
        const std::wstring name = line.function.substr(line.function.rfind(L':') + 1) + L' ';
        const bool isPrimitive = line.function.starts_with(L"COperations::") || line.function.starts_with(L"CRegKey");
        if (isPrimitive && primitives.find(name) == std::wstring::npos) {
            primitives += name;
        }
    }
    return primitives;
}

}  // namespace

TEST_CASE("a removal runs kind by kind, whatever the order of the script") {
    Bench bench;
    for (const wchar_t* const file : {L"product.dll", L"data\\inner\\x", L"x.lnk"}) {
        bench.folder.WriteFile(file);
    }
    bench.key.Fill({L"Key\\=v", L"Values\\=gone", L"Values\\=stays"});
    // The tool finds the product's file still there. Two services that do not exist fail; a process that does not exist
    // is no failure.
    CHECK(
        bench.Remove(LR"(
del_regvalue name='gone' key_path='KEY\Values'
del_regkey name='KEY\Key'
del_shortcut path='DIR\x.lnk' target_name='x'
del_file name='DIR\product.dll'
del_folder name='DIR\data'
kill_process target_name='prodrm-none.exe'
exec_tool tool_name='cmd.exe' path='windows_system' wait='yes' cmd_line='/c copy DIR\product.dll DIR\copy'
exec_tool METHOD
disable_service name='prodrm-none'
disableandstop_driver name='prodrm-other')"));
    CHECK(Notifications::Heard() == kBegun + L", 11/2, 9/2, 7/0, 8/0, 3/0, 2/0, 4/0, 5/0, 6/0");
    CHECK(PrimitivesOf(bench.log) ==
          L"DisableService ExecDllMethod ExecTool KillProcess DelFolder DelFolderRec DelFile "
          L"DeleteKey GetValues DeleteValue ");
    CHECK(bench.names.Nick(bench.log.Told(L"COperations::DelFile")) ==
          LR"(I ->"DIR\data\inner\x" / I ->"DIR\product.dll" / I ->"DIR\x.lnk")");
    CHECK(bench.Told(L"ExecuteCachedOp_DisableAndStopDriver") == L"W failed 2");
    CHECK(bench.Told(L"ExecuteCachedOp_DisableDriver") ==
          L"W failed _ERROR_NOT_FOUND, \"prodrm-none\" / W failed _ERROR_NOT_FOUND, \"prodrm-other\"");
    CHECK(bench.Told(L"ExecuteCachedOp_KillProcess") == L"W failed _ERROR_NOT_FOUND, \"prodrm-none.exe\"");
    CHECK(bench.Left() == LR"(copy|Values\ Values\=stays)");
    CHECK_FALSE(bench.removal->RestartRequired());
}

TEST_CASE("progress: 30 for the walk, 70 for the execution, never clamped") {
    const struct {
        const wchar_t* elements;
        std::wstring events;
        std::wstring progress;
    } rows[] = {
        {L"del_regkey name='KEY\\Key'\ndel_file name='DIR\\x'", L", 2/0, 5/0, 6/0", L"0 0 30 93 100 100"},
        {L"disableandstop_driver name='prodrm-none'", L", 11/2, 9/2", L"0 0 30 100 170"},
        // Searches run only beside a plain key or value, and earn units that were not counted.
        {L"del_regkey name='KEY\\A' data_str='x'", L"", L"0 0 30"},
        {L"del_regkey name='KEY\\A' data_str='x'\ndel_regkey name='KEY\\A' data_str='y'\ndel_regkey name='KEY\\Key'",
         L", 5/0, 6/0", L"0 0 30 240 240"},
        {L"kill_process target_name='prodrm-none.exe'\ndel_file name='C:\\none\\a'\ndel_folder name='C:\\none\\b'",
         L", 8/0, 3/0, 2/0", L"0 0 30 88 94 100"},
    };
    Bench bench;
    for (const auto& row : rows) {
        INFO(Utf8(row.elements));
        bench.folder.WriteFile(L"x");
        bench.key.MakeKey(L"Key");
        CHECK(bench.Remove(row.elements));
        CHECK(Notifications::Heard() == kBegun + row.events);
        CHECK(Notifications::progress == row.progress);
    }
    CHECK(::GetProgressPercent() == 100);
}

TEST_CASE("a refused key, held files, a tool that cannot start and a missing library stop nothing") {
    Bench bench;
    const OwnedFileHandle holds[] = {HoldFile(bench.folder.WriteFile(L"held"), FILE_SHARE_READ),
                                     HoldFile(bench.folder.WriteFile(L"data\\below"), FILE_SHARE_READ)};
    bench.folder.WriteFile(L"loose");
    bench.key.Fill({L"Values\\=v", L"Last\\"});
    constexpr wchar_t kElements[] =
        LR"(
exec_tool tool_name='C:\none\tool.exe' cmd_line='-x'
exec_tool module='C:\none\m.dll' method_name='Go'
del_folder name='DIR\data'
del_file name='DIR\held'
del_file name='DIR\loose'
del_file name='C:\none\x'
del_shortcut path='C:\none\l' target_name='x'
del_regvalue name='v' key_path='KEY\Values'
del_regvalue name='v' key_path='KEY\Values2'
del_regkey name='KEY\Last'
del_regkey name='No hive')";
    REFUSE(RegDeleteValueW, ERROR_ACCESS_DENIED, 0);
    CHECK(bench.Remove(kElements));
    CHECK(Notifications::Heard() == kBegun + L", 7/2, 3/0, 2/0, 4/2, 5/0, 6/2");
    CHECK(bench.Left() == LR"(data\ data\below held|Values\ Values\=v)");
    CHECK(bench.removal->RestartRequired());
    for (const Lines& row : Rows(LR"(
ProcessExecDllMethod | W failed _ERROR_NOT_FOUND, "C:\none\m.dll" "Go"
ExecuteCachedOp_ExecTool | W failed _ERROR_UNKNOWN, ""C:\none\tool.exe" -x"
ExecuteCachedOp_DelFile | I failed _ERROR_NOT_FOUND delete file "C:\none\x" / I failed _ERROR_FAILED delete file "DIR\held"
ExecuteCachedOp_DelShortcut | I COperations DelShortcut failed _ERROR_NOT_FOUND
ExecuteCachedOp_DelRegKeys | E failed _ERROR_NOT_FOUND delete key "No hive"
ExecuteCachedOp_DelRegValues | E failed _ERROR_FAILED delete key "KEY\Values" / E failed _ERROR_NOT_FOUND delete key "KEY\Values2"
DeleteAtRestart | I RESTART DELETE : / I "DIR\data\below" / I "DIR\data" / I "DIR\held"
)",
                                 2)) {
        CHECK(bench.Told(row[0]) == row[1]);
    }

    // What the system does not take for the restart fails the removal, and the rest is offered all the same.
    REFUSE(MoveFileExW, FALSE, ERROR_ACCESS_DENIED);
    REFUSE(SetFileAttributesW, FALSE, ERROR_WRITE_PROTECT);
    CHECK_FALSE(bench.Remove(L"del_folder name='DIR\\data'"));
    CHECK(bench.removal->RestartRequired());
    CHECK(
        bench.Told(L"DeleteAtRestart") ==
        LR"(I RESTART DELETE : / I "DIR\data\below" / I "DIR\data")"
        LR"( / W SetFileAttributes NORMAL for "DIR\data\below" failed 0x13 / W MoveFileEx "DIR\data\below" failed 0x5)"
        LR"( / W SetFileAttributes NORMAL for "DIR\data" failed 0x13 / W MoveFileEx "DIR\data" failed 0x5)");
}

TEST_CASE("library methods are judged when their turn comes") {
    std::vector<CProductCheckUse> usedBy;
    Scan staying;
    staying.usedTools = {{L"c:\\used.dll", L"doit"}, {L"c:\\used.exe", L"-a"}};
    usedBy.emplace_back(std::move(staying));
    Bench bench;
    // Columns: attributes, result, pauses, lines. The pause belongs to methods alone.
    for (const Lines& row : Rows(LR"(
METHOD sleep_after_exec='40' | 7/0 | 40 |
64:METHOD sleep_after_exec='40' os='x32' | 7/0 | | N Will not execute x32 operation on x64 OS! AppPath=C:\Program Files\P
32:METHOD sleep_after_exec='40' os='x64' | 7/0 | | N Will not execute x64 operation on x32 OS! AppPath=C:\Program Files\P
module='m.dll' path='nowhere' | 7/2 | | E method_name attributte is missing
module='m.dll' path='nowhere' method_name='m' | 7/2 | | E unknown special folder "nowhere"
module='C:\none.dll' method_name='m' sleep_after_exec='40' | 7/2 | | W failed _ERROR_NOT_FOUND, "C:\none.dll" "m"
module='C:\Used.dll' method_name='Do It' sleep_after_exec='40' | 7/0 | | I in use
tool_name='cmd.exe' path='windows_system' cmd_line='/c exit' wait='yes' sleep_after_exec='40' | 7/0 | |
tool_name='C:\Used.exe' cmd_line='- A' | | |
)",
                                 4)) {
        if (row[0].starts_with(UnderWow64() ? L"32:" : L"64:")) {
            continue;
        }
        INFO(Utf8(row[0]));
        std::wstring pauses;
        PLAY(Sleep, [&](DWORD time) { pauses += std::to_wstring(time); });
        CHECK(bench.Remove(L"exec_tool " + row[0].substr(row[0][2] == L':' ? 3 : 0), &usedBy));
        CHECK(Notifications::Heard() == kBegun + (row[1].empty() ? L"" : L", " + row[1]));
        CHECK(bench.Told(L"ProcessExecDllMethod") == row[3]);
        CHECK(pauses == row[2]);
    }
}

TEST_CASE("a product that stays keeps what it uses, by exact text and view") {
    Bench bench;
    const std::wstring used = bench.folder.WriteFile(L"data\\used");
    const std::wstring marked = bench.folder.WriteFile(L"m.dll");
    bench.folder.WriteFile(L"data\\free");
    bench.key.MakeKey(L"Used");
    std::vector<CProductCheckUse> usedBy;
    for (const wchar_t* const name : {L"first.xml", L"second.xml"}) {
        Scan staying(name);
        staying.usedFiles = {used, marked, std::wstring(L"C:\\") + name};
        staying.usedFolders = {L"C:\\f"};
        staying.usedRegKeys = {{bench.key.Path(L"Used"), false}};
        staying.usedRegValues = {{L"HKLM\\K\\v", true}};
        staying.usedTools = {{L"c:\\t", L"-a"}};
        usedBy.emplace_back(std::move(staying));
    }
    Removal removal(&usedBy);
    CHECK(removal.IsUsedFile(L"C:\\second.xml"));
    CHECK_FALSE(removal.IsUsedFile(L"C:\\Second.xml"));
    CHECK_FALSE(removal.IsUsedFile(L"C:\\f"));
    CHECK(removal.IsUsedFolder(L"C:\\f"));
    CHECK_FALSE(removal.IsUsedRegKey(bench.key.Path(L"Used"), true));
    CHECK(removal.IsUsedRegValue(L"HKLM\\K", L"v", true));
    CHECK_FALSE(removal.IsUsedRegValue(L"HKLM\\K", L"v", false));
    CHECK(removal.IsUsedTool(L"C:\\T", L"- A"));
    CHECK_FALSE(removal.IsUsedTool(L"C:\\T", L""));
    CHECK(bench.Told(L"IsUsedFile") == L"I \"C:\\second.xml\" used by \"second.xml\"");
    CHECK(bench.Told(L"IsUsedTool") == L"I \"C:\\T\" \"- A\" used by \"first.xml\"");

    bench.key.SetString(L"", L"p", bench.folder.Path());
    Embed(
        bench.names.Real(LR"(<uninstall_information><version_list><v/></version_list><v>
        <app_path key='KEY' name='p'/><win_nt>
        <s op_code='del_folder'><e name='DIR\data'/></s><s op_code='del_file'><e name='DIR\data\used'/></s>
        <s op_code='del_file'><e path='app_path' name='#####m.dll'/></s><s op_code='del_regkey'><e name='KEY\Used'/></s>
        </win_nt></v></uninstall_information>)"));
    Notifications::Clear();
    CHECK(removal.Uninstall());
    CHECK(Notifications::Heard() == kBegun + L", 3/0, 2/0, 5/0, 6/0");
    CHECK(bench.Left() == LR"(data\ data\used m.dll|=p Used\)");
    CHECK(bench.Told(L"ExecuteCachedOp_DelFile").empty());
    CHECK(bench.Told(L"ProcessDelFile") == L"I in use");
    CHECK_FALSE(removal.RestartRequired());
}

TEST_CASE("every value of restart_required but yes asks for a restart, once") {
    Bench bench;
    for (const Lines& row : Rows(LR"(
name='a' |
name='a' restart_required='YES' |
name='a' restart_required='no' | I RESTART REQUIRED
restart_required='' | I RESTART REQUIRED
)",
                                 2)) {
        CHECK(bench.Remove(L"disable_service " + row[0] + L"\ndisable_service " + row[0]));
        CHECK(bench.removal->RestartRequired() == !row[1].empty());
        CHECK(bench.Told(L"ExecOperation").starts_with(row[1]));
        CHECK((bench.log.Count(L"I CProductUninstall::ExecOperation: RESTART REQUIRED") == 1) == !row[1].empty());
    }
}

TEST_CASE("documents that cannot be walked leave the machine alone") {
    RecordedLog log;
    // The line of a text that does not load prints the result of the object's creation.
    for (const Lines& row : Rows(LR"(
<uninstall_information> | , 1/1 | / E load "product.xml" failed 0x0
<other/> | , 0/2 | / E failed load "uninstall_information" node 0x1 / E failed "product.xml"
<uninstall_information/> | |
no engine | , 1/3 | / E CoCreateInstance CLSID_DOMDocument30 failed 0x5aa
)",
                                 3)) {
        INFO(Utf8(row[0]));
        log.Clear();
        Removal removal;
        std::optional<Played<decltype(&::CoCreateInstance)>> refuse;
        if (row[0] == L"no engine") {
            refuse.emplace("CoCreateInstance", [](auto...) { return ::SetLastError(0x5aa), REGDB_E_CLASSNOTREG; });
        }
        CHECK_FALSE(Remove(removal, row[0]));
        CHECK(Notifications::Heard() == L"13/0 Product, 14/0" + row[1]);
        const std::wstring lines = row[2].empty() ? L"" : L" " + row[2];
        CHECK(log.Told(L"CProductUninstall::Process") == L"I \"product.xml\"" + lines);
        CHECK(log.Told(L"CProductUninstall::Uninstall") == L"I \"product.xml\" / E CProductConfig Process failed");
        CHECK(log.Told(L"CProductUninstall::DeleteAtRestart") == L"I RESTART DELETE :");
        CHECK(::GetProgressPercent() == 0);
    }
}

TEST_CASE("each list is thinned by comparing an entry with the last one that stayed") {
    Removal removal;
    const auto thinned = [&removal] {
        CHECK(removal.SortCachedOps());
        return Joined(removal.Records(), L", ");
    };
    // A folder covers what lies beneath it, not what its name begins with.
    removal.m_cached.delFolders = {L"C:\\pq", L"C:\\p\\q\\r", L"C:\\p", L"C:\\P\\q", L"C:\\p", L"C:\\p/x"};
    CHECK(thinned() == L"folder C:\\P\\q, folder C:\\p, folder C:\\pq");
    // An entry in between that sorts before the separator hides the folder from those beneath it.
    removal.m_cached.delFolders = {L"C:\\a\\x", L"C:\\a", L"C:\\a b", L"C:\\a b\\x"};
    CHECK(thinned() == L"folder C:\\a, folder C:\\a b, folder C:\\a\\x");
    removal.m_cached.delFolders.clear();

    // A key covers its subkeys and values, across the border of the views as well.
    removal.m_cached.delReg = {
        {L"M\\b", L"v", true, true}, {L"M\\a", L"", true, false}, {L"M", L"z", false, true}, {L"M", L"", false, false},
        {L"L", L"v", false, true},   {L"L", L"v", false, true},   {L"L", L"a", false, true},
    };
    CHECK(thinned() == L"value L = v, value L = v, value L = a, key M");
    // A key of the other view that sorts first ends the reach of the last native one; a value covers nothing.
    removal.m_cached.delReg = {
        {L"M\\a", L"", true, false}, {L"A", L"", true, false},     {L"M", L"", false, false},
        {L"B", L"v", false, true},   {L"B\\c", L"", false, false},
    };
    CHECK(thinned() == L"value B = v, key B\\c, key M, key A x32, key M\\a x32");
    removal.m_cached.delReg = {{L"K", L"", true, false}, {L"K", L"", false, false}, {L"K", L"", false, false}};
    CHECK(thinned() == L"key K");
    removal.m_cached.delReg.clear();

    // A tool runs once, in the order of the script; it is the same with the same flags.
    removal.m_cached.execTools = {
        {L"b", true, false, false}, {L"a", false, false, false}, {L"b", false, false, false},
        {L"b", true, false, false}, {L"a", false, true, false},  {L"a", false, false, false},
    };
    CHECK(thinned() == L"tool <b> wait, tool <a>, tool <b>, tool <a> show");
}
