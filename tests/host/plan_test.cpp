#include <doctest/doctest.h>

#include <nlohmann/json.hpp>

#include <algorithm>
#include <vector>

#include "foundation/owned.h"
#include "support/registry_sandbox.h"
#include "support/show_text.h"
#include "tool_folder.h"

namespace {

using nlohmann::json;

const View kNative = UnderWow64() ? View::Bits64 : View::Default;

std::string Utf8Of(const std::wstring& text) {
    std::string bytes(text.size() * 3, '\0');
    bytes.resize(static_cast<std::size_t>(::WideCharToMultiByte(CP_UTF8, 0, text.data(), static_cast<int>(text.size()),
                                                                bytes.data(), static_cast<int>(bytes.size()), nullptr,
                                                                nullptr)));
    return bytes;
}

// Attributes, sizes and all times of the folder and what is in it.
std::vector<std::string> StateOf(const TempFolder& folder) {
    std::vector<std::wstring> paths = folder.Tree();
    paths.emplace_back();
    std::vector<std::string> state;
    for (const std::wstring& path : paths) {
        WIN32_FILE_ATTRIBUTE_DATA data = {};
        ::GetFileAttributesExW(folder.Path(path).c_str(), GetFileExInfoStandard, &data);
        std::string line = Utf8Of(path);
        const DWORD* const words = reinterpret_cast<const DWORD*>(&data);
        for (std::size_t word = 0; word < sizeof data / sizeof(DWORD); ++word) {
            line += " " + std::to_string(words[word]);
        }
        state.push_back(line);
    }
    return state;
}

// Makes every time of last access old, so that a reading shows.
void Age(const TempFolder& folder) {
    std::vector<std::wstring> paths = folder.Tree();
    paths.emplace_back();
    for (const std::wstring& path : paths) {
        const OwnedFileHandle file(::CreateFileW(folder.Path(path).c_str(), FILE_WRITE_ATTRIBUTES, 7, nullptr,
                                                 OPEN_EXISTING, FILE_FLAG_BACKUP_SEMANTICS, nullptr));
        const FILETIME old = {0, 30000000};
        REQUIRE(::SetFileTime(file.Get(), nullptr, &old, nullptr));
    }
}

// One installed product, and a document of its own.
class Subject {
public:
    Subject() {
        tool.Catalogue(L"products.xml", R"(<product name="P" file="none.xml"/>)");
        tool.Catalogue(L"detection.xml", "");
    }

    void Embed(const std::string& sections) const {
        tool.Embed(
            "<uninstall_information><version_list><v/></version_list><v><install_folder name=\"none\"/><win_nt>" +
            sections + "</win_nt></v></uninstall_information>");
    }
    json Plan() const {
        const ToolRun run = tool.Run(L"plan P --force --json");
        REQUIRE(run.err == "");
        return json::parse(run.out);
    }

    ToolFolder tool;
    RegistrySandbox registry;
    TempFolder files;
};

// The lines of a tree or dump below `root` without what the plan says will go.
std::vector<std::wstring> Without(const json& plan, const std::wstring& root, int view,
                                  std::vector<std::wstring> lines) {
    std::vector<std::string> gone;
    for (const json& item : plan.at("items")) {
        if (item.at("state") == "present" && item.value("view", 0) == view) {
            const bool isValue = item.at("kind") == "value";
            gone.push_back(item.at("path").get<std::string>() +
                           (isValue ? "\\=" + item.at("name").get<std::string>() : ""));
        }
    }
    std::erase_if(lines, [&](const std::wstring& line) {
        const std::string path = Utf8Of(root + line);
        return std::any_of(gone.begin(), gone.end(), [&](const std::string& each) {
            return path == each || path == each + "\\" || (view != 0 && path.starts_with(each + "\\"));
        });
    });
    return lines;
}

int NativeBits() {
    return UnderWow64() ? 64 : 32;
}

std::string Section(const char* operation, const std::string& elements) {
    return std::string("<s op_code=\"") + operation + "\">" + elements + "</s>";
}

std::string Named(const std::wstring& name, const char* more = "") {
    return "<e name=\"" + Utf8Of(name) + "\" " + more + "/>";
}

}  // namespace

TEST_CASE("a plan names what the removal then takes, each once, and changes nothing") {
    const Subject subject;
    subject.files.WriteFile(L"all\\sub\\deep\\a.txt");
    subject.files.WriteFile(L"all\\\u00FCnd.txt");
    ::SetFileAttributesW(subject.files.Path(L"all\\\u00FCnd.txt").c_str(),
                         FILE_ATTRIBUTE_HIDDEN | FILE_ATTRIBUTE_READONLY);
    subject.files.WriteFile(L"one\\file.txt");
    subject.files.WriteFile(L"one\\file.txt.bak");
    subject.files.WriteFile(L"one\\link.lnk");
    subject.files.WriteFile(L"marked.bin");
    subject.files.WriteFile(L"folder.as.file");
    subject.registry.SetString(L"Gone\\Sub", L"v", L"x", kNative);
    subject.registry.SetString(L"Values", L"pre.one", L"x", kNative);
    subject.registry.SetString(L"Values", L"stays", L"x", kNative);
    subject.registry.SetString(L"Search\\Hit\\Below", L"v", L"x", kNative);
    subject.registry.SetString(L"Search\\Hit", L"path", L"C:\\needle\\x", kNative);
    subject.registry.SetString(L"Search\\Miss", L"path", L"C:\\other", kNative);
    subject.registry.SetString(L"Gone", L"v32", L"x", View::Bits32);
    subject.Embed(
        Section("del_folder", Named(subject.files.Path(L"all")) + Named(subject.files.Path(L"all\\sub")) +
                                  Named(subject.files.Path(L"folder.as.file")) + Named(subject.files.Path(L"no"))) +
        Section("del_file", Named(subject.files.Path(L"one\\file.txt")) +
                                Named(subject.files.Path(L"all\\sub\\deep\\a.txt")) +
                                Named(subject.files.Path(L"missing.txt"))) +
        Section("del_shortcut",
                "<e path=\"" + Narrow(subject.files.Path(L"one\\link.lnk")) + "\" target_name=\"x\"/>") +
        Section("del_regkey", Named(subject.registry.Path(L"Gone")) +
                                  Named(subject.registry.Path(L"Search"), "data_str=\"needle;\"")) +
        Section("del_regvalue", "<e key_path=\"" + Narrow(subject.registry.Path(L"Values")) + "\" name=\"pre*\"/>"));
    Age(subject.files);
    const auto state = StateOf(subject.files);
    const auto files = subject.files.Tree();
    const auto keys = subject.registry.Dump(kNative);
    const auto otherKeys = subject.registry.Dump(View::Bits32);
    const json plan = subject.Plan();
    CHECK(StateOf(subject.files) == state);
    CHECK(subject.registry.Dump(kNative) == keys);
    CHECK(subject.registry.Dump(View::Bits32) == otherKeys);
    REQUIRE(subject.tool.Run(L"remove P --force --yes --quiet").err == "");
    CHECK(subject.files.Tree() == Without(plan, subject.files.Path() + L"\\", 0, files));
    CHECK(subject.registry.Dump(kNative) == Without(plan, subject.registry.Path() + L"\\", NativeBits(), keys));
    CHECK(subject.registry.Dump(View::Bits32) == Without(plan, subject.registry.Path() + L"\\", 32, otherKeys));
    CHECK(plan.at("summary").at("missing") == 2);
    CHECK(plan.at("summary").at("kept") == 1);  // a file where a folder is named
}
