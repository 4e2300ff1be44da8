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
    CHECK(events.front().at("products") ==
          json::parse(R"([{"name": "F", "catalogue": "foreign", "installed": true, "named": true}])"));
    CHECK(events.front().at("summary").at("file") == 1);
    CHECK(events.front().at("findings").empty());
    CHECK(ProductsBegun(events) == Names{"F"});
    CHECK(std::count(events.begin(), events.end(), json::parse(R"({"event": "progress", "percent": 100})")) == 1);
    CHECK(events.at(events.size() - 2) == json::parse(R"({"event": "progress", "percent": 100})"));
    CHECK(events.back() == json::parse(R"({"event": "result", "exit_code": 0, "restart_required": false,
        "products": [{"name": "F", "catalogue": "foreign", "installed": true, "named": true, "state": "removed"}],
        "items": {"removed": 1, "waits": 0, "absent": 0, "left": 0, "ran": 0}, "left": [],
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
        CHECK(run.out.find("A restart") == std::string::npos);
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
        CHECK(events.front().at("products").at(2).at("name") == "C");
        CHECK(events.front().at("products").at(2).at("named") == false);
    }
    SUBCASE("not while another one stays") {
        machine.Install(L"C");
        machine.Embed("<s op_code=\"del_regkey\"><e name=\"" + machine.Key(L"A") + "\"/></s>");
        const ToolRun run = machine.tool.Run(L"remove A --yes --json");
        CHECK(run.code == ERROR_SUCCESS);
        CHECK(ProductsBegun(Events(run)) == Names{"A"});
    }
    SUBCASE("a forced one goes alone, installed or not") {
        machine.Embed("<s op_code=\"del_regkey\"><e name=\"" + machine.Key(L"B") + "\"/></s>");
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

TEST_CASE("a finding that stops ends it before anything is removed, unless its kind is accepted") {
    Machine machine;
    machine.Install(L"A");
    machine.Install(L"B");
    const std::wstring file = machine.InstallF();
    machine.registry.SetString(L"Path", L"drive", L"C:\\", kNative);
    machine.registry.SetString(L"Path", L"programs", L"C:\\Program Files", kNative);
    const auto appPath = [&](const char* value) {
        return "<app_path key=\"" + Narrow(machine.registry.Path(L"Path")) + "\" name=\"" + value + "\"/>";
    };
    const std::string folder = "<s op_code=\"del_folder\"><e path=\"app_path\"/></s>";
    const std::string none = "<install_folder name=\"none\"/>";
    const auto withF = "<s op_code=\"del_file\">" + Machine::Element(file) + "</s>";
    struct Row {
        const char* code;
        std::string place;
        std::string sections;
    };
    for (const Row& row : {
             Row{"protected-root", appPath("drive"), folder},
             Row{"protected-root", appPath("programs"), folder},
             Row{"protected-root", "<install_folder name=\"\"/>", folder},
             Row{"protected-root", none, "<s op_code=\"del_folder\"><e path=\"program_files\"/></s>"},
             Row{"relative-path", none, "<s op_code=\"del_folder\"><e paths=\"program_files\" name=\"F\"/></s>"},
             Row{"other-product", none,
                 "<s op_code=\"del_regkey\">" + Machine::Element(machine.registry.Path(L"A")) + "</s>"},
         }) {
        CAPTURE(row.sections);
        machine.tool.Embed("<uninstall_information><version_list><v/></version_list><v>" + row.place + "<win_nt>" +
                           row.sections + withF + "</win_nt></v></uninstall_information>");
        const ToolRun run = machine.tool.Run(L"remove F --yes");
        CHECK(run.code == ERROR_INSTALL_PACKAGE_REJECTED);
        CHECK(run.err.find(row.code) != std::string::npos);
        CHECK(FileExists(file));
    }
    CHECK(machine.tool.Run(L"remove F --yes --accept foreign").code == ERROR_INVALID_COMMAND_LINE);
    CHECK(machine.tool.Run(L"remove F --yes --accept relative-path").code == ERROR_INSTALL_PACKAGE_REJECTED);
    CHECK(machine.tool.Run(L"remove F --yes --accept relative-path --accept other-product").code == ERROR_SUCCESS);
    CHECK_FALSE(FileExists(file));
}

TEST_CASE("what is left and waits for nothing fails the removal, with the library's reason") {
    Machine machine;
    const std::wstring other = machine.files.WriteFile(L"other.bin");
    machine.InstallF();
    machine.Embed("<s op_code=\"del_file\">" + Machine::Element(machine.F()) + "</s><s op_code=\"del_folder\">" +
                  Machine::Element(other) + "</s>");
    const ToolRun run = machine.tool.Run(L"remove F --yes --json");
    CHECK(run.code == ERROR_INSTALL_FAILURE);
    const json left = Events(run).back().at("left");
    REQUIRE(left.size() == 1);
    CHECK(left.at(0).at("path") == Narrow(other));
    CHECK(left.at(0).at("reason") == "\"" + Narrow(other) + "\" path isn't a directory");
    CHECK(Events(run).back().at("products").at(0).at("state") == "present");
}

TEST_CASE("a receipt tells later looks what to look for") {
    const NoPendingDeletions none;
    Machine machine;
    const std::wstring file = machine.InstallF();
    const std::wstring receipt = machine.tool.Path(L"receipt.json");
    machine.EmbedRemovalOfF();
    CHECK(machine.tool.Run(L"remove F --yes --receipt \"" + machine.tool.Path(L"none\\r.json") + L"\"").code ==
          ERROR_INSTALL_FAILURE);
    CHECK(machine.tool.Run(L"remove F --yes --report \"" + machine.tool.Path(L"none\\r.html") + L"\"").code ==
          ERROR_INSTALL_FAILURE);
    CHECK(machine.tool.Run(L"remove F --yes --receipt \"" + file + L"\"").code == ERROR_INSTALL_FAILURE);
    CHECK(FileExists(file));
    {
        const OwnedFileHandle held = HoldFile(file, FILE_SHARE_READ);
        const std::wstring remove = L"remove F --force --yes --receipt \"" + receipt + L"\"";
        CHECK(machine.tool.Run(remove).code == ERROR_SUCCESS_REBOOT_REQUIRED);
        // Were it installed again now, it would lose the file.
        CHECK(machine.tool.Run(L"list --installed").out.find("\"F\" uses it: " + Narrow(file)) != std::string::npos);
        CHECK(machine.tool.Run(L"plan F").out.find("since an earlier removal: 1") != std::string::npos);
        // A second removal before the restart hands nothing in twice.
        const ToolRun again = machine.tool.Run(remove + L" --json");
        CHECK(again.code == ERROR_SUCCESS_REBOOT_REQUIRED);
        CHECK(Events(again).back().at("items").at("waits") == 1);
        CHECK(Events(again).back().at("pending_deletions").empty());
    }
    const json kept = json::parse(ReadBytes(receipt));
    CHECK(kept.at("exit_code") == ERROR_SUCCESS_REBOOT_REQUIRED);
    CHECK(kept.at("document").at("sha256").get<std::string>().size() == 64);
    const std::wstring verify = L"verify \"" + receipt + L"\"";
    CHECK(machine.tool.Run(verify).code == ERROR_SUCCESS_REBOOT_REQUIRED);
    REQUIRE(::DeleteFileW(file.c_str()));
    CHECK(machine.tool.Run(verify).code == ERROR_SUCCESS);
    {
        const NoPendingDeletions forgotten;
        machine.InstallF();
        CHECK(machine.tool.Run(verify).code == ERROR_INSTALL_FAILURE);
    }
    machine.tool.Write(L"other.json", "{\"format\":1}");
    CHECK(machine.tool.Run(L"verify \"" + machine.tool.Path(L"other.json") + L"\"").code == ERROR_INSTALL_FAILURE);
}

TEST_CASE("another document takes the place of the embedded one for a run, in a folder that does not stay") {
    Machine machine;
    const std::wstring file = machine.InstallF();
    const auto privateFolders = [] {
        wchar_t pattern[MAX_PATH] = {};
        ::GetTempPathW(MAX_PATH, pattern);
        WIN32_FIND_DATAW entry;
        return static_cast<bool>(
            OwnedFindHandle(::FindFirstFileW((std::wstring(pattern) + L"prodrm-{*}").c_str(), &entry)));
    };
    wchar_t forsaken[MAX_PATH] = {};
    ::GetTempPathW(MAX_PATH, forsaken);
    const std::wstring folder = std::wstring(forsaken) + L"prodrm-{00000000-0000-0000-0000-000000000000}";
    REQUIRE(::CreateDirectoryW(folder.c_str(), nullptr));
    CHECK(privateFolders());
    const std::wstring bad =
        machine.tool.Write(L"bad.xml", "<uninstall_information>\n<open>\n</uninstall_information>");
    const ToolRun refused = machine.tool.Run(L"remove F --yes --document \"" + bad + L"\"");
    CHECK(refused.code == ERROR_INSTALL_FAILURE);
    CHECK(refused.err.find("not well-formed") != std::string::npos);
    CHECK(FileExists(file));
    const std::wstring good = machine.tool.Write(
        L"good.xml",
        "<uninstall_information><version_list><v/></version_list><v><install_folder name=\"none\"/><win_nt>"
        "<s op_code=\"del_file\">" +
            Machine::Element(file) + "</s></win_nt></v></uninstall_information>");
    const ToolRun plan = machine.tool.Run(L"plan F --json --document \"" + good + L"\"");
    CHECK(json::parse(plan.out).at("summary").at("file") == 1);
    CHECK(json::parse(plan.out).at("document").at("source") == Narrow(good));
    CHECK(machine.tool.Run(L"remove F --yes --document \"" + good + L"\"").code == ERROR_SUCCESS);
    CHECK_FALSE(FileExists(file));
    CHECK_FALSE(privateFolders());
}
