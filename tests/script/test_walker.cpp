// The walk of a script, from the list of versions down to the handlers and the lines and events on the way.

#include <windows.h>

#include <doctest/doctest.h>

#include "script/CProductConfig.h"
#include "support/com_scope.h"
#include "support/import_patch.h"
#include "support/recorded_log.h"
#include "support/registry_sandbox.h"
#include "support/script_builder.h"

namespace {

Lines g_events;
void __cdecl Hear(LONG event, LONG result, LONG_PTR value) {
    CHECK(value == 0);
    g_events.push_back(std::to_wstring(event) + L'/' + std::to_wstring(result));
}

// Keeps what the walk hands to the handlers. An element with the attribute "fail" fails.
class Recorder : public CProductConfig {
public:
    explicit Recorder(NotifyCallback notify = &Hear) : CProductConfig(L"a.xml", notify) { g_events.clear(); }

    bool Walk(const std::wstring& text) {
        const ArrivingText arriving(text);
        return Process();
    }

    Lines calls;     // "Handler name=value name=value"
    Lines appPaths;  // of each version

protected:
    using Map = OperationAttributes;
    bool ProcessNTVersion(IXMLDOMNode* version, const std::wstring& appPath) override {
        appPaths.push_back(appPath);
        return CProductConfig::ProcessNTVersion(version, appPath);
    }
    bool ProcessDelFile(const Map& map, const std::wstring&) override { return Keep(L"DelFile", map); }
    bool ProcessDelFolder(const Map& map, const std::wstring&) override { return Keep(L"DelFolder", map); }
    bool ProcessDelShortcut(const Map& map, const std::wstring&) override { return Keep(L"DelShortcut", map); }
    bool ProcessDelRegKey(const Map& map, const std::wstring&) override { return Keep(L"DelRegKey", map); }
    bool ProcessDelRegVal(const Map& map, const std::wstring&) override { return Keep(L"DelRegVal", map); }
    bool ProcessKillProcess(const Map& map, const std::wstring&) override { return Keep(L"KillProcess", map); }
    bool ProcessExecTool(const Map& map, const std::wstring&) override { return Keep(L"ExecTool", map); }
    bool ProcessSleep(int) override { return Keep(L"Sleep", {}); }
    bool ProcessDisableDriver(const Map& map, const std::wstring&) override { return Keep(L"DisableDriver", map); }
    bool ProcessDisableService(const Map& map, const std::wstring&) override { return Keep(L"DisableService", map); }
    bool ProcessDisableAndStopDriver(const Map& map, const std::wstring&) override { return Keep(L"StopDriver", map); }
    bool ProcessDisableAndStopService(const Map& map, const std::wstring&) override {
        return Keep(L"StopService", map);
    }

private:
    bool Keep(std::wstring call, const Map& map) {
        for (const auto& [name, value] : map) {
            call += L' ' + name + L'=' + value;
        }
        calls.push_back(call);
        return map.Find(L"fail") == nullptr;
    }
};

HRESULT WINAPI RefuseInstance(REFCLSID, IUnknown*, DWORD, REFIID, void**) {
    ::SetLastError(0x57);
    return E_FAIL;
}

}  // namespace

TEST_CASE("the walker's own road ends where its document is to be loaded") {
    const ComScope com;
    RecordedLog log;
    Recorder recorder;
    CHECK_FALSE(recorder.Process());
    CHECK(g_events == Lines{L"1/1"});
    Lines lines = log.Of(L"CProductConfig::Process");
    REQUIRE(lines.size() == 2);
    CHECK(lines[0] == L"16 \"a.xml\"");
    CHECK(lines[1].starts_with(L"4 load \"a.xml\" failed 0x"));
    CHECK(log.Lines().size() == 2);

    log.Clear();
    g_events.clear();
    const ImportPatch refused("CoCreateInstance", &RefuseInstance);
    CHECK_FALSE(recorder.Process());
    CHECK(g_events == Lines{L"1/3"});
    lines = {L"16 \"a.xml\"", L"4 CoCreateInstance CLSID_DOMDocument30 failed 0x57"};
    CHECK(log.Of(L"CProductConfig::Process") == lines);
}

TEST_CASE("the versions walked are those of the list, in its order and by name") {
    const std::wstring elements = L"<b><win_nt/></b><a><win_nt/></a><c><win_nt/></c><d/>";
    const Lines a = {L"16 ->ProcessVersion a", L"16 <-ProcessVersion a, result = true"};
    const Lines ab = {a[0], a[1], L"16 ->ProcessVersion b", L"16 <-ProcessVersion b, result = true"};
    const Lines da = {L"16 ->ProcessVersion d", L"16 <-ProcessVersion d, result = false", a[0], a[1]};
    const struct {
        const wchar_t* listed;
        Lines lines;
    } rows[] = {
        {L"<a x='y'>z</a><b/>", ab},
        {L"<A/><a/>", {L"8 the xml doesn't have <A>", a[0], a[1]}},
        {L"<!--a--><a/>", {L"8 the xml doesn't have <#comment>", a[0], a[1]}},
        {L"<a/><a/>", {a[0], a[1], a[0], a[1]}},
        {L"<d/><a/>", da},  // a version that fails does not stop the next one
        {L"<e/>", {L"8 the xml doesn't have <e>"}},
        {L"", {}},
    };
    const ComScope com;
    RecordedLog log;
    for (const auto& row : rows) {
        log.Clear();
        Recorder recorder;
        CHECK(recorder.Walk(Document(row.listed, elements)));  // whatever became of the versions
        Lines lines = row.lines;
        lines.insert(lines.begin(), L"16 \"a.xml\"");
        lines.push_back(L"16 <- success");
        CHECK(log.Of(L"CProductConfig::Process") == lines);
        CHECK(log.Of(L"CProductConfig::ReadVersions").empty());
        CHECK(g_events.empty());
    }
    log.Clear();
    Recorder recorder;
    CHECK_FALSE(recorder.Walk(L"<uninstall_information>" + elements + L"</uninstall_information>"));
    CHECK(log.Of(L"CProductConfig::ReadVersions") == Lines{L"4 failed load version_list 0x1"});
    CHECK(g_events.empty());
    log.Clear();
    CHECK_FALSE(recorder.Walk(L"<information><version_list><a/></version_list>" + elements + L"</information>"));
    CHECK(log.Of(L"CProductConfig::Process") ==
          Lines{L"16 \"a.xml\"", L"4 failed load \"uninstall_information\" node 0x1", L"4 failed \"a.xml\""});
    CHECK(g_events == Lines{L"0/2"});
    CHECK(recorder.appPaths.empty());
}

TEST_CASE("the application path comes of a REG_SZ value, else of the install folder, else it is empty") {
    const RegistrySandbox sandbox;
    const View native = UnderWow64() ? View::Bits64 : View::Default;
    const std::wstring longest(130, L'x');
    sandbox.SetString(L"", L"text", L"D:\\App\\", native);
    sandbox.SetString(L"", L"empty", L"", native);
    sandbox.SetString(L"", L"129", longest.substr(1), native);
    sandbox.SetString(L"", L"130", longest, native);
    // What follows the data is no terminator, which the system would add.
    sandbox.SetValue(L"", L"open end", REG_SZ, (longest + L"x").data(), 260, native);
    sandbox.SetValue(L"", L"expand", REG_EXPAND_SZ, L"D:\\x", 10, native);
    sandbox.SetString(L"", L"other", L"D:\\Other", View::Bits32);

    const auto keyed = [&](const std::wstring& name) {
        return L"<app_path key='" + sandbox.Path() + L"' name='" + name + L"'/><install_folder name='P'/>";
    };
    const auto unread = [&](const std::wstring& name) {
        return Lines{L"4 error read \"" + sandbox.Path() + L"\" \"" + name + L"\", error = _ERROR_NOT_FOUND"};
    };
    const std::wstring folder = L"C:\\Program Files\\P";
    const std::wstring noKey = L"4 error read \"hklm\\x\" \"n\", error = _ERROR_NOT_FOUND";
    const Lines noNode = {L"4 can't load \"app_path\" node 0x1"};
    const struct {
        std::wstring content;
        std::wstring appPath;
        Lines lines;          // of GetAppPath
        Lines folderLines{};  // of GetInstallFolder
    } rows[] = {
        {keyed(L"text"), L"D:\\App\\", {}},
        {keyed(L"empty"), L"", {}},
        {keyed(L"129"), longest.substr(1), {}},
        {keyed(L"open end"), longest, {}},
        {keyed(L"130"), folder, unread(L"130")},
        {keyed(L"expand"), folder, unread(L"expand")},
        {keyed(L"none"), folder, unread(L"none")},
        {keyed(L"other"), UnderWow64() ? folder : L"D:\\Other", UnderWow64() ? unread(L"other") : Lines{}},
        {L"<app_path key='hklm\\x' name='n'/><install_folder name=''/>", L"C:\\Program Files\\", {noKey}},
        {L"<app_path name='n'/>", L"", {L"4 can't load \"key\" attribute"}, {L"4 can't load \"install_folder\" node"}},
        {L"<app_path key='HKLM\\x'/><install_folder name='a\\..\\b'/>",
         L"C:\\Program Files\\a\\..\\b",
         {L"4 can't load \"name\" attribute"}},
        {L"<install_folder/>", L"", noNode, {L"4 can't load \"name\" attribute"}},
    };
    const ComScope com;
    RecordedLog log;
    for (const auto& row : rows) {
        log.Clear();
        Recorder recorder;
        recorder.Walk(Document(L"<v/>", L"<v>" + row.content + L"</v>"));
        CHECK(recorder.appPaths == Lines{row.appPath});
        CHECK(log.Of(L"CProductConfig::GetAppPath") == row.lines);
        CHECK(log.Of(L"CProductConfig::GetInstallFolder") == row.folderLines);
        Lines told = {L"16 app_path = \"" + row.appPath + L"\""};
        if (!row.folderLines.empty()) {
            told.insert(told.begin(), L"4 can't load \"install_folder\" node");
        }
        if (!row.lines.empty()) {
            told.insert(told.begin(), L"8 can't load app_path");
        }
        CHECK(log.Of(L"CProductConfig::ProcessVersion") == told);
    }
}

TEST_CASE("a section runs its elements as it stands for them, and tells how it went") {
    const Lines attributesMissing = {L"4 failed get element attributes"};
    const struct {
        const wchar_t* section;
        Lines events;
        Lines calls;
        Lines lines;
    } rows[] = {
        {L"<s op_code='del_file'/>", {L"2/0"}, {}, {}},
        {L"<s><a/></s>", {}, {}, {L"4 failed get attribute \"op_code\""}},
        {L"<!--del_file-->", {}, {}, {L"4 failed get attribute \"op_code\""}},
        // The section's operation wins, empty values stay, and names keep their case.
        {L"<s op_code='DEL_File'><a op_code='kill_process' x='' X=' &lt;'><b y='1'/>sleep</a></s>",
         {L"2/0"},
         {L"DelFile X= < op_code=DEL_File x="},
         {L"16 ->node \"a\"", L"16 <-node \"a\""}},
        {L"<s op_code='del_file'><a fail=''/><b/></s>",
         {L"2/2"},
         {L"DelFile fail= op_code=del_file", L"DelFile op_code=del_file"},
         {L"16 ->node \"a\"", L"4 ExecOperation failed", L"16 <-node \"a\"", L"16 ->node \"b\"", L"16 <-node \"b\""}},
        {L"<s op_code='del_file'><SLEEP value='9'/><b/></s>",
         {L"2/0"},
         {L"DelFile op_code=del_file"},
         {L"16 ->node \"SLEEP\"", L"8 <sleep> not supported ! . use the 'sleep_after_exec' attribute instead",
          L"16 ->node \"b\"", L"16 <-node \"b\""}},
        {L"<s op_code='del_file'><a/><!--c--><b/></s>",
         {L"2/2"},
         {L"DelFile op_code=del_file"},
         {L"16 ->node \"a\"", L"16 <-node \"a\"", L"16 ->node \"#comment\"", attributesMissing[0]}},
        {L"<s op_code='del_file'>text<a/></s>", {L"2/2"}, {}, {L"16 ->node \"#text\"", attributesMissing[0]}},
        {L"<s op_code='del_file'><?pi x='1'?><a/></s>", {L"2/2"}, {}, {L"16 ->node \"pi\"", attributesMissing[0]}},
        {L"<s op_code=''><a/></s>", {}, {}, {L"16 ->node \"a\"", L"4 ExecOperation failed", L"16 <-node \"a\""}},
    };
    const ComScope com;
    RecordedLog log;
    for (const auto& row : rows) {
        log.Clear();
        Recorder recorder;
        INFO(Utf8(row.section));
        const std::wstring next = L"<s op_code='kill_process'/>";
        CHECK(recorder.Walk(Script(row.section + next)));
        Lines events = row.events;
        events.push_back(L"8/0");
        CHECK(g_events == events);
        CHECK(recorder.calls == row.calls);
        CHECK(log.Of(L"CProductConfig::ProcessSection") == row.lines);
        const bool failed = row.events != Lines{L"2/0"};
        CHECK(log.Of(L"CProductConfig::ProcessNTVersion") == (failed ? Lines{L"4 ProcessSection failed"} : Lines{}));
    }
}
