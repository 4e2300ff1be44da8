#include <doctest/doctest.h>

#include <nlohmann/json.hpp>

#include <algorithm>
#include <stdexcept>
#include <vector>

#include "foundation/owned.h"
#include "support/registry_sandbox.h"
#include "tool_folder.h"

namespace {

using nlohmann::json;

const View kNative = UnderWow64() ? View::Bits64 : View::Default;

// A tool with a family of A, B and C, each marked by a key of a registry sandbox, and a foreign product F, found by a
// file of its own.
class Machine {
public:
    Machine() {
        std::string family;
        for (const char* name : {"A", "B", "C"}) {
            family += std::string("<product name=\"") + name + "\" file=\"none.xml\"><v name=\"v\" keypath=\"" +
                      Narrow(registry.Path()) + "\\" + name + "\" keyvalue=\"at\"/></product>";
        }
        tool.Catalogue(L"products.xml", family);
        tool.Catalogue(L"detection.xml", R"(<product name="F" file="f.xml"/>)");
        tool.Write(L"extern\\f.xml",
                   "<uninstall_information><version_list><v/></version_list><v><install_folder name=\"none\"/><win_nt>"
                   "<s op_code=\"del_file\" minimum_score=\"1\">" +
                       Element(F()) + "</s></win_nt></v></uninstall_information>");
    }

    void Install(const std::wstring& product) {
        registry.SetString(product + L"\\UpdateLocation", L"at", L"here", kNative);
    }
    std::wstring InstallF() { return files.WriteFile(L"f.bin"); }
    std::wstring F() const { return files.Path(L"f.bin"); }
    std::string Key(const std::wstring& product) const { return Narrow(registry.Path(product)); }

    static std::string Element(const std::wstring& name, const char* more = "") {
        return "<e name=\"" + Narrow(name) + "\" " + more + "/>";
    }

    // Embeds a document of one version with this content of win_nt.
    void Embed(const std::string& sections) const {
        tool.Embed(
            "<uninstall_information><version_list><v/></version_list><v><install_folder name=\"none\"/><win_nt>" +
            sections + "</win_nt></v></uninstall_information>");
    }
    void EmbedRemovalOfF() const { Embed("<s op_code=\"del_file\">" + Element(F()) + "</s>"); }
    void EmbedRemovalOfFamily() const {
        std::string keys;
        for (const wchar_t* name : {L"A", L"B", L"C"}) {
            keys += Element(registry.Path(name));
        }
        Embed("<s op_code=\"del_regkey\">" + keys + "</s>");
    }

    ToolFolder tool;
    RegistrySandbox registry;
    TempFolder files;
};

std::vector<json> Events(const ToolRun& run) {
    std::vector<json> events;
    for (std::size_t at = 0; at < run.out.size();) {
        const std::size_t end = run.out.find("\r\n", at);
        events.push_back(json::parse(run.out.substr(at, end - at)));
        at = end + 2;
    }
    return events;
}

std::vector<std::string> ProductsBegun(const std::vector<json>& events) {
    std::vector<std::string> names;
    for (const json& event : events) {
        if (event.at("event") == "product") {
            names.push_back(event.at("name"));
        }
    }
    return names;
}

using Names = std::vector<std::string>;

constexpr wchar_t kSessionManager[] = L"SYSTEM\\CurrentControlSet\\Control\\Session Manager";

// No deletion waits for a restart at the beginning and the end of the scope.
class NoPendingDeletions {
public:
    NoPendingDeletions() { Clear(); }
    ~NoPendingDeletions() { Clear(); }

private:
    static void Clear() {
        OwnedRegKey key;
        if (::RegOpenKeyExW(HKEY_LOCAL_MACHINE, kSessionManager, 0, KEY_SET_VALUE | static_cast<REGSAM>(kNative),
                            key.Put()) != ERROR_SUCCESS) {
            throw std::runtime_error("the key of pending deletions cannot be opened");
        }
        ::RegDeleteValueW(key.Get(), L"PendingFileRenameOperations");
    }
};

}  // namespace

TEST_CASE(
    "a removed product is gone, and the events tell of plan, products, operations, progress and result in order") {
    Machine machine;
    machine.InstallF();
    machine.EmbedRemovalOfF();
    const ToolRun run = machine.tool.Run(L"remove F --yes --json");
    CHECK(run.code == ERROR_SUCCESS);
    CHECK_FALSE(FileExists(machine.F()));
    const std::vector<json> events = Events(run);
    CHECK(events.front() == json::parse(R"({"event": "plan", "notes": [],
        "products": [{"name": "F", "catalogue": "foreign", "installed": true}]})"));
    CHECK(ProductsBegun(events) == Names{"F"});
    CHECK(std::count(events.begin(), events.end(), json::parse(R"({"event": "progress", "percent": 100})")) == 1);
    CHECK(events.back() == json::parse(R"({"event": "result", "exit_code": 0, "restart_required": false,
        "products": [{"name": "F", "catalogue": "foreign", "state": "removed"}],
        "operations": {"del_file": {"succeeded": 1, "failed": 0}}, "pending_deletions": []})"));
}

TEST_CASE("a product that is still there is a failure, whatever the library says") {
    Machine machine;
    machine.InstallF();
    const ToolRun run = machine.tool.Run(L"remove F --yes --json");  // the default document removes nothing
    CHECK(run.code == ERROR_INSTALL_FAILURE);
    CHECK(Events(run).back().at("products").at(0).at("state") == "present");
    CHECK(FileExists(machine.F()));
}

TEST_CASE("a restart is reported if this run asked for one, with its own pending deletions alone") {
    const NoPendingDeletions none;
    Machine machine;
    const std::wstring file = machine.InstallF();
    const std::wstring other = machine.files.WriteFile(L"other.bin");
    REQUIRE(::MoveFileExW(other.c_str(), nullptr, MOVEFILE_DELAY_UNTIL_REBOOT));

    SUBCASE("a held file waits for it") {
        machine.EmbedRemovalOfF();
        const OwnedFileHandle held(
            ::CreateFileW(file.c_str(), GENERIC_READ, FILE_SHARE_READ, nullptr, OPEN_EXISTING, 0, nullptr));
        const ToolRun run = machine.tool.Run(L"remove F --yes --json");
        CHECK(run.code == ERROR_SUCCESS_REBOOT_REQUIRED);
        const json result = Events(run).back();
        CHECK(result.at("products").at(0).at("state") == "after_restart");
        CHECK(result.at("pending_deletions") == json::array({Narrow(file)}));
    }
    SUBCASE("the script asks for it") {
        machine.Embed("<s op_code=\"del_file\">" + Machine::Element(file, "restart_required=\"1\"") + "</s>");
        const ToolRun run = machine.tool.Run(L"remove F --yes --json");
        CHECK(run.code == ERROR_SUCCESS_REBOOT_REQUIRED);
        CHECK(Events(run).back().at("products").at(0).at("state") == "removed");
        CHECK(Events(run).back().at("pending_deletions").empty());
    }
    SUBCASE("nothing asks for it") {
        machine.EmbedRemovalOfF();
        const ToolRun run = machine.tool.Run(L"remove F --yes");
        CHECK(run.code == ERROR_SUCCESS);
        CHECK(run.out.find("restart") == std::string::npos);
    }
}

TEST_CASE("nothing is removed if one of the names cannot be, or nobody says yes, or another removal runs") {
    Machine machine;
    machine.Install(L"A");
    machine.InstallF();
    machine.EmbedRemovalOfF();
    CHECK(machine.tool.Run(L"remove F unknown --yes").code == ERROR_UNKNOWN_PRODUCT);
    CHECK(machine.tool.Run(L"remove F B --yes").code == ERROR_UNKNOWN_PRODUCT);
    CHECK(machine.tool.Run(L"remove A --catalogue foreign --yes").code == ERROR_UNKNOWN_PRODUCT);
    CHECK(machine.tool.Run(L"remove F").code == ERROR_INSTALL_USEREXIT);
    for (const wchar_t* arguments :
         {L"remove", L"remove --yes --all-installed", L"remove F --yes --force-all --catalogue foreign",
          L"remove F --yes --quiet --json", L"remove F --json", L"remove --force --yes"}) {
        CHECK(machine.tool.Run(arguments).code == ERROR_INVALID_COMMAND_LINE);
    }
    {
        const OwnedHandle other(::CreateMutexW(nullptr, TRUE, L"Global\\prodrm-removal"));
        CHECK(machine.tool.Run(L"remove F --yes").code == ERROR_INSTALL_ALREADY_RUNNING);
    }
    CHECK(FileExists(machine.F()));
    const ToolRun quiet = machine.tool.Run(L"remove F --yes --quiet");
    CHECK(quiet.code == ERROR_SUCCESS);
    CHECK(quiet.out.empty());
    CHECK_FALSE(FileExists(machine.F()));
}

TEST_CASE(
    "names are removed one after the other, so that the last of the family takes the rest of its catalogue along") {
    Machine machine;
    machine.Install(L"A");
    SUBCASE("the plan tells of it") {
        machine.EmbedRemovalOfFamily();
        const ToolRun run = machine.tool.Run(L"remove A A --yes --json");
        CHECK(run.code == ERROR_SUCCESS);
        const std::vector<json> events = Events(run);
        CHECK(ProductsBegun(events) == Names{"A", "B", "C"});
        const std::string note = events.front().at("notes").at(0);
        CHECK(note.ends_with("\"B\", \"C\""));
    }
    SUBCASE("not while another one stays") {
        machine.Install(L"C");
        machine.Embed("<s op_code=\"del_regkey\"><e name=\"" + machine.Key(L"A") + "\"/></s>");
        const ToolRun run = machine.tool.Run(L"remove A --yes --json");
        CHECK(run.code == ERROR_SUCCESS);
        CHECK(ProductsBegun(Events(run)) == Names{"A"});
        CHECK(Events(run).front().at("notes").empty());
    }
    SUBCASE("a forced one goes alone, installed or not") {
        machine.EmbedRemovalOfFamily();
        const std::vector<json> events = Events(machine.tool.Run(L"remove B --force --yes --json"));
        CHECK(ProductsBegun(events) == Names{"B"});
        CHECK(events.front().at("products").at(0).at("installed") == false);
        CHECK(events.back().at("products").at(0).at("state") == "removed");
    }
}

TEST_CASE("a failed kind of operations is counted, and the progress shown stops at 100") {
    Machine machine;
    machine.InstallF();
    machine.Embed("<s op_code=\"del_file\">" + Machine::Element(machine.F()) +
                  "</s><s op_code=\"disableandstop_service\"><e name=\"no-such-service\"/></s>");
    const ToolRun run = machine.tool.Run(L"remove F --yes --json");
    CHECK(run.code == ERROR_SUCCESS);
    const std::vector<json> events = Events(run);
    CHECK(events.back().at("operations").at("disable_driver").at("failed") == 1);
    for (const json& event : events) {
        CHECK(event.value("percent", 0) <= 100);
    }
}
