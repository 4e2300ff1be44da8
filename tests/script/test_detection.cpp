// The judgement of a script: scores, mandatory elements, modes, documents, and what each operation takes for a sign.

#include <windows.h>
#include <shlobj.h>
#include <sys/stat.h>

#include <doctest/doctest.h>

#include <algorithm>
#include <cerrno>
#include <climits>

#include "foundation/com.h"
#include "script/CProductInstalled.h"
#include "support/com_scope.h"
#include "support/import_patch.h"
#include "support/recorded_log.h"
#include "support/registry_sandbox.h"
#include "support/script_builder.h"
#include "support/temp_folder.h"

namespace {

// Sections that pass, fail, and are left out.
const std::wstring kPass = L"<s op_code='kill_process' minimum_score='1'><k/></s>";
const std::wstring kFail = L"<s op_code='kill_process' minimum_score='1'/>";
const std::wstring kTool = L"<s op_code='exec_tool' minimum_score='1'/>";

// Judges scripts on a machine with a file, a folder, links and registry entries, which are where "app_path" and KEY
// point to.
class Machine {
public:
    Machine() {
        m_folder.WriteFile(L"f.txt");
        m_folder.MakeFolder(L"sub");
        MakeLink(L"app.lnk", m_folder.Path(L"app.exe"));
        m_sandbox.SetString(L"", L"Folder", m_folder.Path(), Native());
        m_sandbox.SetString(L"native\\child", L"runonce", L"match", Native());
        m_sandbox.SetString(L"native", L"runonce", L"match", Native());
        m_sandbox.SetString(L"native", L"", L"", Native());
        m_sandbox.SetString(L"native", m_folder.Path(L"f.txt"), L"", Native());
        m_sandbox.MakeKey(L"only32", View::Bits32);
    }

    bool Judge(const std::wstring& document) {
        file = m_folder.WriteFile(L"script.xml", Utf8(Replaced(document, L"KEY", m_sandbox.Path())));
        log.Clear();
        return CProductInstalled(file).Process();
    }
    bool JudgeVersion(const std::wstring& attributes, const std::wstring& sections) {
        return Judge(Document(L"<v/>", L"<v " + attributes + L"><app_path key='KEY' name='Folder'/><win_nt>" +
                                           sections + L"</win_nt></v>"));
    }

    std::wstring file;
    RecordedLog log;

private:
    static View Native() { return UnderWow64() ? View::Bits64 : View::Default; }

    void MakeLink(const std::wstring& name, const std::wstring& target) const {
        ComPtr<IShellLinkW> link;
        ComPtr<IPersistFile> stored;
        REQUIRE(::CoCreateInstance(CLSID_ShellLink, nullptr, CLSCTX_INPROC_SERVER, IID_IShellLinkW,
                                   reinterpret_cast<void**>(link.Put())) == S_OK);
        REQUIRE(SUCCEEDED(link->SetPath(target.c_str())));
        REQUIRE(link.As(IID_IPersistFile, stored) == S_OK);
        REQUIRE(stored->Save((m_folder.MakeFolder(L"links") + L'\\' + name).c_str(), TRUE) == S_OK);
    }

    ComScope m_com;
    TempFolder m_folder;
    RegistrySandbox m_sandbox;
};

std::vector<DWORD> g_sleeps;
void WINAPI RecordSleep(DWORD milliseconds) {
    g_sleeps.push_back(milliseconds);
}

int RefuseStatus(const wchar_t*, struct _stat64*) {
    errno = ENOENT;
    return -1;
}

}  // namespace

TEST_CASE("a section passes when the scores of what is there reach the minimum") {
    // What follows the line of the minimum, without the lines of the nodes.
    const auto score = [](int value) { return Lines{L"16 Score \"del_file\" = " + std::to_wstring(value)}; };
    const Lines mandatoryFailed = {L"4 The mandatory failed", L"4 \t\"name\" = \"C:\\gone\"",
                                   L"4 \t\"op_code\" = \"del_file\"", L"4 \t\"z\" = \"\""};
    const Lines noMap = {L"4 failed get element attributes 0x1"};
    const std::wstring here = L"<o path='app_path' name='f.txt' ";
    const std::wstring gone = L"<o name='C:\\gone' ";
    const struct {
        const wchar_t* attributes;
        int minimum;
        std::wstring elements;
        bool passes;
        Lines lines;
    } rows[] = {
        {L"", 0, L"", true, score(0)},
        {L"", 0, gone + L"/>", true, score(0)},
        {L"minimum_score='2'", 2, here + L"/>" + gone + L"/>" + here + L"/>", true, score(2)},
        {L"minimum_score='3'", 3, here + L"/>" + here + L"/>", false, score(2)},
        {L"minimum_score='-1'", -1, here + L"score='-1'/>", true, score(-1)},
        {L"minimum_score=''", 0, here + L"score='-1'/>", false, score(-1)},
        {L"Minimum_score='5'", 0, L"", true, score(0)},
        {L"minimum_score=' +2x'", 2, here + L"Score='2,9'/>", true, score(2)},
        {L"minimum_score='x'", 0, here + L"score=''/>", true, score(0)},
        {L"minimum_score='7'", 7, here + L"score='5' SCORE='7'/>", true, score(7)},
        {L"", 0, here + L"score='2147483647'/>" + here + L"/>", false, score(INT_MIN)},
        {L"", 0, gone + L"z='' score='4' mandatory='YES'/>" + here + L"/>", false, mandatoryFailed},
        {L"", 0, gone + L"mandatory='true'/>", true, score(0)},
        {L"", 0, gone + L"mandatory='yes' MANDATORY='no'/>", true, score(0)},
        {L"", 0, here + L"score='0' MANDATORY='yes'/>", true, score(0)},
        // The score so far does not save a section from a node without attributes.
        {L"", 0, here + L"/><!--c-->" + here + L"/>", false, noMap},
        {L"", 0, here + L"/>text", false, noMap},
    };
    Machine machine;
    for (const auto& row : rows) {
        INFO(Utf8(row.attributes + row.elements));
        const std::wstring section = L"<s op_code='del_file' " + std::wstring(row.attributes) + L">" + row.elements;
        CHECK(machine.JudgeVersion(L"", section + L"</s>") == row.passes);
        Lines lines = machine.log.Of(L"CProductInstalled::ProcessSection");
        REQUIRE(!lines.empty());
        CHECK(lines[0] == L"16 Minimum Score \"del_file\" = " + std::to_wstring(row.minimum));
        std::erase_if(lines, [](const std::wstring& line) {
            return line.starts_with(L"16 ->") || line.starts_with(L"16 <-") || line.starts_with(L"16 Minimum");
        });
        CHECK(lines == row.lines);
        // The score itself does not reach the handlers.
        for (const std::wstring& line : machine.log.Of(L"CProductConfig::ExecOperation")) {
            CHECK(line.find(L"core") == std::wstring::npos);
            CHECK(line.find(L"andatory") == std::wstring::npos);
        }
    }
}

TEST_CASE("a sleep is told by its text, and pauses for nothing only without a value") {
    const struct {
        const wchar_t* element;
        std::vector<DWORD> sleeps;
        Lines lines;
    } rows[] = {
        {L"<o value='60000' mandatory='yes'> Sleep </o>", {}, {L"16 ->node \"o\""}},
        {L"<o mandatory='yes'>sleep</o>", {0}, {L"16 ->node \"o\""}},
        {L"<!--sleep-->", {0}, {L"16 ->node \"#comment\""}},
        {L"<sleep/>", {}, {L"16 ->node \"sleep\"", L"16 <-node \"sleep\""}},
        {L"<o><p>SLEEP</p></o>", {0}, {L"16 ->node \"o\""}},
    };
    Machine machine;
    for (const auto& row : rows) {
        INFO(Utf8(row.element));
        g_sleeps.clear();
        const ImportPatch sleep("Sleep", &RecordSleep);
        CHECK(machine.JudgeVersion(L"", L"<s op_code='del_file'>" + std::wstring(row.element) + L"</s>"));
        CHECK(g_sleeps == row.sleeps);
        Lines lines = {L"16 Minimum Score \"del_file\" = 0"};
        lines.insert(lines.end(), row.lines.begin(), row.lines.end());
        lines.push_back(L"16 Score \"del_file\" = 0");
        CHECK(machine.log.Of(L"CProductInstalled::ProcessSection") == lines);
    }
}

TEST_CASE("all asks for every section and stops at the first that fails, any judges them all") {
    const Lines invalid = {L"8 Invalid value for attribute \"mandatory_sections\". Default value is \"any\". "};
    const Lines none = {L"8 failed to get attribute \"mandatory_sections\"", invalid[0]};
    const std::wstring noCode = L"4 failed get attribute \"op_code\"";
    const std::wstring all = L"mandatory_sections='all'";
    const std::wstring any = L"mandatory_sections='any'";
    const struct {
        std::wstring mode;
        std::wstring sections;
        bool installed;
        int judged;
        Lines lines;
    } rows[] = {
        {all, kPass + kTool + kPass, true, 2, {}},
        {all, kPass + kFail + kPass, false, 2, {}},
        {all, kTool, false, 0, {}},
        {all, L"", false, 0, {}},
        {all, L"<s op_code='EXEC_TOOL' minimum_score='1'><t/></s>", true, 1, {}},
        {all, L"<!--c-->" + kPass, false, 0, {noCode}},
        {any, kFail + kPass + kFail, true, 3, {}},
        {any, kFail + kFail, false, 2, {}},
        {any, kTool + kTool, false, 0, {}},
        {any, L"<s minimum_score='-1'/>" + kPass, true, 1, {noCode}},
        {L"mandatory_sections='ALL'", kFail + kPass, true, 2, invalid},
        {L"mandatory_sections=''", kFail + kPass, true, 2, invalid},
        {L"", kPass + kFail, true, 2, none},
    };
    Machine machine;
    for (const auto& row : rows) {
        INFO(Utf8(row.mode + row.sections));
        CHECK(machine.JudgeVersion(row.mode, row.sections) == row.installed);
        CHECK(machine.log.Of(L"CProductInstalled::ProcessNTVersion") == row.lines);
        int judged = 0;
        for (const std::wstring& line : machine.log.Of(L"CProductInstalled::ProcessSection")) {
            judged += line.starts_with(L"16 Minimum Score");
        }
        CHECK(judged == row.judged);
    }
    CHECK_FALSE(machine.Judge(Document(L"<v/>", L"<v mandatory_sections='all'/>")));
    CHECK(machine.log.Of(L"CProductInstalled::ProcessNTVersion") == Lines{L"4 can't load \"win_nt\" node 0x1"});
}

TEST_CASE("the first version that counts ends the script, and no document means not installed") {
    const auto version = [](const wchar_t* name, const std::wstring& section) {
        return L"<" + std::wstring(name) + L"><win_nt>" + section + L"</win_nt></" + name + L">";
    };
    const std::wstring versions = version(L"a", kFail) + version(L"b", kPass) + version(L"c", kPass);
    const Lines failed = {L"16 ->ProcessVersion a", L"16 <-ProcessVersion a, result = false"};
    const Lines found = {L"16 ->ProcessVersion b", L"16 <-ProcessVersion b, result = true"};
    const std::wstring noRoot = L"4 failed load \"uninstall_information\" node 0x1";
    const struct {
        std::wstring document;
        bool installed;
        Lines lines;  // "4 failed "%s"" without the name
    } rows[] = {
        {Document(L"<a/><x/><b/><c/>", versions),
         true,
         {failed[0], failed[1], L"8 the xml doesn't have <x>", found[0], found[1]}},
        {Document(L"<a/><x/>", versions), false, {failed[0], failed[1], L"8 the xml doesn't have <x>"}},
        {Document(L"", versions), false, {}},
        {L"<uninstall_information/>", false, {}},
        {L"<other>" + versions + L"</other>", false, {noRoot, L"4 failed"}},
        {L"<open>", false, {L"4 load"}},
        {L"", false, {L"4 load"}},
    };
    Machine machine;
    const auto told = [&machine] {
        Lines lines = machine.log.Of(L"CProductInstalled::Process");
        REQUIRE(!lines.empty());
        CHECK(lines[0] == L"16 ->\"" + machine.file + L"\"");
        lines.erase(lines.begin());
        for (std::wstring& line : lines) {
            const std::size_t at = line.find(L" \"" + machine.file + L"\"");
            line.erase(at != std::wstring::npos ? at : line.size());
        }
        return lines;
    };
    for (const auto& row : rows) {
        INFO(Utf8(row.document));
        CHECK(machine.Judge(row.document) == row.installed);
        CHECK(told() == row.lines);
    }
    CHECK(::DeleteFileW(machine.file.c_str()));
    machine.log.Clear();
    CHECK_FALSE(CProductInstalled(machine.file).Process());
    CHECK(told() == Lines{L"4 load"});
}

TEST_CASE("what each operation takes for a sign") {
    const std::wstring noFolder = L"4 failed get path for \"nowhere\"";
    const struct {
        const wchar_t* opCode;
        const wchar_t* attributes;
        bool found;
        const wchar_t* handler = L"ProcessDelFile";
        Lines lines{};
    } rows[] = {
        {L"del_file", L"path='app_path' name='sub\\..\\#f.txt'", false},
        {L"del_file", L"path='app_path' name='sub\\..\\f.txt'", true},
        {L"del_file", L"path='app_path' name='#####f.txt'", true},
        {L"del_file", L"path='' name=''", false, L"ProcessDelFile", {L"4 no name"}},
        {L"del_file", L"path='nowhere' name='f.txt'", false, L"ProcessDelFile", {noFolder}},
        {L"del_folder", L"path='app_path'", true},
        {L"del_folder", L"path='app_path' name='sub\\.'", true},
        {L"del_folder", L"path='app_path' name='f.txt'", false},
        {L"del_folder", L"path=''", false, L"ProcessDelFolder", {L"4 no name, no path"}},
        {L"del_folder", L"path='nowhere'", false, L"ProcessDelFolder", {noFolder}},
        {L"del_shortcut", L"rel_shortcut='app_path' path='links' target_name='APP.exe'", true},
        {L"del_shortcut", L"target_name='a'", false, L"ProcessDelShortcut", {L"4 no path"}},
        {L"del_shortcut", L"rel_shortcut='app_path' path='links'", false, L"ProcessDelShortcut", {L"4 no target_name"}},
        {L"del_shortcut",
         L"rel_shortcut='app_path' path='links' rel_target='' target_name='app.exe'",
         false,
         L"ProcessDelShortcut",
         {L"4 failed get path for \"\""}},
        {L"del_regkey", L"name='KEY\\native'", true},
        {L"del_regkey", L"name='KEY\\only32' x32view='TRUE'", true},
        {L"del_regkey", L"x32view='1'", false, L"ProcessDelRegKey", {L"4 failed no name"}},
        {L"del_regkey", L"name='KEY\\none' data_str='match;'", false},
        {L"del_regvalue", L"key_path='KEY\\native' name=''", true},
        {L"del_regvalue", L"key_path='KEY\\native' name='RunOnce'", true},
        {L"del_regvalue", L"key_path='KEY\\native' name='*run'", true},  // stands at the start
        {L"del_regvalue", L"key_path='KEY\\native' name='run*'", false},
        {L"del_regvalue", L"key_path='KEY\\native' rel_name='app_path' name='sub\\..\\f.txt'", true},
        {L"del_regvalue", L"x32view='1'", false, L"ProcessDelRegVal", {L"4 no key value name", L"4 no key path"}},
        {L"del_regvalue", L"name='a'", false, L"ProcessDelRegVal", {L"4 no key path"}},
        {L"del_regvalue",
         L"key_path='KEY\\native' rel_name='nowhere' name='a'",
         false,
         L"ProcessDelRegVal",
         {L"4 unknow special folder \"nowhere\""}},
        {L"disable_driver", L"name='PlugPlay'", true},
        {L"disable_service", L"name='prodrm-no-service'", false},
        {L"disable_service", L"id='PlugPlay'", false, L"ProcessDisableDriver", {L"4 no driver name"}},
        {L"kill_process", L"", true},
        {L"disableandstop_driver", L"", true},
        {L"DISABLEANDSTOP_service", L"", true},
        {L"del_files", L"name='C:\\'", false},
    };
    Machine machine;
    for (const auto& row : rows) {
        INFO(Utf8(row.opCode), " ", Utf8(row.attributes));
        const std::wstring section = Section(row.opCode, std::wstring(row.attributes) + L" mandatory='yes'");
        CHECK(machine.JudgeVersion(L"", section) == row.found);
        CHECK(machine.log.Of(L"CProductInstalled::" + std::wstring(row.handler)) == row.lines);
    }
    const bool otherView = machine.JudgeVersion(L"", Section(L"del_regkey", L"name='KEY\\only32' mandatory='yes'"));
    CHECK(otherView == !UnderWow64());
}

TEST_CASE("a link's target is compared whole with rel_target, and of data_str only ended pieces are searched for") {
    Machine machine;
    const auto found = [&machine](const std::wstring& opCode, const std::wstring& attributes) {
        return machine.JudgeVersion(L"", Section(opCode, attributes + L" mandatory='yes'"));
    };
    {
        // A link that matches is looked at, and then it is gone; one that does not is passed over.
        const ImportPatch gone("_wstat64", &RefuseStatus);
        const std::wstring links = L"rel_shortcut='app_path' path='links' target_name='app.exe' ";
        CHECK_FALSE(found(L"del_shortcut", links + L"rel_target='app_path'"));
        CHECK(found(L"del_shortcut", links + L"rel_target='windows_folder'"));
    }
    const struct {
        const wchar_t* attributes;
        bool matched;
    } rows[] = {
        {L"data_str='atc;none'", true},
        {L"data_str='none;match'", false},
        {L"data_str='atc;' complete_str='yes'", false},
        {L"data_str='atc;' complete_str='YES'", true},
    };
    for (const auto& row : rows) {
        CHECK(found(L"del_regkey", L"name='KEY\\native' " + std::wstring(row.attributes)));
        // A match ends the search before it comes to the subkey, which it would look for in the wrong place.
        const Lines lines = machine.log.Of(L"CRegKeyHelper::CheckKeySearch");
        CHECK(std::any_of(lines.begin(), lines.end(), [](const std::wstring& line) {
                  return line.starts_with(L"4 RegOpenKeyEx");
              }) == !row.matched);
    }
}
