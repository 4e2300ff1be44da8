#include <doctest/doctest.h>

#include <nlohmann/json.hpp>

#include "support/registry_sandbox.h"
#include "tool_folder.h"

namespace {

using nlohmann::json;

// A tool with one foreign product P, its script, and things for the script to find.
class Subject {
public:
    explicit Subject(const std::string& version = "") {
        tool.Catalogue(L"products.xml", "");
        tool.Catalogue(L"detection.xml", "<product name=\"Q\" file=\"q.xml\"/><product name=\"P\" file=\"p.xml\">" +
                                             version + "</product><product name=\"R\" file=\"q.xml\"/>");
    }

    void Script(const std::string& mode, const std::string& sections) const {
        tool.Write(L"extern\\p.xml", "<uninstall_information><version_list><none/><v/></version_list><v " + mode +
                                         "><install_folder name=\"none\"/><win_nt>" + sections +
                                         "</win_nt></v></uninstall_information>");
    }

    json Explain() const {
        const ToolRun run = tool.Run(L"explain P --json");
        REQUIRE(run.code == ERROR_SUCCESS);
        return json::parse(run.out);
    }

    ToolFolder tool;
    TempFolder files;
    RegistrySandbox registry;
};

std::vector<std::string> Presences(const json& section) {
    std::vector<std::string> presences;
    for (const json& element : section.at("elements")) {
        presences.push_back(element.at("presence"));
    }
    return presences;
}

using Texts = std::vector<std::string>;

}  // namespace

TEST_CASE("explain tells of each section its score, its minimum and which elements were found") {
    const Subject subject;
    const std::string there = Narrow(subject.files.WriteFile(L"there"));
    const std::string gone = Narrow(subject.files.Path(L"gone"));
    subject.registry.SetString(L"", L"value", L"text", UnderWow64() ? View::Bits64 : View::Default);
    const std::string key = Narrow(subject.registry.Path());
    const std::string value = "<e key_path=\"" + key + "\" name=\"value\"/>";
    const std::string noValue = "<e key_path=\"" + key + "\" name=\"other\" score=\"3\"/>";
    subject.Script("mandatory_sections=\"any\"",
                   "<s op_code=\"exec_tool\"><e tool_name=\"x\"/></s>"
                   "<s op_code=\"del_file\" minimum_score=\"7\"><e name=\"" +
                       there + "\" score=\"4\"/><e name=\"" + gone + "\" score=\"5\"/><e name=\"" + there +
                       "\" mandatory=\"YES\"/></s>"
                       "<s op_code=\"del_regvalue\" minimum_score=\"1\">" +
                       value + value +
                       "</s>"
                       "<s op_code=\"del_regvalue\" minimum_score=\"1\">" +
                       noValue +
                       "</s>"
                       "<s op_code=\"del_regvalue\" minimum_score=\"2\">" +
                       noValue + value + "</s>");
    const json told = subject.Explain();
    CHECK(told.at("installed") == true);
    CHECK(told.at("messages") == json::array({"the xml doesn't have <none>"}));
    const json version = told.at("versions").at(0);
    CHECK(version.at("name") == "v");
    CHECK(version.at("installed") == true);
    const json sections = version.at("sections");
    REQUIRE(sections.size() == 4);
    CHECK(sections.at(0).at("operation") == "del_file");
    CHECK(sections.at(0).at("score") == 5);
    CHECK(sections.at(0).at("minimum") == 7);
    CHECK(sections.at(0).at("passed") == false);
    CHECK(Presences(sections.at(0)) == Texts{"found", "not_found", "found"});
    CHECK(sections.at(0).at("elements").at(1).at("score") == 5);
    CHECK(sections.at(0).at("elements").at(1).at("reasons").size() == 1);
    CHECK(sections.at(0).at("elements").at(2).at("mandatory") == true);
    CHECK(Presences(sections.at(1)) == Texts{"found", "found"});
    CHECK(sections.at(1).at("passed") == true);
    CHECK(Presences(sections.at(2)) == Texts{"not_found"});
    CHECK(Presences(sections.at(3)) == Texts{"not_found", "found"});
}

TEST_CASE("explain reads scores and words as the library does") {
    const Subject subject;
    const std::string there = "<e name=\"" + Narrow(subject.files.WriteFile(L"there")) + "\" ";
    const std::string gone = "<e name=\"" + Narrow(subject.files.Path(L"gone")) + "\" ";
    subject.Script("", "<s op_code=\"del_file\">" + there + "Score=\"4\"/>" + there + "score=\"\"/>" + there +
                           "score=\"2147483647\"/>" + gone + "mandatory=\"ye\xC5\xBF\"/><sleep/><x>sleep</x></s>");
    const json section = subject.Explain().at("versions").at(0).at("sections").at(0);
    CHECK(section.at("score") == -2147483645);
    CHECK(section.at("passed") == false);
    CHECK(Presences(section) == Texts{"found", "found", "found", "not_found", "not_found"});
    std::vector<int> scores;
    for (const json& element : section.at("elements")) {
        scores.push_back(element.at("score"));
    }
    CHECK(scores == std::vector<int>{4, 0, 2147483647, 1, 1});
    CHECK(section.at("elements").at(3).at("mandatory") == false);
}

TEST_CASE("explain names the view in which each mark was looked for") {
    const RegistrySandbox marks;
    const Subject subject("<v name=\"v\" keypath=\"" + Narrow(marks.Path()) + "\" keyvalue=\"at\"/>");
    marks.SetString(L"UpdateLocation", L"at", L"x", View::Bits32);
    const json told = subject.Explain();
    CHECK(told.at("installed") == true);
    const std::string key = Narrow(marks.Path(L"UpdateLocation"));
    const json in32 = {{"key", key}, {"value", "at"}, {"view", 32}, {"found", true}};
    const json in64 = {{"key", key}, {"value", "at"}, {"view", 64}, {"found", false}};
    CHECK(told.at("registry") == (UnderWow64() ? json{in64, in32} : json{in32}));
}

TEST_CASE("explain tells where judging ended") {
    const Subject subject;
    const std::string there = Narrow(subject.files.WriteFile(L"there"));
    const std::string gone = Narrow(subject.files.Path(L"gone"));
    SUBCASE("a mandatory element is missing, and no later section was looked at") {
        subject.Script("mandatory_sections=\"all\"", "<s op_code=\"del_file\"><e name=\"" + gone +
                                                         "\" mandatory=\"yes\"/><e name=\"" + there +
                                                         "\"/></s><s op_code=\"del_file\"/>");
        const json version = subject.Explain().at("versions").at(0);
        CHECK(version.at("installed") == false);
        CHECK(version.at("sections").size() == 1);
        const json section = version.at("sections").at(0);
        CHECK(section.at("mandatory_failed") == true);
        CHECK(section.at("score").is_null());
        CHECK(Presences(section) == Texts{"not_found", "not_judged"});
    }
    SUBCASE("a comment breaks a section off") {
        subject.Script("", "<s op_code=\"del_file\"><e name=\"" + there + "\"/><!-- c --></s>");
        const json version = subject.Explain().at("versions").at(0);
        const json section = version.at("sections").at(0);
        CHECK(section.at("score").is_null());
        CHECK(section.at("mandatory_failed") == false);
        CHECK(Presences(section) == Texts{"found", "not_judged"});
        CHECK(section.at("messages").size() == 1);
    }
    SUBCASE("the script does not load") {
        const json told = subject.Explain();
        CHECK(told.at("installed") == false);
        CHECK(told.at("versions").empty());
        CHECK(told.at("messages").size() == 1);
    }
}
