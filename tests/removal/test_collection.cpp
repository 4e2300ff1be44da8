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
    Lines records;
    Lines lines = {};  // of the handler, as "level text"
};

// Each row is a walk of its own; `handler` is the one of all rows.
void CheckRows(const std::wstring& handler, const std::vector<Row>& rows) {
    RecordedLog log;
    for (const Row& row : rows) {
        Removal removal;
        Embed(Script(Section(row.opCode, row.attributes)));
        log.Clear();
        CHECK(removal.Process());
        INFO(Utf8(row.attributes), "\n", Utf8(log.Dump()));
        CHECK(removal.Records() == row.records);
        CHECK(log.Of(L"CProductUninstall::" + handler) == row.lines);
    }
}

// Makes the file "kept.dll" in the product's folder for a scope.
class ProductFile {
public:
    ProductFile() {
        ::CreateDirectoryW(kFolder, nullptr);
        ::CloseHandle(::CreateFileW(kPath, GENERIC_WRITE, 0, nullptr, CREATE_ALWAYS, 0, nullptr));
        REQUIRE(FileExists(kPath));
    }
    ~ProductFile() { RemoveTree(kFolder); }

    static constexpr wchar_t kFolder[] = L"C:\\Program Files\\Product";
    static constexpr wchar_t kPath[] = L"C:\\Program Files\\Product\\kept.dll";
};

std::wstring ProgramFolder() {
    wchar_t program[MAX_PATH] = {};
    ::GetModuleFileNameW(nullptr, program, MAX_PATH);
    const std::wstring path = program;
    return path.substr(0, path.rfind(L'\\') + 1);
}

constexpr wchar_t kNoFolder[] = L"4 failed get path for \"nowhere\"";

}  // namespace

TEST_CASE("files, folders and shortcuts become paths") {
    CheckRows(L"ProcessDelFile",
              {
                  {L"del_file", L"path='app_path'", {}, {L"4 no name"}},
                  {L"del_file", L"name='x.dll' path='nowhere'", {}, {kNoFolder}},
                  {L"del_file", L"name='C:\\a\\..\\b.dll' path=''", {L"file C:\\b.dll"}},
                  {L"del_file", L"name='..\\b.dll' path='app_path'", {L"file C:\\Program Files\\b.dll"}},
                  // The mark counts with a folder only, and whole.
                  {L"del_file", L"name='#####x.dll'", {L"file #####x.dll"}},
                  {L"del_file", L"name='####x' path='app_path'", {L"file C:\\Program Files\\Product\\####x"}},
                  {L"del_file",
                   L"name='######x' path='app_path'",
                   {},
                   {L"16 ##### \"C:\\Program Files\\Product\\#x\" ERROR_NOT_FOUND"}},
              });
    CheckRows(L"ProcessDelFolder",
              {
                  {L"del_folder", L"other='x'", {}, {L"4 no name, no path"}},
                  {L"del_folder", L"path=''", {}, {L"4 no name, no path"}},
                  {L"del_folder", L"path='nowhere' name='x'", {}, {kNoFolder}},
                  {L"del_folder", L"path='' name='C:\\a\\.\\b'", {L"folder C:\\a\\b"}},
                  {L"del_folder", L"path='app_path'", {L"folder C:\\Program Files\\Product"}},
                  {L"del_folder", L"path='app_path' name='..\\x'", {L"folder C:\\Program Files\\x"}},
              });
    CheckRows(L"ProcessDelShortcut",
              {
                  {L"del_shortcut", L"target_name='a.exe'", {}, {L"4 no path"}},
                  {L"del_shortcut", L"path='C:\\l'", {}, {L"4 no target_name"}},
                  {L"del_shortcut", L"path='l' target_name='a' rel_shortcut='nowhere'", {}, {kNoFolder}},
                  // An empty folder of the target is a name like any other, one of the location is none.
                  {L"del_shortcut", L"path='l' target_name='a' rel_target=''", {}, {L"4 failed get path for \"\""}},
                  {L"del_shortcut",
                   L"path='C:\\a\\..\\l' target_name='a.exe' rel_shortcut=''",
                   {L"shortcut C:\\a\\..\\l > a.exe"}},
                  {L"del_shortcut",
                   L"path='l' target_name='..\\a.exe' rel_shortcut='app_path' rel_target='app_path'",
                   {L"shortcut C:\\Program Files\\Product\\l > C:\\Program Files\\Product\\..\\a.exe whole"}},
              });
}

TEST_CASE("registry elements, processes and services") {
    CheckRows(
        L"ProcessDelRegKey",
        {
            {L"del_regkey", L"x32view='1'", {}, {L"4 failed no name"}},
            {L"del_regkey", L"name='HKLM\\A' x32view='TRUE'", {L"key HKLM\\A x32"}},
            {L"del_regkey", L"name='HKLM\\A' x32view='yes' complete_str='yes'", {L"key HKLM\\A"}},
            {L"del_regkey", L"name='A' data_str='p;q;' complete_str='Yes'", {L"search A [p] [q] []"}},
            {L"del_regkey", L"name='A' data_str='' complete_str='yes' x32view='1'", {L"search A [] complete x32"}},
        });
    CheckRows(
        L"ProcessDelRegVal",
        {
            {L"del_regvalue", L"x32view='1'", {}, {L"4 no key value name", L"4 no key path"}},
            {L"del_regvalue", L"key_path='A'", {}, {L"4 no key value name"}},
            {L"del_regvalue", L"name='v'", {}, {L"4 no key path"}},
            {L"del_regvalue", L"name='v' key_path='A' x32view='true'", {L"value A = v x32"}},
            {L"del_regvalue", L"name='..\\v' key_path='A' rel_name=''", {L"value A = ..\\v"}},
            {L"del_regvalue", L"name='..\\v' key_path='A' rel_name='app_path'", {L"value A = C:\\Program Files\\v"}},
            {L"del_regvalue",
             L"name='v' key_path='A' rel_name='nowhere'",
             {},
             {L"4 unknow special folder \"nowhere\""}},
        });
    CheckRows(L"ProcessKillProcess",
              {{L"kill_process", L"name='a.exe'", {}}, {L"KILL_process", L"target_name='a.exe'", {L"kill a.exe"}}});
    CheckRows(L"ProcessDisableDriver", {{L"disable_driver", L"id='d'", {}, {L"4 name attributte is missing"}},
                                        {L"disable_driver", L"name='d'", {L"disable d"}},
                                        {L"disable_service", L"name='s'", {L"disable s"}}});
    CheckRows(L"ProcessDisableAndStopDriver",
              {{L"disableandstop_service", L"id='d'", {}, {L"4 name attributte is missing"}},
               {L"disableandstop_driver", L"name='d'", {L"stop d name=d op_code=disableandstop_driver"}},
               {L"disableandstop_service", L"name='s'", {L"stop s name=s op_code=disableandstop_service"}}});
}

TEST_CASE("tools are made ready to start, library methods are put off unread") {
    ::SetEnvironmentVariableW(L"PRODRM_TOOLS", L"C:\\tools");
    ::SetEnvironmentVariableW(L"PRODRM_LONG", std::wstring(260, L'x').c_str());
    const bool is64Bit = UnderWow64();
    const std::wstring refused =
        is64Bit ? L"32 Will not execute x32 operation on x64 OS! AppPath=C:\\Program Files\\Product"
                : L"32 Will not execute x64 operation on x32 OS! AppPath=C:\\Program Files\\Product";
    const wchar_t* const otherSystem = is64Bit ? L"tool_name='C:\\t' os='x32'" : L"tool_name='C:\\t' os='x64'";
    const wchar_t* const thisSystem = is64Bit ? L"tool_name='C:\\t' os='x64'" : L"tool_name='C:\\t' os='x32'";
    CheckRows(L"ProcessExecTool",
              {
                  {L"exec_tool", otherSystem, {}, {refused}},
                  {L"exec_tool", thisSystem, {L"tool \"C:\\t\" "}},
                  {L"exec_tool", L"tool_name='C:\\t' os='X32'", {L"tool \"C:\\t\" "}},
                  {L"exec_tool", L"tool_name='t' path='nowhere'", {}, {L"4 unknown special folder \"nowhere\""}},
                  {L"exec_tool",
                   L"tool_name='..\\t' path='app_path' cmd_line='-a %TEMP%' wait='YES' show_window='yes'",
                   {L"tool \"C:\\Program Files\\Product\\..\\t\" -a %TEMP% wait show"}},
                  {L"exec_tool",
                   L"tool_name='%PRODRM_TOOLS%\\t' disable_wow64_redir='Yes' wait='1'",
                   {L"tool \"C:\\tools\\t\"  native"}},
                  // What does not fit stays unexpanded.
                  {L"exec_tool", L"tool_name='%PRODRM_LONG%'", {L"tool \"" + ProgramFolder() + L"%PRODRM_LONG%\" "}},
                  {L"exec_tool", L"tool_name='t' path=''", {L"tool \"" + ProgramFolder() + L"t\" "}},
                  {L"exec_tool", L"path='app_path'", {L"tool \"C:\\Program Files\\Product\" "}},
                  {L"exec_tool",
                   L"module='m.dll' path='nowhere' os='x32' restart_required='yes'",
                   {L"method C:\\Program Files\\Product module=m.dll op_code=exec_tool os=x32 path=nowhere "
                    L"restart_required=yes"}},
              });
}

TEST_CASE("marked files go straight to the restart, unless they are missing or in use") {
    const ProductFile file;
    const std::wstring script = Script(Section(L"del_file", L"path='app_path' name='#####kept.dll'"));
    {
        Removal removal;
        CHECK(Remove(removal, script));
        CHECK(removal.Records() == Lines{std::wstring(L"restart ") + ProductFile::kPath});
        CHECK(removal.RestartRequired());
        CHECK(Notifications::events == Lines{L"13/0 Product", L"14/0", L"1/0"});
        CHECK(FileExists(ProductFile::kPath));
    }
    RecordedLog log;
    std::vector<CProductCheckUse> usedBy;
    Staying staying(L"staying.xml");
    staying.usedFiles = {ProductFile::kPath};
    usedBy.emplace_back(std::move(staying));
    Removal removal(&usedBy);
    CHECK(Remove(removal, script));
    CHECK(removal.Records().empty());
    CHECK_FALSE(removal.RestartRequired());
    CHECK(log.Of(L"CProductUninstall::ProcessDelFile") == Lines{L"16 in use"});
}

TEST_CASE("every value of restart_required but yes asks for a restart, once") {
    struct {
        const wchar_t* attributes;
        bool restart;
        Lines lines;
    } const rows[] = {
        {L"name='a'", false, {}},
        {L"name='a' restart_required='YES'", false, {}},
        {L"name='a' restart_required='no'", true, {L"16 RESTART REQUIRED"}},
        {L"restart_required=''", true, {L"16 RESTART REQUIRED"}},  // the element itself fails
    };
    RecordedLog log;
    for (const auto& row : rows) {
        INFO(Utf8(row.attributes));
        log.Clear();
        Removal removal;
        const std::wstring section = Section(L"disable_service", row.attributes);
        CHECK(Remove(removal, Script(section + section)));
        CHECK(removal.RestartRequired() == row.restart);
        CHECK(log.Of(L"CProductUninstall::ExecOperation") == row.lines);
    }
}
