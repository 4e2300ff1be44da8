// What the three processors make of each operation: whether it is a sign of the product, what a scan lists of it, and
// what the walk of a removal records. One table for all three.

#include <windows.h>
#include <sys/stat.h>

#include <doctest/doctest.h>

#include <cerrno>

#include "foundation/text.h"
#include "script/machine.h"
#include "script/processors.h"
#include "support/programs.h"

namespace {

// Columns: operation ("64:" and "32:" before it: on that kind of system only), attributes, detection, scan, removal.
// A cell holds the results, then the lines of the handler; " stands for what the cell before it says. "ok" and "no" are
// elements of which nothing is listed or told; an element that fails has its line, or "no".
constexpr wchar_t kTable[] =
    LR"(
del_file | path='app_path' | E no name | " | "
del_file | path='' name='' | E no name | " | "
del_file | path='nowhere' name='f.txt' | E failed get path for "nowhere" | " | "
del_file | path='' name='DIR\sub\..\f.txt' | yes | file DIR\f.txt | "
del_file | path='app_path' name='sub\..\#f.txt' | no | file DIR\#f.txt | "
// The mark of the restart counts with a folder only, and whole.
del_file | name='#####x.dll' | no | file #####x.dll | "
del_file | path='app_path' name='####f.txt' | no | file DIR\####f.txt | "
del_file | path='app_path' name='######x' | no | file DIR\#x | I ##### "DIR\#x" ERROR_NOT_FOUND
del_file | path='app_path' name='#####f.txt' | yes | file DIR\f.txt | restart DIR\f.txt

del_folder | path='' | E no name, no path | " | "
del_folder | path='nowhere' | E failed get path for "nowhere" | " | "
del_folder | path='' name='DIR\sub\..\links' | yes | file DIR\links\app.lnk / folder DIR\links | folder DIR\links
del_folder | path='app_path' name='sub\..\sub' | yes | folder DIR\sub | "
del_folder | path='app_path' name='f.txt' | no | folder DIR\f.txt | "
del_folder | path='windows_folder' name='none' | no | folder C:\windows\none | "

del_shortcut | target_name='a' | E no path | " | "
del_shortcut | path='C:\l' | E no target_name | " | "
// An empty folder of the target is a name like any other, one of the location is none.
del_shortcut | path='l' target_name='t' rel_target='' | E failed get path for "" | " | "
del_shortcut | path='l' target_name='t' rel_shortcut='nowhere' | E failed get path for "nowhere" | " | "
del_shortcut | path='C:\x\..\l.lnk' target_name='t' rel_shortcut='' | no | file C:\x\..\l.lnk | shortcut C:\x\..\l.lnk > t
del_shortcut | rel_shortcut='app_path' path='links' target_name='APP.exe' | yes | file DIR\links\app.lnk | shortcut DIR\links > APP.exe
del_shortcut | rel_shortcut='app_path' path='links' target_name='..\a' rel_target='app_path' | yes | ok | shortcut DIR\links > DIR\..\a whole

del_regkey | x32view='1' | E failed no name | " | "
del_regkey | name='KEY\native\child' x32view='yes' complete_str='yes' | yes | key KEY\native\child / value KEY\native\child\runonce | key KEY\native\child
del_regkey | name='KEY\only32' x32view='TRUE' | yes | key KEY\only32 x32 | "
64:del_regkey | name='KEY\only32' | no | key KEY\only32 / E failed _ERROR_NOT_FOUND "KEY\only32" | key KEY\only32
// Detection searches for ended pieces only. A match ends its search before it comes to the subkey, which it would look
// for in the wrong place.
del_regkey | name='KEY\native' data_str='atc;none' | yes | SCAN | search KEY\native [atc] [none]
del_regkey | name='KEY\native' data_str='none;match' | yes / unmatched | SCAN | search KEY\native [none] [match]
del_regkey | name='KEY\native\child' data_str='atc' complete_str='yes' x32view='0' | yes | ok | search KEY\native\child [atc] complete
del_regkey | name='KEY\native' data_str='atc;' complete_str='yes' | yes / unmatched | SCAN | search KEY\native [atc] [] complete
del_regkey | name='KEY\native' data_str='atc;' complete_str='Yes' | yes | SCAN | search KEY\native [atc] []
del_regkey | name='KEY\none' data_str='x;' | no | E failed _ERROR_NOT_FOUND "KEY\none" | search KEY\none [x] []

del_regvalue | x32view='1' | E no key value name / E no key path | " | "
del_regvalue | name='a' | E no key path | " | "
del_regvalue | key_path='KEY' name='a' rel_name='nowhere' | E unknow special folder "nowhere" | E unknown special folder nowhere | E unknow special folder "nowhere"
del_regvalue | key_path='KEY\native' name='' | yes | value KEY\native\ | value KEY\native =
del_regvalue | key_path='KEY\native' name='RunOnce' | yes | value KEY\native\RunOnce | value KEY\native = RunOnce
// Detection takes a star at the end for one at the start.
del_regvalue | key_path='KEY\native' name='*run' | yes | ok | value KEY\native = *run
del_regvalue | key_path='KEY\native' name='run*' | no | value KEY\native\runonce | value KEY\native = run*
del_regvalue | key_path='KEY\native' rel_name='app_path' name='sub\..\f.txt' | yes | value KEY\native\DIR\f.txt | value KEY\native = DIR\f.txt
del_regvalue | key_path='KEY\only32' rel_name='' name='..\v' x32view='true' | no | value KEY\only32\..\v x32 | value KEY\only32 = ..\v x32
del_regvalue | key_path='HKLM\p\q' name='v' | no | E failed _ERROR_NOT_FOUND "v" from "HKLM\p\q" | value HKLM\p\q = v

disable_driver | id='d' | E no driver name | " | E name attributte is missing
disable_driver | name='PlugPlay' | yes | driver PlugPlay | disable PlugPlay
disable_service | name='prodrm-none' | no | driver prodrm-none | disable prodrm-none
disableandstop_service | id='d' | yes | ok | E name attributte is missing
disableandstop_driver | name='d' | yes | ok | stop d name=d op_code=disableandstop_driver
DISABLEANDSTOP_service | name='s' | yes | ok | stop s name=s op_code=DISABLEANDSTOP_service
KILL_process | target_name='a' | yes | ok | kill a
kill_process | name='a' | yes | ok | no
del_files | name='C:\' | E unknown op_code "del_files" | " | "

// Detection passes over tools, unless the name is written otherwise.
EXEC_tool | tool_name='C:\t' | yes | tool c:\t > | tool <"C:\t" >
exec_tool | tool_name='t' path='nowhere' | no | E unknown special folder "nowhere" | "
exec_tool | tool_name='..\T' path='app_path' cmd_line='-a %TEMP%' wait='YES' show_window='yes' | no | tool dir\..\t > -a%temp% | tool <"DIR\..\T" -a %TEMP%> wait show
exec_tool | tool_name='%PRODRM_TOOLS%\A b.EXE' cmd_line='/A&#9;B c' disable_wow64_redir='Yes' wait='1' | no | tool c:\tools\a b.exe > /a	bc | tool <"C:\Tools\A b.EXE" /A	B c> native
// What does not fit stays unexpanded; what is relative lies beside the library.
exec_tool | tool_name='%PRODRM_LONG%' path='' | no | tool own%prodrm_long% > | tool <"OWN%PRODRM_LONG%" >
exec_tool | path='windows_folder' cmd_line='a' | no | tool c:\windows > a | tool <"C:\windows" a>
64:exec_tool | tool_name='C:\t' os='x32' | no | tool c:\t > | N Will not execute x32 operation on x64 OS! AppPath=DIR
32:exec_tool | tool_name='C:\t' os='x64' | no | tool c:\t > | N Will not execute x64 operation on x32 OS! AppPath=DIR
64:exec_tool | tool_name='C:\t' os='x64' | no | tool c:\t > | tool <"C:\t" >
32:exec_tool | tool_name='C:\t' os='x32' | no | tool c:\t > | tool <"C:\t" >
exec_tool | module='M.dll' method_name='Do It' tool_name='t' os='x32' | no | tool ownm.dll > doit | method DIR method_name=Do It module=M.dll op_code=exec_tool os=x32 tool_name=t
exec_tool | module='' | no | E method_name attributte is missing | method DIR module= op_code=exec_tool
)";

// A cell of the table: `results`, and what the log holds of the handlers of `processor`.
std::wstring Cell(const RecordedLog& log, const std::wstring& processor, Lines results) {
    bool failed = false;
    const std::size_t told = results.size();
    for (const LogLine& line : log.Lines()) {
        const std::wstring handler = processor + L"::Process";
        const std::wstring name = line.function.starts_with(handler) ? line.function.substr(handler.size()) : L"";
        const bool isError = line.level == 4;
        if (name.starts_with(L"Del") || name.starts_with(L"Exec") || name.starts_with(L"Disable") ||
            (isError && line.function == L"CProductConfig::ExecOperation")) {
            results.push_back((isError ? L"E " : line.level == 16 ? L"I " : L"N ") + line.text);
        } else if (line.function == L"CProductConfig::ProcessSection") {
            failed = failed || line.text == L"ExecOperation failed";
        } else if (line.function == L"CRegKeyHelper::CheckKeySearch" && isError && told != 0) {
            results.push_back(L"unmatched");
        }
    }
    if (failed) {
        CHECK(told == 0);
    }
    return results.empty() ? (failed || processor == L"CProductInstalled" ? L"no" : L"ok") : Joined(results);
}

}  // namespace

TEST_CASE("what detection, the use scan and the removal make of each operation") {
    ::SetEnvironmentVariableW(L"PRODRM_TOOLS", L"C:\\Tools");
    ::SetEnvironmentVariableW(L"PRODRM_LONG", std::wstring(260, L'x').c_str());
    Machine machine;
    const std::wstring own = BesideTest(L"");
    const Nicknames results = {{L"OWN", own},
                               {L"own", LowerCase(own)},
                               {L"dir", LowerCase(machine.folder.Path())},
                               {L"SCAN",
                                L"key KEY\\native / key KEY\\native\\child / value KEY\\native\\ / value "
                                L"KEY\\native\\DIR\\f.txt / value KEY\\native\\child\\runonce / value "
                                L"KEY\\native\\runonce"}};
    for (Lines& row : Rows(kTable, 5)) {
        if (row[0].starts_with(UnderWow64() ? L"32:" : L"64:")) {
            continue;
        }
        const std::wstring script = machine.Script(
            L"<s minimum_score='1' op_code='" + row[0].substr(row[0].find(L':') + 1) + L"'><o " + row[1] + L"/></s>");
        Lines cells;
        const auto keep = [&](const wchar_t* processor, const Lines& found) {
            const std::wstring cell = results.Nick(machine.names.Nick(Cell(machine.log, processor, found)));
            cells.push_back(cell.substr(0, cell.find_last_not_of(L' ') + 1));
        };
        keep(L"CProductInstalled", machine.Judge(script) ? Lines{L"yes"} : Lines{});
        machine.log.Clear();
        keep(L"CProductCheckUse", ScanOf(script).Listed());
        Embed(script);
        machine.log.Clear();
        Removal removal;
        CHECK(removal.Process());
        keep(L"CProductUninstall", removal.Records());
        INFO(Utf8(row[0] + L" " + row[1]));
        for (std::size_t at = 0; at < 3; ++at) {
            CHECK(cells[at] == (row[at + 2] == L"\"" ? (row[at + 2] = row[at + 1]) : row[at + 2]));
        }
    }
    // A link that matches is looked at, and then it is gone; one that does not is passed over.
    for (const wchar_t* const target : {L"app_path", L"windows_folder"}) {
        const std::wstring links = L"rel_shortcut='app_path' path='links' target_name='app.exe' rel_target='";
        machine.Judge(machine.Script(Section(L"del_shortcut", links + target + L"' mandatory='yes'")));
        const ImportPatch gone(
            "_wstat64", +[](const wchar_t*, struct _stat64*) { return errno = ENOENT, -1; });
        CHECK(CProductInstalled(machine.folder.Path(L"script.xml")).Process() == (*target == L'w'));
    }
}

TEST_CASE("the scans of all listed versions, sorted and each entry once, and how the lists are asked") {
    const ComScope com;
    RecordedLog log;
    const Scan empty;  // by its own road no text reaches a scan
    CHECK(empty.Listed().empty());
    CHECK_FALSE(empty.HasTool(L"", L""));
    CHECK(log.Told(L"CProductCheckUse::CProductCheckUse") == L"E CProductConfig::Process failed");

    const auto version = [](const std::wstring& name, const Lines& elements) {
        std::wstring sections;
        for (const std::wstring& element : elements) {
            const std::size_t blank = element.find(L' ');
            sections += Section(element.substr(0, blank), element.substr(blank));
        }
        return L"<" + name + L"><win_nt>" + sections + L"</win_nt></" + name + L">";
    };
    Scan scan = ScanOf(Document(
        L"<a/><none/><b/>",
        version(L"a", {L"del_file name='C:\\Z'", L"del_file name='C:\\a'", L"del_folder name='C:\\n'",
                       L"disable_service name='S'", L"exec_tool tool_name='C:\\B.exe' cmd_line='/X Y'"}) +
            version(L"b", {L"del_file name='C:\\a'", L"disable_driver name='D'", L"disable_driver name='S'",
                           L"del_folder name='C:\\m'", L"exec_tool tool_name='c:\\b.EXE' cmd_line=' /xy '",
                           L"exec_tool tool_name='C:\\b.exe'", L"del_regvalue key_path='HKLM' name='v' x32view='1'",
                           L"del_regvalue key_path='HKLM\\SOFTWARE' name='v' x32view='1'",
                           L"del_regkey name='HKLM\\none'", L"del_regkey name='HKLM\\SOFTWARE\\prodrm-none'"})));
    CHECK(Joined(scan.Listed(), L", ") ==
          L"file C:\\Z, file C:\\a, folder C:\\m, folder C:\\n, key HKLM\\SOFTWARE\\prodrm-none, key HKLM\\none, "
          L"value HKEY_LOCAL_MACHINE\\SOFTWARE\\v x32, driver D, driver S, tool c:\\b.exe > , tool c:\\b.exe > /xy");
    CHECK(scan.HasRegValue(L"HKEY_LOCAL_MACHINE\\SOFTWARE\\", L"v", true));
    CHECK_FALSE(scan.HasRegValue(L"HKEY_LOCAL_MACHINE\\SOFTWARE", L"v", false));
    CHECK_FALSE(scan.HasRegValue(L"HKEY_LOCAL_MACHINE\\SOFTWARE", L"V", true));
    CHECK(scan.HasTool(L"C:\\B.exe", L" /X\tY ") == false);
    CHECK(scan.HasTool(L"C:\\B.exe", L" / XY "));

    const Lines listed = scan.Listed();
    const Scan moved(std::move(scan));
    CHECK(moved.Listed() == listed);
    CHECK(scan.Listed().empty());
    CHECK(moved.GetScriptName() + scan.GetScriptName() == L"staying.xmlstaying.xml");
}
