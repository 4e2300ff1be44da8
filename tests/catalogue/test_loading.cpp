#include <windows.h>
#include <doctest/doctest.h>

#include <string>
#include <string_view>
#include <vector>

#include "catalogue/CProducts.h"
#include "foundation/dom.h"
#include "foundation/owned.h"
#include "foundation/path.h"
#include "support/com_scope.h"
#include "support/import_patch.h"
#include "support/recorded_log.h"
#include "support/registry_sandbox.h"
#include "support/show_text.h"
#include "support/temp_folder.h"

namespace {

using Lines = std::vector<std::wstring>;

Lines g_events;
void __cdecl RecordEvent(LONG event, LONG result, LONG_PTR value) {
    g_events.push_back(std::to_wstring(event) + L' ' + std::to_wstring(result) + L' ' +
                       (event == 13 ? reinterpret_cast<const wchar_t*>(value) : std::to_wstring(value)));
}

std::string InRoot(std::string_view content) {
    return "<?xml version='1.0'?><uninstall_information>" + std::string(content) + "</uninstall_information>";
}

// Everything but the attribute reader's own lines, with "FILE" for the catalogue's path.
Lines LoadLines(const LogRecorder& log, const std::wstring& file) {
    Lines lines;
    for (const LogLine& line : log.Lines()) {
        std::wstring text = std::to_wstring(line.level) + L' ' + line.function + L": " + line.text;
        if (const std::size_t at = text.find(file); at != std::wstring::npos) {
            text.replace(at, file.size(), L"FILE");
        }
        if (line.function != L"CXMLHelper::GetNodeAttribute") {
            lines.push_back(text);
        }
    }
    return lines;
}

std::wstring OwnFolder() {
    std::wstring folder;
    CPath::GetCurrentPath(folder);
    return folder;
}

}  // namespace

TEST_CASE("a catalogue loads in document order, or is refused with its lines and its event") {
    const Lines productLines = {L"16 CProduct::Load: ->", L"16 CProduct::Load: Load product \"P\"",
                                L"16 CProduct::Load: file : \"p.xml\""};
    const struct {
        std::string document;
        Lines names;
        Lines events;
        Lines lines;  // between the first line of CProducts::Load and its last
        bool bare = false;
    } rows[] = {
        {InRoot(""), {}, {L"0 0 0"}, {}},
        {InRoot("<!--c--><unknown name='x'/><Product/><?pi?>text"), {}, {L"0 0 0"}, {}},
        {InRoot("<product name='P' file='p.xml'/>"),
         {L"P"},
         {L"0 0 1"},
         {productLines[0], productLines[1], productLines[2], L"16 CProduct::Load: <- success product \"P\""}},
        {InRoot("<product file='p.xml'/>"),
         {},
         {L"0 2 0"},
         {productLines[0], L"4 CProduct::Load: failed load product attribute \"name\""}},
        {InRoot("<product name='P'/>"),
         {},
         {L"0 2 0"},
         {productLines[0], productLines[1], L"4 CProduct::Load: failed load product attribute \"file\""}},
        {InRoot("<product name='P' file='p.xml'><v name='v' id='i'/><!--c--></product>"),
         {},
         {L"0 2 0"},
         {productLines[0], productLines[1], productLines[2], L"4 CProductVersion::Load: failed get attribute \"name\"",
          L"4 CProduct::Load: failed load product version for product \"P\"",
          L"4 CProduct::Load: <- failed product \"P\""}},
        {InRoot("<product name='P' file='p.xml'><v name='v' keypath='HKLM\\x'/></product>"),
         {},
         {L"0 2 0"},
         {productLines[0], productLines[1], productLines[2],
          L"8 CProductVersion::Load: failed get attribute \"id\" for version product = v",
          L"4 CProductVersion::Load: failed get attribute \"keyvalue\" for version product = v",
          L"4 CProduct::Load: failed load product version for product \"P\"",
          L"4 CProduct::Load: <- failed product \"P\""}},
        {"<uninstall_information>", {}, {L"0 1 0"}, {L"4 CProducts::Load: load \"FILE\" failed 0x1"}, true},
        {"", {}, {L"0 1 0"}, {L"4 CProducts::Load: load \"FILE\" failed 0x1"}, true},
    };
    const ComScope com;
    const TempFolder folder;
    const std::wstring file = folder.Path(L"c.xml");
    for (const auto& row : rows) {
        CAPTURE(row.document);
        folder.WriteFile(L"c.xml", row.document);
        const RecordedLog log;
        g_events.clear();
        CProducts catalogue;
        const bool loaded = row.events.front().starts_with(L"0 0");
        CHECK(catalogue.Load(file, 1, &RecordEvent) == loaded);
        CHECK(g_events == row.events);
        Lines lines = {L"16 CProducts::Load: ->file : \"FILE\""};
        lines.insert(lines.end(), row.lines.begin(), row.lines.end());
        if (loaded) {
            lines.emplace_back(L"16 CProducts::Load: <-success \"FILE\"");
        } else if (!row.bare) {
            lines.emplace_back(L"4 CProducts::Load: failed load product");
            lines.emplace_back(L"4 CProducts::Load: <-failed \"FILE\"");
        }
        CHECK(LoadLines(log, file) == lines);
        Lines names;
        for (const CProduct& product : catalogue.Products()) {
            names.push_back(product.Name());
        }
        CHECK(names == row.names);
    }
}

TEST_CASE("loading appends, keeps what a bad product left and names scripts by the catalogue's type") {
    const ComScope com;
    const TempFolder folder;
    const std::wstring good =
        folder.WriteFile(L"g.xml", InRoot("<product name='Z' file='z.xml'/><x/><product name='A' file='..\\a.xml'/>"));
    const std::wstring bad = folder.WriteFile(L"b.xml", InRoot("<product name='K' file=''/><product/>"));
    g_events.clear();
    CProducts catalogue;
    CHECK(catalogue.Load(good, 1, &RecordEvent));
    CHECK(catalogue.Load(good, 2, &RecordEvent));
    CHECK_FALSE(catalogue.Load(bad, 7, &RecordEvent));
    CHECK(catalogue.Load(good, 1, nullptr));
    CHECK(g_events == Lines{L"0 0 2", L"0 0 4", L"0 2 0"});
    Lines files;
    for (const CProduct& product : catalogue.Products()) {
        files.push_back(product.Name() + L' ' + product.File());
    }
    const std::wstring here = OwnFolder();
    CHECK(files == Lines{L"Z " + here + L"intern\\z.xml", L"A " + here + L"intern\\..\\a.xml",
                         L"Z " + here + L"extern\\z.xml", L"A " + here + L"extern\\..\\a.xml",
                         L"K " + here + L"extern\\", L"Z " + here + L"intern\\z.xml",
                         L"A " + here + L"intern\\..\\a.xml"});
}

TEST_CASE("exec_all is false for that one text, and the last one counts") {
    const struct {
        const char* elements;
        bool execAll;
    } rows[] = {
        {"", true},
        {"<exec_all>false</exec_all>", false},
        {"<exec_all>False</exec_all>", true},
        {"<exec_all/>", true},
        {"<exec_all>false</exec_all><exec_all/>", true},
        {"<exec_all>false</exec_all><exec_all>0</exec_all>", true},
        {"<exec_all>true</exec_all><exec_all><b>fal</b>se</exec_all>", false},
        {"<Exec_all>false</Exec_all>", true},
    };
    const ComScope com;
    const TempFolder folder;
    const RegistrySandbox registry;
    registry.SetString(L"UpdateLocation", L"Path", L"C:\\", View::Bits64);
    const std::wstring path = registry.Path();
    const std::string key(path.begin(), path.end());
    for (const auto& row : rows) {
        CAPTURE(row.elements);
        const std::wstring file = folder.WriteFile(
            L"c.xml", InRoot("<product name='Installed' file='i.xml'><v name='v' keypath='" + key +
                             "' keyvalue='Path'/></product>" + row.elements + "<product name='Rest' file='r.xml'/>"));
        CProducts catalogue;
        REQUIRE(catalogue.Load(file, 1, nullptr));
        // The one installed product of the family takes the rest along, unless the catalogue forbids it.
        g_events.clear();
        bool restart = false;
        catalogue.Uninstall({L"Installed"}, {}, 1, &restart, &RecordEvent);
        Lines removed;
        for (const std::wstring& event : g_events) {
            if (event.starts_with(L"13 ")) {
                removed.push_back(event.substr(5));
            }
        }
        CHECK(removed == (row.execAll ? Lines{L"Installed", L"Rest"} : Lines{L"Installed"}));
    }
}

namespace {

// What the child process has seen when it comes down.
std::wstring g_crashFolder;
const LogRecorder* g_crashLog = nullptr;

LONG WINAPI ReportCrash(EXCEPTION_POINTERS*) {
    Lines all = g_events;
    for (const std::wstring& line : LoadLines(*g_crashLog, g_crashFolder + L"\\c.xml")) {
        all.push_back(line);
    }
    const OwnedFileHandle out(
        ::CreateFileW((g_crashFolder + L"\\report").c_str(), GENERIC_WRITE, 0, nullptr, CREATE_ALWAYS, 0, nullptr));
    for (const std::wstring& line : all) {
        const std::string bytes = std::string(line.begin(), line.end()) + "\n";
        DWORD written = 0;
        ::WriteFile(out.Get(), bytes.data(), static_cast<DWORD>(bytes.size()), &written, nullptr);
    }
    return EXCEPTION_EXECUTE_HANDLER;  // ends the process with the exception's code
}

}  // namespace

// Run by the test below in a process of its own.
TEST_CASE("child: load a catalogue without its root element" * doctest::skip()) {
    wchar_t folder[MAX_PATH] = {};
    REQUIRE(::GetEnvironmentVariableW(L"PRODRM_CRASH_FOLDER", folder, MAX_PATH) != 0);
    const ComScope com;
    const RecordedLog log;
    g_crashFolder = folder;
    g_crashLog = &log;
    ::SetUnhandledExceptionFilter(&ReportCrash);
    CProducts().Load(g_crashFolder + L"\\c.xml", 1, &RecordEvent);
}

TEST_CASE("a catalogue without its root element brings the process down after the report") {
    const TempFolder folder;
    folder.WriteFile(L"c.xml", "<uninstall_informations/>");
    ::SetEnvironmentVariableW(L"PRODRM_CRASH_FOLDER", folder.Path().c_str());
    wchar_t program[MAX_PATH] = {};
    ::GetModuleFileNameW(nullptr, program, MAX_PATH);
    std::wstring line = L"\"" + std::wstring(program) + L"\" --no-skip --test-case=child:*without*root*";
    STARTUPINFOW startup = {};
    startup.cb = sizeof startup;
    PROCESS_INFORMATION process = {};
    REQUIRE(::CreateProcessW(nullptr, line.data(), nullptr, nullptr, FALSE, 0, nullptr, nullptr, &startup, &process));
    const OwnedHandle child(process.hProcess);
    ::CloseHandle(process.hThread);
    REQUIRE(::WaitForSingleObject(child.Get(), 60000) == WAIT_OBJECT_0);
    DWORD code = 0;
    ::GetExitCodeProcess(child.Get(), &code);
    CHECK(code == EXCEPTION_ACCESS_VIOLATION);

    const OwnedFileHandle report(
        ::CreateFileW(folder.Path(L"report").c_str(), GENERIC_READ, 0, nullptr, OPEN_EXISTING, 0, nullptr));
    char bytes[1024] = {};
    DWORD read = 0;
    ::ReadFile(report.Get(), bytes, sizeof bytes - 1, &read, nullptr);
    CHECK(std::string(bytes) ==
          "0 2 0\n"
          "16 CProducts::Load: ->file : \"FILE\"\n"
          "4 CProducts::Load: failed load \"uninstall_information\" node 0x1\n"
          "4 CProducts::Load: failed \"FILE\"\n");
}
