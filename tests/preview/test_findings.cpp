#include <doctest/doctest.h>

#include <shlobj.h>

#include <algorithm>
#include <string>
#include <vector>

#include "foundation/CSpecialFolder.h"
#include "foundation/CWow64.h"
#include "preview/findings.h"
#include "support/com_scope.h"
#include "support/library_folder.h"
#include "support/registry_sandbox.h"
#include "support/script_builder.h"
#include "support/show_text.h"

namespace {

using preview::ItemKind;
using preview::ItemState;
using preview::NodeId;
using preview::Severity;

const auto kNative = UnderWow64() ? preview::View::Bits64 : preview::View::Bits32;

// A plan made by hand over a real machine, and a folder for catalogues.
struct Planned {
    LibraryFolder library;
    ComScope com;
    preview::Plan plan;

    Planned() { plan.products.push_back({L"Alpha", {}, UNINSTALL_TYPE_FAMILY, true, true}); }

    NodeId Set(NodeId node, ItemKind kind, ItemState state = ItemState::Present) {
        plan.items[node].kind = kind;
        plan.items[node].record = 0;
        plan.items[node].state = state;
        return node;
    }
    NodeId Folder(const std::wstring& path) {
        return Set(plan.items.AtPath(ItemKind::Folder, preview::View::None, path), ItemKind::Folder);
    }
    NodeId File(const std::wstring& path) {
        return Set(plan.items.AtPath(ItemKind::File, preview::View::None, path), ItemKind::File);
    }
    NodeId Key(const std::wstring& path, preview::View view = kNative) {
        return Set(plan.items.AtPath(ItemKind::Key, view, path), ItemKind::Key);
    }

    // The codes found, each once.
    std::vector<std::string> Codes() {
        plan.findings.clear();
        preview::AddFindings(plan, library.Path());
        std::vector<std::string> codes;
        for (const preview::Finding& finding : plan.findings) {
            codes.push_back(finding.code);
        }
        std::sort(codes.begin(), codes.end());
        codes.erase(std::unique(codes.begin(), codes.end()), codes.end());
        return codes;
    }
    bool Tells(const std::wstring& part) const {
        return std::any_of(plan.findings.begin(), plan.findings.end(), [&](const preview::Finding& finding) {
            return finding.evidence.find(part) != std::wstring::npos;
        });
    }
};

using Codes = std::vector<std::string>;

std::wstring SystemFolder(const wchar_t* name) {
    std::wstring path;
    REQUIRE(CSpecialFolder().Get(name, path));
    return path;
}

std::wstring Profile() {
    wchar_t path[MAX_PATH] = {};
    ::SHGetFolderPathW(nullptr, CSIDL_PROFILE, nullptr, 0, path);
    return path;
}

}  // namespace

TEST_CASE("a root of the system, and whatever holds one, is protected in every spelling") {
    for (const std::wstring& path :
         {std::wstring(L"C:\\"), SystemFolder(L"program_files"), SystemFolder(L"program_files_x86") + L"\\",
          SystemFolder(L"windows_system_drivers"), SystemFolder(L"common_start_menu_programs"), Profile(),
          Profile() + L"\\AppData", Profile().substr(0, Profile().find_last_of(L'\\')), std::wstring(L"c:\\WINDOWS"),
          std::wstring(L"C:/windows/system32"), std::wstring(L"\\\\server\\share")}) {
        CAPTURE(path);
        Planned planned;
        planned.Folder(path);
        CHECK(planned.Codes() == Codes{"protected-root"});
        CHECK(planned.plan.findings.front().severity == Severity::Stop);
    }
    for (const wchar_t* path :
         {L"HKEY_LOCAL_MACHINE", L"HKLM\\Software", L"HKEY_CURRENT_USER\\SOFTWARE\\microsoft", L"HKEY_CLASSES_ROOT",
          L"HKEY_LOCAL_MACHINE\\Software\\Wow6432Node\\Microsoft\\Windows\\CurrentVersion\\Run",
          L"HKEY_USERS\\S-1-5-18\\Software", L"HKEY_LOCAL_MACHINE\\SYSTEM\\ControlSet001\\Services"}) {
        CAPTURE(std::wstring(path));
        Planned planned;
        planned.Key(path);
        CHECK(planned.Codes() == Codes{"protected-root"});
    }
    Planned harmless;
    harmless.Folder(SystemFolder(L"program_files") + L"\\Alpha");
    harmless.Key(L"HKEY_LOCAL_MACHINE\\Software\\Alpha");
    harmless.Set(harmless.Folder(L"C:\\Windows"), ItemKind::Folder, ItemState::Missing);
    CHECK(harmless.Codes() == Codes{});
}

TEST_CASE("paths of their own kinds: without a drive, among personal files, what runs code") {
    Planned planned;
    SUBCASE("a name alone is looked for below the current folder") {
        planned.Set(planned.Folder(L"Alpha"), ItemKind::Folder, ItemState::Missing);
        CHECK(planned.Codes() == Codes{"relative-path"});
        planned.File(L"C:Alpha\\a.dll");
        planned.Codes();
        CHECK(planned.plan.findings.size() == 2);
    }
    SUBCASE("a shortcut on the desktop is no personal file, a document there is") {
        const std::wstring desktop = SystemFolder(L"desktop_folder");
        planned.File(desktop + L"\\Alpha.lnk");
        CHECK(planned.Codes() == Codes{});
        planned.File(desktop + L"\\letter.txt");
        CHECK(planned.Codes() == Codes{"user-content"});
    }
    SUBCASE("a tool") {
        planned.Set(
            planned.plan.items.Child(preview::kNoNode, ItemKind::Tool, preview::View::None, L"\"C:\\u.exe\" /S"),
            ItemKind::Tool);
        CHECK(planned.Codes() == Codes{"runs-code"});
    }
}

TEST_CASE("of a product that stays: its marks, the elements that detect it, and what it uses") {
    const RegistrySandbox registry;
    const auto view = UnderWow64() ? View::Bits64 : View::Default;
    registry.SetString(L"Beta\\UpdateLocation", L"at", L"here", view);
    registry.SetString(L"Shared", L"v", L"", view);
    Planned planned;
    const std::wstring script = planned.library.WriteFile(L"f.bin");
    const std::wstring shared = planned.library.WriteFile(L"Common\\part.dll");
    planned.library.WriteCatalogue(
        L"products.xml", Utf8(L"<product name=\"Alpha\" file=\"a.xml\"/><product name=\"Beta\" file=\"b.xml\"><v "
                              L"name=\"v\" keypath=\"" +
                              registry.Path(L"Beta") + L"\" keyvalue=\"at\"/></product>"));
    planned.library.WriteCatalogue(L"detection.xml", R"(<product name="Gamma" file="g.xml"/>)");
    planned.library.WriteFile(
        L"intern\\b.xml",
        Utf8(Script(L"<s op_code=\"del_folder\"><e name=\"" + planned.library.Path(L"Common") +
                    L"\"/></s><s op_code=\"del_regkey\"><e name=\"" + registry.Path(L"Shared") + L"\"/></s>")));
    planned.library.WriteFile(L"extern\\g.xml", Utf8(Script(L"<s op_code=\"del_file\" minimum_score=\"1\"><e name=\"" +
                                                            script + L"\"/></s>")));
    SUBCASE("nothing of it goes") {
        planned.File(planned.library.Path(L"other.bin"));
        planned.Key(registry.Path(L"Alpha"));
        CHECK(planned.Codes() == Codes{});
    }
    SUBCASE("its mark, in the view that counts") {
        planned.Key(registry.Path(L"Beta"));
        CHECK(planned.Codes() == Codes{"other-product"});
        CHECK(planned.Tells(L"\"Beta\" (family)"));
        if (UnderWow64()) {
            planned.plan.items = {};
            planned.Key(registry.Path(L"Beta"), preview::View::Bits32);
            CHECK(planned.Codes() == Codes{});
        }
    }
    SUBCASE("asked for, it may go") {
        planned.plan.products.push_back({L"Beta", {}, UNINSTALL_TYPE_FAMILY, true, true});
        planned.Key(registry.Path(L"Beta"));
        CHECK(planned.Codes() == Codes{});
    }
    SUBCASE("the file that detects it") {
        planned.File(script);
        CHECK(planned.Codes() == Codes{"other-product", "shared"});
        CHECK(planned.Tells(L"del_file name=\"" + script + L"\""));
    }
    SUBCASE("a file in a folder that it uses, and a key") {
        planned.File(shared);
        planned.Key(registry.Path(L"Shared"));
        CHECK(planned.Codes() == Codes{"shared"});
        CHECK(planned.plan.findings.size() == 2);
        CHECK(planned.Tells(L"del_folder name=\""));
    }
}

TEST_CASE("of programs outside the catalogues: their folders, entries and services, and processes and services met") {
    const std::wstring entry = L"Software\\Microsoft\\Windows\\CurrentVersion\\Uninstall\\prodrm-other";
    HKEY key = nullptr;
    REQUIRE(::RegCreateKeyW(HKEY_LOCAL_MACHINE, entry.c_str(), &key) == ERROR_SUCCESS);
    Planned planned;
    const std::wstring folder = planned.library.MakeFolder(L"Other Suite");
    const auto set = [&](const wchar_t* name, const std::wstring& text) {
        ::RegSetValueExW(key, name, 0, REG_SZ, reinterpret_cast<const BYTE*>(text.c_str()),
                         static_cast<DWORD>(2 * text.size() + 2));
    };
    set(L"DisplayName", L"Other Suite 2");
    set(L"InstallLocation", L"\"" + folder + L"\"");
    SUBCASE("a file in the folder of another program") {
        planned.File(folder + L"\\plugins\\a.dll");
        CHECK(planned.Codes() == Codes{"foreign"});
        CHECK(planned.Tells(L"InstallLocation " + folder));
    }
    SUBCASE("the entry alone") {
        planned.Key(L"HKEY_LOCAL_MACHINE\\" + entry, preview::View::Bits32);
        CHECK(planned.Codes() == Codes{"foreign"});
    }
    SUBCASE("of the product itself") {
        set(L"DisplayName", L"Alpha 2.0");
        planned.Folder(folder);
        CHECK(planned.Codes() == Codes{});
    }
    SUBCASE("a process and a service that run from elsewhere") {
        const auto at = [&](ItemKind kind, const wchar_t* name) {
            planned.Set(planned.plan.items.Child(preview::kNoNode, kind, preview::View::None, name), kind);
        };
        at(ItemKind::Process, L"D:\\Elsewhere\\alpha.exe");
        at(ItemKind::Service, L"MSIServer");
        CHECK(planned.Codes() == Codes{"foreign-process", "foreign-service"});
        planned.Folder(L"D:\\Elsewhere");
        CHECK(planned.Codes() == Codes{"foreign-service"});
    }
    ::RegCloseKey(key);
    RemoveKeyTree(HKEY_LOCAL_MACHINE, entry);
}
