// The rules of lint by the examples of docs/lint.md, and the documents of the project, which raise none.

#include <windows.h>
#include <doctest/doctest.h>

#include <set>
#include <string>

#include "author/lint/lint.h"
#include "author/lint/print.h"
#include "common/json.h"
#include "common/utf8.h"
#include "foundation/CSpecialFolder.h"
#include "script/CProductConfig.h"
#include "support/com_scope.h"
#include "support/programs.h"
#include "support/temp_folder.h"

using namespace tools;

namespace {

// The codes of all findings, each once.
std::string CodesIn(const std::vector<std::wstring>& paths) {
    lint::Report report;
    lint::CheckPaths(paths, report);
    std::set<std::string> met;
    std::string codes;
    for (const lint::Finding& finding : report.Findings()) {
        const std::string code = ToUtf8(finding.rule->code);
        codes += met.insert(code).second ? (codes.empty() ? "" : " ") + code : "";
        INFO(ToUtf8(lint::AsLine(finding)));
        CHECK(finding.sentence.find(L"{0}") == std::wstring::npos);
    }
    return codes;
}

std::string AsScript(const std::string& sections) {
    return "<uninstall_information><version_list><v1/></version_list><v1><install_folder "
           "name=\"Birkenfeld\"/><win_nt>" +
           sections + "</win_nt></v1></uninstall_information>";
}

// What the check of an example gives, which is written out as its form says.
std::string CodesOfExample(const std::string& form, const std::string& text) {
    const TempFolder folder;
    if (form == "folder") {
        const std::string heading = "<!-- file: ";
        for (std::size_t at = 0; (at = text.find(heading, at)) != std::string::npos;) {
            const std::size_t name = at + heading.size();
            const std::size_t end = text.find(" -->\n", name);
            at = text.find(heading, end);
            const std::string file = text.substr(name, end - name);
            folder.WriteFile(FromUtf8(file), text.substr(end + 5, at - end - 5));
        }
        return CodesIn({folder.Path()});
    }
    const std::wstring file = form == "products" ? L"products.xml" : form == "detection" ? L"extern\\x.xml" : L"x.xml";
    const std::string whole = form == "script"     ? text
                              : form == "products" ? "<uninstall_information>" + text + "</uninstall_information>"
                                                   : AsScript(text);
    return CodesIn({folder.WriteFile(file, whole)});
}

// Takes the example behind `at` off the reference.
std::string NextExample(const std::string& reference, std::size_t& at) {
    const std::size_t form = reference.find("```xml ", at) + 7;
    const std::size_t begin = reference.find('\n', form) + 1;
    at = reference.find("```", begin);
    INFO(reference.substr(form, at - form));
    return CodesOfExample(reference.substr(form, begin - 1 - form), reference.substr(begin, at - begin));
}

}  // namespace

TEST_CASE("every rule has an entry, whose first example raises exactly it and whose second raises nothing") {
    const ComScope com;
    const std::string reference = FileContent(InSources(L"docs\\lint.md"));
    for (const lint::Rule& rule : lint::AllRules()) {
        const std::string code = ToUtf8(rule.code);
        CAPTURE(code);
        CHECK(&lint::RuleOf(rule.id) == &rule);
        std::size_t at = reference.find("### `" + code + "` (" + ToUtf8(lint::SeverityName(rule.severity)) + ")\n");
        REQUIRE(at != std::string::npos);
        if (rule.id != lint::RuleId::NotReadable) {  // of a file that is not there
            CHECK(NextExample(reference, at) == code);
            CHECK(NextExample(reference, at) == "");
        }
    }
    CHECK(CodesIn({L"C:\\no\\such.xml"}) == "not-readable");
}

TEST_CASE("the samples, the demo, the built product and the examples of the references raise nothing") {
    const ComScope com;
    CHECK(CodesIn({InSources(L"documents"), InSources(L"demo\\catalogue")}) == "");
    CHECK(CodesIn({InProduct(L"prodrm.dll")}) == "");
    CHECK(CodesIn({InProduct(L"log.dll")}) == "not-readable");
    const TempFolder folder;
    for (const wchar_t* const file : {L"docs\\catalogue-reference.md", L"docs\\script-reference.md"}) {
        const std::string reference = FileContent(InSources(file));
        std::size_t begin = 0;
        int examples = 0;
        for (; (begin = reference.find("```xml\n", begin)) != std::string::npos; ++examples) {
            const std::size_t text = begin + 7;
            begin = reference.find("```", text);
            CHECK(CodesIn({folder.WriteFile(L"example.xml", reference.substr(text, begin - text))}) == "");
        }
        CHECK(examples >= 4);
    }
}

TEST_CASE("the schemas know the words of the library") {
    const std::string schema = FileContent(InSources(L"docs\\schema\\script.rng"));
    for (const auto& words : {CProductConfig::OperationNames(), CSpecialFolder::Names()}) {
        for (const std::wstring& word : words) {
            CHECK(schema.find("<value>" + ToUtf8(word) + "</value>") != std::string::npos);
        }
    }
}

TEST_CASE("a finding has the place of what it is about, in every form of output") {
    const ComScope com;
    const TempFolder folder;
    // Tags, texts and comments that hold what looks like others, several lines, an attribute's name within a value.
    const std::wstring file = folder.WriteFile(
        L"\x0416 1.xml",
        "\xEF\xBB\xBF<?xml version=\"1.0\"?><!-- <x> --><uninstall_information><version_list><v/></version_list>\r\n"
        "<v>\r\n<install_folder name='\xD0\x96'/><win_nt><s op_code='kill_process'><e target_name='a.exe'/>\r\n"
        "\t<e\r\n\t target_name='path= >.exe' path='x'/>  <![CDATA[<z>]]>  <!----></s><s/></win_nt></v>"
        "</uninstall_information>");
    lint::Report report;
    lint::CheckPaths({file}, report);
    std::string places;
    for (const lint::Finding& finding : report.Findings()) {
        places += std::to_string(finding.position.line) + ":" + std::to_string(finding.position.column) + " " +
                  ToUtf8(finding.rule->code) + "\n";
    }
    CHECK(places == "5:29 ignored-attribute\n5:41 comment-in-section\n5:69 no-operation\n");

    const Json json = Json::parse(ToUtf8(lint::AsJson(report)));
    CHECK(json["findings"][0]["line"] == 5);
    CHECK(json["errors"] == 2);
    const Json run = Json::parse(ToUtf8(lint::AsSarif(report)))["runs"][0];
    const Json result = run["results"][0];
    CHECK(run["tool"]["driver"]["rules"][result["ruleIndex"].get<int>()]["id"] == result["ruleId"]);
    CHECK(result["level"] == "warning");
    const Json place = result["locations"][0]["physicalLocation"];
    CHECK(place["region"]["startColumn"] == 29);
    CHECK(place["artifactLocation"]["uri"].get<std::string>().ends_with("/%D0%96%201.xml"));
}
