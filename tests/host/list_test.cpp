#include <doctest/doctest.h>

#include <nlohmann/json.hpp>

#include "tool_folder.h"

namespace {

using nlohmann::json;

bool Contains(const std::string& text, const char* part) {
    return text.find(part) != std::string::npos;
}

std::vector<std::string> Names(const json& listed) {
    std::vector<std::string> names;
    for (const json& product : listed.at("products")) {
        names.push_back(product.at("name"));
    }
    return names;
}

}  // namespace

TEST_CASE("list gives both catalogues, the family first, as a table aligned by display width") {
    const ToolFolder tool;
    tool.Catalogue(L"products.xml", R"(<product name="日本" file="a.xml"/><product name="Größe" file="b.xml"/>)");
    tool.Catalogue(L"detection.xml", R"(<product name="e&#x301;t&#x9B;" file="c.xml"/>)");
    const ToolRun run = tool.Run(L"list");
    CHECK(run.code == ERROR_SUCCESS);
    CHECK(run.err.empty());
    const std::string folder = run.out.substr(0, run.out.rfind("extern\\c.xml"));
    const std::string place = folder.substr(folder.find_last_of(' ') + 1);
    CHECK(run.out ==
          "Product  Catalogue  Script\r\n"
          "日本     family     " +
              place +
              "intern\\a.xml\r\n"
              "Größe    family     " +
              place +
              "intern\\b.xml\r\n"
              "e\u0301t\uFFFD      foreign    " +
              place + "extern\\c.xml\r\n");
}

TEST_CASE("list as JSON keeps every character of a name and takes one catalogue alone") {
    const ToolFolder tool;
    tool.Catalogue(L"products.xml", R"(<product name="&quot;\ 𝄞&#10;" file="ü.xml"/>)");
    const ToolRun family = tool.Run(L"list --catalogue family --json");
    REQUIRE(family.code == ERROR_SUCCESS);
    const json product = json::parse(family.out).at("products").at(0);
    CHECK(product.at("name") == "\"\\ 𝄞\n");
    CHECK(product.at("catalogue") == "family");
    CHECK(Contains(product.at("script"), "\\intern\\ü.xml"));

    tool.Catalogue(L"detection.xml", R"(<product name="F" file="f.xml"/>)");
    CHECK(Names(json::parse(tool.Run(L"list --json").out)) == std::vector<std::string>{"\"\\ 𝄞\n", "F"});
    CHECK(Names(json::parse(tool.Run(L"list --json --catalogue foreign").out)) == std::vector<std::string>{"F"});
}

TEST_CASE("a failure is told on the error stream alone and names its cause") {
    const ToolFolder tool;
    tool.Catalogue(L"products.xml", "");
    SUBCASE("no catalogue") {
        const ToolRun run = tool.Run(L"list --json");
        CHECK(run.code == ERROR_INSTALL_FAILURE);
        CHECK(run.out.empty());
        CHECK(Contains(run.err, "detection.xml"));
    }
    SUBCASE("a catalogue on which the library crashes") {
        tool.Write(L"products.xml", "<other/>");
        const ToolRun run = tool.Run(L"list --catalogue family");
        CHECK(run.code == ERROR_INSTALL_FAILURE);
        CHECK(Contains(run.err, "0xc0000005"));
    }
    SUBCASE("no library") {
        tool.Delete(L"prodrm.dll");
        const ToolRun run = tool.Run(L"list");
        CHECK(run.code == ERROR_INSTALL_FAILURE);
        CHECK(Contains(run.err, "\\prodrm.dll cannot be loaded"));
    }
    SUBCASE("a library without the export") {
        tool.Delete(L"prodrm.dll");
        REQUIRE(::CopyFileW(tool.Path(L"log.dll").c_str(), tool.Path(L"prodrm.dll").c_str(), TRUE));
        const ToolRun run = tool.Run(L"list");
        CHECK(run.code == ERROR_INSTALL_FAILURE);
        CHECK(Contains(run.err, "does not export GetProducts"));
    }
}

TEST_CASE("a bad command line has its own exit code and touches nothing") {
    const ToolFolder tool;
    for (const wchar_t* arguments : {L"", L"nothing", L"list --catalogue none", L"list --details", L"list more",
                                     L"list --log-level info", L"list --log x.log --log-level loud"}) {
        const ToolRun run = tool.Run(arguments);
        CHECK(run.code == ERROR_INVALID_COMMAND_LINE);
        CHECK(run.out.empty());
        CHECK_FALSE(run.err.empty());
    }
    CHECK_FALSE(FileExists(tool.Path(L"x.log")));
    CHECK(tool.Run(L"--help").code == ERROR_SUCCESS);
    CHECK(Contains(tool.Run(L"--version").out, "prodrm "));
}

TEST_CASE("the log is written where and as far as the command line says, whatever the log's settings file says") {
    const ToolFolder tool;
    tool.Catalogue(L"products.xml", R"(<product name="P" file="a.xml"><v name="1"/></product>)");
    tool.Write(L"log.ini", "[log]\r\nenabled=1\r\nlevel=error\r\npath=elsewhere.log\r\n");
    CHECK(tool.Run(L"list --catalogue family").code == ERROR_SUCCESS);
    CHECK_FALSE(FileExists(tool.Path(L"elsewhere.log")));

    CHECK(tool.Run(L"list --catalogue family --log ä.log --log-level warning").code == ERROR_SUCCESS);
    const std::string warnings = ReadBytes(tool.Path(L"ä.log"));
    CHECK(Contains(warnings, "failed get attribute \"id\" for version product = 1"));
    CHECK_FALSE(Contains(warnings, "Load product"));
    CHECK(tool.Run(L"list --catalogue family --log ä.log").code == ERROR_SUCCESS);
    const std::string both = ReadBytes(tool.Path(L"ä.log"));
    CHECK(both.starts_with(warnings));
    CHECK(Contains(both, "Load product \"P\""));
    CHECK_FALSE(FileExists(tool.Path(L"elsewhere.log")));

    CHECK(tool.Run(L"list --log missing\\x.log").code == ERROR_INSTALL_FAILURE);
    tool.Delete(L"log.dll");
    CHECK(tool.Run(L"list --catalogue family").code == ERROR_SUCCESS);
    CHECK(tool.Run(L"list --catalogue family --log x.log").code == ERROR_INSTALL_FAILURE);
}
