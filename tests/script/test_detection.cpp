// The judgement of a script: scores, mandatory elements, modes and documents.

#include <windows.h>

#include <doctest/doctest.h>

#include "script/machine.h"

namespace {

// What a judged script tells: the answer, then the lines of one function, shortened.
std::wstring Told(const Machine& machine, bool answer, const wchar_t* function) {
    const Nicknames shorter = {{L"minimum ", L"I Minimum Score \"del_file\" = "},
                               {L"score ", L"I Score \"del_file\" = "},
                               {L"invalid",
                                L"W Invalid value for attribute \"mandatory_sections\". Default value is "
                                L"\"any\". "},
                               {L" FILE", L" \"" + machine.folder.Path(L"script.xml") + L"\""},
                               {L"FILE", L"\"" + machine.folder.Path(L"script.xml") + L"\""}};
    Lines lines = machine.log.Of(L"CProductInstalled::" + std::wstring(function));
    lines.insert(lines.begin(), answer ? L"yes" : L"no");
    return shorter.Nick(Joined(lines));
}

}  // namespace

TEST_CASE("a section passes when the scores of what is there reach the minimum") {
    Machine machine;
    const Nicknames elements = {{L"HERE", L"<o path='app_path' name='f.txt'"}, {L"GONE", L"<o name='C:\\gone'"}};
    // Columns: attributes of the section, its elements, what is told.
    for (const Lines& row : Rows(LR"(
| | yes / minimum 0 / score 0
| GONE/> | yes / minimum 0 / score 0
minimum_score='2' | HERE/>GONE/>HERE/> | yes / minimum 2 / score 2
minimum_score='3' | HERE/>HERE/> | no / minimum 3 / score 2
minimum_score='-1' | HERE score='-1'/> | yes / minimum -1 / score -1
minimum_score='' | HERE score='-1'/> | no / minimum 0 / score -1
Minimum_score='5' | | yes / minimum 0 / score 0
minimum_score=' +2x' | HERE Score='2,9'/> | yes / minimum 2 / score 2
minimum_score='x' | HERE score=''/> | yes / minimum 0 / score 0
minimum_score='7' | HERE score='5' SCORE='7'/> | yes / minimum 7 / score 7
| HERE score='2147483647'/>HERE/> | no / minimum 0 / score -2147483648
| GONE z='' score='4' mandatory='YES'/>HERE/> | no / minimum 0 / E The mandatory failed / E 	"name" = "C:\gone" / E 	"op_code" = "del_file" / E 	"z" = ""
| GONE mandatory='true'/> | yes / minimum 0 / score 0
| GONE mandatory='yes' MANDATORY='no'/> | yes / minimum 0 / score 0
| HERE score='0' MANDATORY='yes'/> | yes / minimum 0 / score 0
// The score so far does not save a section from a node without attributes.
| HERE/><!--c-->HERE/> | no / minimum 0 / E failed get element attributes 0x1
| HERE/>text | no / minimum 0 / E failed get element attributes 0x1
)",
                                 3)) {
        INFO(Utf8(Joined(row)));
        const bool passes =
            machine.Judge(machine.Script(L"<s op_code='del_file' " + row[0] + L">" + elements.Real(row[1]) + L"</s>"));
        Lines told = Split(Replaced(Told(machine, passes, L"ProcessSection"), L" / ", L"|"), L'|');
        std::erase_if(told, [](const std::wstring& line) { return line.find(L"node \"") != std::wstring::npos; });
        CHECK(Joined(told) == row[2]);
        // The score itself does not reach the handlers.
        const std::wstring handed = machine.log.Told(L"CProductConfig::ExecOperation");
        CHECK(handed.find(L"core") == std::wstring::npos);
        CHECK(handed.find(L"andatory") == std::wstring::npos);
    }
}

TEST_CASE("a sleep is told by its text, and pauses for nothing only without a value") {
    Machine machine;
    for (const Lines& row : Rows(LR"(
<o value='60000' mandatory='yes'> Sleep </o> | | I ->node "o"
<o mandatory='yes'>sleep</o> | 0 | I ->node "o"
<!--sleep--> | 0 | I ->node "#comment"
<sleep/> | | I ->node "sleep" / I <-node "sleep"
<o><p>SLEEP</p></o> | 0 | I ->node "o"
)",
                                 3)) {
        std::wstring sleeps;
        PLAY(Sleep, [&](DWORD time) { sleeps += std::to_wstring(time); });
        const bool passes = machine.Judge(machine.Script(L"<s op_code='del_file'>" + row[0] + L"</s>"));
        CHECK(sleeps == row[1]);
        CHECK(Told(machine, passes, L"ProcessSection") == L"yes / minimum 0 / " + row[2] + L" / score 0");
    }
}

TEST_CASE("all asks for every section and stops at the first that fails, any judges them all") {
    Machine machine;
    const Nicknames sections = {{L"PASS", L"<s op_code='kill_process' minimum_score='1'><k/></s>"},
                                {L"FAIL", L"<s op_code='kill_process' minimum_score='1'/>"},
                                {L"SKIP", L"<s op_code='exec_tool' minimum_score='1'/>"}};
    // Columns: mode, sections, how many are judged, what is told.
    for (const Lines& row : Rows(LR"(
'all' | PASS SKIP PASS | 2 | yes
'all' | PASS FAIL PASS | 2 | no
'all' | SKIP | 0 | no
'all' | | 0 | no
'all' | <s op_code='EXEC_TOOL' minimum_score='1'><t/></s> | 1 | yes
'all' | <!--c-->PASS | 0 | no / E failed get attribute "op_code"
'any' | FAIL PASS FAIL | 3 | yes
'any' | FAIL FAIL | 2 | no
'any' | SKIP SKIP | 0 | no
'any' | <s minimum_score='-1'/>PASS | 1 | yes / E failed get attribute "op_code"
'ALL' | FAIL PASS | 2 | yes / invalid
'' | FAIL PASS | 2 | yes / invalid
 | PASS FAIL | 2 | yes / W failed to get attribute "mandatory_sections" / invalid
)",
                                 4)) {
        INFO(Utf8(Joined(row)));
        const std::wstring mode = row[0].empty() ? L"" : L"mandatory_sections=" + row[0];
        const bool installed = machine.Judge(machine.Script(sections.Real(row[1]), mode));
        CHECK(Told(machine, installed, L"ProcessNTVersion") == row[3]);
        int judged = 0;
        for (const std::wstring& line : machine.log.Of(L"CProductInstalled::ProcessSection")) {
            judged += line.starts_with(L"I Minimum Score");
        }
        CHECK(std::to_wstring(judged) == row[2]);
    }
}

TEST_CASE("the first version that counts ends the script, and no document means not installed") {
    Machine machine;
    const Nicknames parts = {{L"FAIL", L"<win_nt><s op_code='kill_process' minimum_score='1'/></win_nt>"},
                             {L"PASS", L"<win_nt><s op_code='kill_process' minimum_score='1'><k/></s></win_nt>"},
                             {L"ALL", L"<a>FAIL</a><b>PASS</b><c>PASS</c>"},
                             {L"ROOT", L"uninstall_information"},
                             {L"LIST", L"version_list"}};
    for (const Lines& row : Rows(LR"(
<ROOT><LIST><a/><x/><b/><c/></LIST>ALL</ROOT> | yes / I ->FILE / I ->ProcessVersion a / I <-ProcessVersion a, result = false / W the xml doesn't have <x> / I ->ProcessVersion b / I <-ProcessVersion b, result = true
<ROOT><LIST><a/><x/></LIST>ALL</ROOT> | no / I ->FILE / I ->ProcessVersion a / I <-ProcessVersion a, result = false / W the xml doesn't have <x>
<ROOT><LIST/>ALL</ROOT> | no / I ->FILE
<ROOT/> | no / I ->FILE
<other>ALL</other> | no / I ->FILE / E failed load "uninstall_information" node 0x1 / E failed FILE
<open> | no / I ->FILE / E load FILE failed 0x1
gone | no / I ->FILE / E load FILE failed 0x1
)",
                                 2)) {
        bool installed = machine.Judge(parts.Real(Replaced(row[0], L"ALL", parts[2].second)));
        if (row[0] == L"gone") {
            ::DeleteFileW(machine.folder.Path(L"script.xml").c_str());
            machine.log.Clear();
            installed = CProductInstalled(machine.folder.Path(L"script.xml")).Process();
        }
        CHECK(Told(machine, installed, L"Process") == row[1]);
    }
    CHECK_FALSE(machine.Judge(Document(L"<v/>", L"<v mandatory_sections='all'/>")));
    CHECK(machine.log.Told(L"CProductInstalled::ProcessNTVersion") == L"E can't load \"win_nt\" node 0x1");
}
