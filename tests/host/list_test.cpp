#include <doctest/doctest.h>

#include <nlohmann/json.hpp>

#include <cstring>

#include "support/programs.h"
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
    tool.Catalogue(L"detection.xml", R"(<product name="e&#x301;t" file="c.xml"/>)");
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
              "e\u0301t       foreign    " +
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

TEST_CASE("a name means the product of exactly that name, however odd it looks") {
    const std::vector<std::wstring> names = {L"[Q]",     L"[A,B]", L"[]",     L"{}",           L"",
                                             L"--",      L"--yes", L"-x",     L"++",           L"remove",
                                             L"a=b",     L"/h",    L" a ",    L"'\"",          L"\\u0051\x9B",
                                             L"\\u0051", L"\t\n",  L"\x202E", L"\xD834\xDD1E", L"*"};
    std::string catalogue;
    std::wstring operands;
    for (const std::wstring& name : names) {
        catalogue += "<product file=\"q.xml\" name=\"";
        operands += L" \"";
        for (const wchar_t unit : name) {
            catalogue += unit == 0xDD1E ? "" : "&#" + std::to_string(unit == 0xD834 ? 0x1D11E : unit) + ";";
            operands += unit == L'"' ? std::wstring(L"\\\"") : std::wstring(1, unit);
        }
        catalogue += "\"/>";
        operands += L"\"";
    }
    const ToolFolder tool;
    tool.Catalogue(L"products.xml",
                   catalogue + R"(<product name="Q" file="q.xml"/><product name="&#xFFFD;" file="q"/>)");
    tool.Catalogue(L"detection.xml", "");
    const std::string plan = tool.Run(L"remove --catalogue=family --force --yes --json --" + operands).out;
    std::vector<std::string> listed = Names(json::parse(tool.Run(L"list --json").out));
    listed.resize(names.size());
    CHECK(Names(json::parse(plan.substr(0, plan.find('\n')))) == listed);
    for (const wchar_t* absent : {L"[R,Q]", L"{Q}", L"q", L"\xDC00",
                                  L"\x1"
                                  L"0\x1"}) {
        CHECK(tool.Run(std::wstring(L"explain --json ") + absent).code == ERROR_UNKNOWN_PRODUCT);
    }

    // What the table cannot show it shows by a sequence, which names the product as well.
    const std::string table = tool.Run(L"list").out;
    std::wstring shown;
    for (const char* name : {R"(\\u0051\u009B)", R"(\\u0051)", R"(\u0009\u000A)", R"(\u202E)"}) {
        CHECK(Contains(table, (std::string("\n") + name + " ").c_str()));
        shown += L" " + std::wstring(name, name + std::strlen(name));
    }
    const std::string escaped = tool.Run(L"remove --force --yes --json --escaped" + shown).out;
    CHECK(Names(json::parse(escaped.substr(0, escaped.find('\n')))) ==
          std::vector<std::string>(listed.begin() + 14, listed.begin() + 18));
    CHECK(Contains(tool.Run(L"list --escaped").out, "\n\\uD834\\uDD1E "));
}

TEST_CASE("a failure is told on the error stream alone and names its cause") {
    const ToolFolder tool;
    tool.Catalogue(L"products.xml", "");
    const auto fails = [&](const wchar_t* arguments, const char* cause, DWORD outAccess = GENERIC_WRITE) {
        const ToolRun run = tool.Run(arguments, {}, outAccess);
        CHECK(run.code == ERROR_INSTALL_FAILURE);
        CHECK(run.out.empty());
        CHECK(Contains(run.err, cause));
    };
    fails(L"list --json", "(detection.xml beside the library) cannot be read: it is not there");
    tool.Write(L"detection.xml", "<uninstall_information>\n<product>");
    fails(L"list", "cannot be read: it is not well-formed XML (line 2");
    tool.Catalogue(L"detection.xml", "<product name=\"P\"/>");
    fails(L"list", "cannot be read: it is refused: failed load product attribute \"file\"");
    fails(L"list --json --catalogue family", "could not be written", GENERIC_READ);
    fails(L"--help", "could not be written", GENERIC_READ);
    tool.Catalogue(L"products.xml", "<product name=\"P\" file=\"p.xml\"/>");
    CHECK(Contains(tool.Run(L"explain p --catalogue family").err, "is in no catalogue; is \"P\" meant?"));
    CHECK(tool.Run(L"explain P --catalogue family").err.empty());
    const HANDLE update = ::BeginUpdateResourceW(tool.Path(L"prodrm.dll").c_str(), FALSE);
    char garbage[] = "\xFF, as if packed with another key";
    REQUIRE(::UpdateResourceW(update, L"XMLBIN", MAKEINTRESOURCEW(101), 0, garbage, sizeof garbage));
    REQUIRE(::UpdateResourceW(update, L"BUILDID", MAKEINTRESOURCEW(1), 0, garbage, sizeof garbage));
    REQUIRE(::EndUpdateResourceW(update, FALSE));
    CHECK(Contains(tool.Run(L"explain P --catalogue family").err, "are not of one build"));
    fails(L"remove P --catalogue family --force --yes --quiet", "document cannot be deciphered");
    tool.Write(L"products.xml", "<other/>");  // the library crashes on it
    fails(L"list --catalogue family", NullReadCode() == EXCEPTION_ACCESS_VIOLATION ? "0xc0000005" : "0xc000001d");
    REQUIRE(::CopyFileW(tool.Path(L"log.dll").c_str(), tool.Path(L"prodrm.dll").c_str(), FALSE));
    fails(L"list", "does not export GetProducts");
    tool.Delete(L"prodrm.dll");
    fails(L"list", "\\prodrm.dll cannot be loaded");
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

    // Without a log module beside the tool there is none, whatever lies in the current folder or along the path.
    const TempFolder other;
    REQUIRE(::MoveFileW(tool.Path(L"log.dll").c_str(), other.Path(L"log.dll").c_str()));
    const std::wstring planted = other.Path(L"planted.log");
    other.WriteFile(L"log.ini", "[log]\r\npath=" + Narrow(planted) + "\r\n");
    ::SetEnvironmentVariableW(L"PATH", other.Path({}).c_str());
    CHECK(tool.Run(L"list --catalogue family", other.Path({})).code == ERROR_SUCCESS);
    CHECK(tool.Run(L"list --catalogue family --log x.log").code == ERROR_INSTALL_FAILURE);
    CHECK_FALSE(FileExists(planted));
}
