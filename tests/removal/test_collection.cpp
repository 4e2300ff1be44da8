// What the walk makes of each operation element: records, and the lines of the handler.

#include <windows.h>

#include <doctest/doctest.h>

#include "removal/removal.h"
#include "support/recorded_log.h"
#include "support/registry_sandbox.h"
#include "support/temp_folder.h"

namespace {

struct Row {
    const wchar_t* opCode;
    const wchar_t* attributes;
    std::wstring record;     // empty where none comes of it
    std::wstring line = {};  // the handler's only one, as "level text"
};

void CheckRows(const std::wstring& handler, const std::vector<Row>& rows) {
    RecordedLog log;
    for (const Row& row : rows) {
        Removal removal;
        Embed(Script(Section(row.opCode, row.attributes)));
        log.Clear();
        CHECK(removal.Process());
        INFO(Utf8(row.attributes), "\n", Utf8(log.Dump()));
        CHECK(removal.Records() == (row.record.empty() ? Lines{} : Lines{row.record}));
        CHECK(log.Of(L"CProductUninstall::" + handler) == (row.line.empty() ? Lines{} : Lines{row.line}));
    }
}

constexpr wchar_t kMarkedFolder[] = L"C:\\Program Files\\P";
constexpr wchar_t kMarkedFile[] = L"C:\\Program Files\\P\\m.dll";

}  // namespace

TEST_CASE("files, folders and shortcuts become paths") {
    const std::wstring noFolder = L"4 failed get path for \"nowhere\"";
    CheckRows(L"ProcessDelFile",
              {
                  {L"del_file", L"path='app_path'", L"", L"4 no name"},
                  {L"del_file", L"name='x.dll' path='nowhere'", L"", noFolder},
                  {L"del_file", L"name='C:\\a\\..\\b.dll' path=''", L"file C:\\b.dll"},
                  {L"del_file", L"name='..\\b.dll' path='app_path'", L"file C:\\Program Files\\b.dll"},
                  // The mark counts with a folder only, and whole.
                  {L"del_file", L"name='#####x.dll'", L"file #####x.dll"},
                  {L"del_file", L"name='####x' path='app_path'", L"file C:\\Program Files\\P\\####x"},
                  {L"del_file", L"name='######x' path='app_path'", L"",
                   L"16 ##### \"C:\\Program Files\\P\\#x\" ERROR_NOT_FOUND"},
              });
    CheckRows(L"ProcessDelFolder", {
                                       {L"del_folder", L"path=''", L"", L"4 no name, no path"},
                                       {L"del_folder", L"path='' name='C:\\a\\.\\b'", L"folder C:\\a\\b"},
                                       {L"del_folder", L"path='app_path'", L"folder C:\\Program Files\\P"},
                                       {L"del_folder", L"path='app_path' name='..\\x'", L"folder C:\\Program Files\\x"},
                                   });
    CheckRows(
        L"ProcessDelShortcut",
        {
            {L"del_shortcut", L"target_name='a'", L"", L"4 no path"},
            {L"del_shortcut", L"path='C:\\l'", L"", L"4 no target_name"},
            // An empty folder of the target is a name like any other, one of the location is none.
            {L"del_shortcut", L"path='l' target_name='a' rel_target=''", L"", L"4 failed get path for \"\""},
            {L"del_shortcut", L"path='C:\\a\\..\\l' target_name='a' rel_shortcut=''", L"shortcut C:\\a\\..\\l > a"},
            {L"del_shortcut", L"path='l' target_name='..\\a' rel_shortcut='app_path' rel_target='app_path'",
             L"shortcut C:\\Program Files\\P\\l > C:\\Program Files\\P\\..\\a whole"},
        });
}

TEST_CASE("registry elements, processes and services") {
    CheckRows(L"ProcessDelRegKey",
              {
                  {L"del_regkey", L"x32view='1'", L"", L"4 failed no name"},
                  {L"del_regkey", L"name='A' x32view='TRUE'", L"key A x32"},
                  {L"del_regkey", L"name='A' x32view='yes' complete_str='yes'", L"key A"},
                  {L"del_regkey", L"name='A' data_str='p;q;' complete_str='Yes'", L"search A [p] [q] []"},
                  {L"del_regkey", L"name='A' data_str='' complete_str='yes' x32view='1'", L"search A [] complete x32"},
              });
    CheckRows(
        L"ProcessDelRegVal",
        {
            {L"del_regvalue", L"key_path='A'", L"", L"4 no key value name"},
            {L"del_regvalue", L"name='v' key_path='A' rel_name='nowhere'", L"", L"4 unknow special folder \"nowhere\""},
            {L"del_regvalue", L"name='..\\v' key_path='A' rel_name='' x32view='true'", L"value A = ..\\v x32"},
            {L"del_regvalue", L"name='..\\v' key_path='A' rel_name='app_path'", L"value A = C:\\Program Files\\v"},
        });
    CheckRows(L"ProcessKillProcess", {
                                         {L"KILL_process", L"target_name='a'", L"kill a"},
                                     });
    const std::wstring noName = L"4 name attributte is missing";
    CheckRows(L"ProcessDisableDriver", {
                                           {L"disable_driver", L"id='d'", L"", noName},
                                           {L"disable_driver", L"name='d'", L"disable d"},
                                           {L"disable_service", L"name='s'", L"disable s"},
                                       });
    CheckRows(L"ProcessDisableAndStopDriver",
              {
                  {L"disableandstop_service", L"id='d'", L"", noName},
                  {L"disableandstop_driver", L"name='d'", L"stop d name=d op_code=disableandstop_driver"},
                  {L"disableandstop_service", L"name='s'", L"stop s name=s op_code=disableandstop_service"},
              });
    RecordedLog log;
    Removal removal;
    Remove(removal, Script(Section(L"del_regvalue", L"x32view='1'")));
    CHECK(log.Of(L"CProductUninstall::ProcessDelRegVal") == Lines{L"4 no key value name", L"4 no key path"});
}

TEST_CASE("tools are made ready to start, library methods are put off unread") {
    ::SetEnvironmentVariableW(L"PRODRM_TOOLS", L"C:\\tools");
    ::SetEnvironmentVariableW(L"PRODRM_LONG", std::wstring(260, L'x').c_str());
    wchar_t program[MAX_PATH] = {};
    ::GetModuleFileNameW(nullptr, program, MAX_PATH);
    const std::wstring own = program;
    const std::wstring ownTool = L"tool \"" + own.substr(0, own.rfind(L'\\') + 1);
    CheckRows(
        L"ProcessExecTool",
        {
            {L"exec_tool", UnderWow64() ? L"tool_name='C:\\t' os='x32'" : L"tool_name='C:\\t' os='x64'", L"",
             OtherSystemLine()},
            {L"exec_tool", UnderWow64() ? L"tool_name='C:\\t' os='x64'" : L"tool_name='C:\\t' os='x32'",
             L"tool \"C:\\t\" "},
            {L"exec_tool", L"tool_name='t' path='nowhere'", L"", L"4 unknown special folder \"nowhere\""},
            {L"exec_tool", L"tool_name='..\\t' path='app_path' cmd_line='-a %TEMP%' wait='YES' show_window='yes'",
             L"tool \"C:\\Program Files\\P\\..\\t\" -a %TEMP% wait show"},
            {L"exec_tool", L"tool_name='%PRODRM_TOOLS%\\t' disable_wow64_redir='Yes' wait='1'",
             L"tool \"C:\\tools\\t\"  native"},
            // What does not fit stays unexpanded; what is relative lies beside the library.
            {L"exec_tool", L"tool_name='%PRODRM_LONG%' path=''", ownTool + L"%PRODRM_LONG%\" "},
            {L"exec_tool", L"module='m.dll' path='nowhere' os='x32' restart_required='yes'",
             L"method C:\\Program Files\\P module=m.dll op_code=exec_tool os=x32 path=nowhere restart_required=yes"},
        });
}

TEST_CASE("marked files go straight to the restart, unless they are in use") {
    ::CreateDirectoryW(kMarkedFolder, nullptr);
    ::CloseHandle(::CreateFileW(kMarkedFile, GENERIC_WRITE, 0, nullptr, CREATE_ALWAYS, 0, nullptr));
    for (const bool used : {false, true}) {
        std::vector<CProductCheckUse> usedBy;
        Staying staying(L"staying.xml");
        staying.usedFiles = {used ? kMarkedFile : L"C:\\other"};
        usedBy.emplace_back(std::move(staying));
        RecordedLog log;
        Removal removal(&usedBy);
        CHECK(Remove(removal, Script(Section(L"del_file", L"path='app_path' name='#####m.dll'"))));
        CHECK(removal.Records() == (used ? Lines{} : Lines{std::wstring(L"restart ") + kMarkedFile}));
        CHECK(log.Of(L"CProductUninstall::ProcessDelFile") == (used ? Lines{L"16 in use"} : Lines{}));
        CHECK(removal.RestartRequired() == !used);
        CHECK(Notifications::events == Lines{L"13/0 Product", L"14/0", L"1/0"});
        CHECK(FileExists(kMarkedFile));
    }
    RemoveTree(kMarkedFolder);
}

TEST_CASE("every value of restart_required but yes asks for a restart, once") {
    struct {
        const wchar_t* attributes;
        bool restart;
    } const rows[] = {
        {L"name='a'", false},
        {L"name='a' restart_required='YES'", false},
        {L"name='a' restart_required='no'", true},
        {L"restart_required=''", true},  // the element itself fails
    };
    RecordedLog log;
    for (const auto& row : rows) {
        INFO(Utf8(row.attributes));
        log.Clear();
        Removal removal;
        const std::wstring section = Section(L"disable_service", row.attributes);
        CHECK(Remove(removal, Script(section + section)));
        CHECK(removal.RestartRequired() == row.restart);
        CHECK(log.Of(L"CProductUninstall::ExecOperation") == (row.restart ? Lines{L"16 RESTART REQUIRED"} : Lines{}));
    }
}
