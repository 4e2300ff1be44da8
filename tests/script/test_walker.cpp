// The walk of a script, from the list of versions down to the handlers and the lines and events on the way.

#include <windows.h>

#include <doctest/doctest.h>

#include "script/CProductConfig.h"
#include "support/com_scope.h"
#include "support/notifications.h"
#include "support/recorded_log.h"
#include "support/registry_sandbox.h"
#include "support/script_builder.h"

namespace {

// Keeps what the walk hands to the handlers. An element with the attribute "fail" fails.
class Recorder : public CProductConfig {
public:
    Recorder() : CProductConfig(L"a.xml", &Notifications::Hear) { Notifications::Clear(); }

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
    bool ProcessKillProcess(const Map& map, const std::wstring&) override { return Keep(L"KillProcess", map); }
    bool ProcessSleep(int) override { return Keep(L"Sleep", {}); }

private:
    bool Keep(std::wstring call, const Map& map) {
        for (const auto& [name, value] : map) {
            call += L' ' + name + L'=' + value;
        }
        calls.push_back(call);
        return map.Find(L"fail") == nullptr;
    }
};

}  // namespace

TEST_CASE("the walker's own road ends where its document is to be loaded") {
    const ComScope com;
    RecordedLog log;
    Recorder recorder;
    CHECK_FALSE(recorder.Process());
    CHECK(Notifications::Heard() == L"1/1");
    CHECK(log.Told(L"CProductConfig::Process").starts_with(L"I \"a.xml\" / E load \"a.xml\" failed 0x"));
    CHECK(log.Lines().size() == 2);

    log.Clear();
    Notifications::Clear();
    REFUSE(CoCreateInstance, E_FAIL, 0x57);
    CHECK_FALSE(recorder.Process());
    CHECK(Notifications::Heard() == L"1/3");
    CHECK(log.Told(L"CProductConfig::Process") == L"I \"a.xml\" / E CoCreateInstance CLSID_DOMDocument30 failed 0x57");
}

TEST_CASE("the versions walked are those of the list, in its order and by name") {
    const std::wstring elements = L"<b><win_nt/></b><a><win_nt/></a><c><win_nt/></c><d/>";
    const ComScope com;
    RecordedLog log;
    // Columns: the list, the lines. A version that fails does not stop the next one.
    for (const Lines& row : Rows(LR"(
<a x='y'>z</a><b/> | I ->ProcessVersion a / I <-ProcessVersion a, result = true / I ->ProcessVersion b / I <-ProcessVersion b, result = true
<A/><!--a--> | W the xml doesn't have <A> / W the xml doesn't have <#comment>
<d/><d/> | I ->ProcessVersion d / I <-ProcessVersion d, result = false / I ->ProcessVersion d / I <-ProcessVersion d, result = false
)",
                                 2)) {
        log.Clear();
        Recorder recorder;
        CHECK(recorder.Walk(Document(row[0], elements)));  // whatever became of the versions
        CHECK(log.Told(L"CProductConfig::Process") == L"I \"a.xml\" / " + row[1] + L" / I <- success");
        CHECK(Notifications::events.empty());
    }
    log.Clear();
    Recorder recorder;
    CHECK(recorder.Walk(Document(L"", elements)));
    CHECK(log.Told(L"CProductConfig::Process") == L"I \"a.xml\" / I <- success");
    CHECK_FALSE(recorder.Walk(L"<uninstall_information>" + elements + L"</uninstall_information>"));
    CHECK(log.Told(L"CProductConfig::ReadVersions") == L"E failed load version_list 0x1");
    CHECK(Notifications::events.empty());
    log.Clear();
    CHECK_FALSE(recorder.Walk(L"<information><version_list><a/></version_list>" + elements + L"</information>"));
    CHECK(log.Told(L"CProductConfig::Process") ==
          L"I \"a.xml\" / E failed load \"uninstall_information\" node 0x1 / E failed \"a.xml\"");
    CHECK(Notifications::Heard() == L"0/2");
    CHECK(recorder.appPaths.empty());
}

TEST_CASE("the application path comes of a REG_SZ value, else of the install folder, else it is empty") {
    const RegistrySandbox sandbox;
    const std::wstring longest(130, L'x');
    sandbox.SetString(L"", L"text", L"D:\\App\\");
    sandbox.SetString(L"", L"empty", L"");
    sandbox.SetString(L"", L"129", longest.substr(1));
    sandbox.SetString(L"", L"130", longest);
    // What follows the data is no terminator, which the system would add.
    sandbox.SetValue(L"", L"open end", REG_SZ, (longest + L"x").data(), 260);
    sandbox.SetValue(L"", L"expand", REG_EXPAND_SZ, L"D:\\x", 10);
    sandbox.SetString(L"", L"other", L"D:\\Other", View::Bits32);
    const Nicknames parts = {{L"<P/>", L"<install_folder name='P'/>"},
                             {L"PF", L"C:\\Program Files"},
                             {L"KEY", sandbox.Path()},
                             {L"129x", longest.substr(1)},
                             {L"130x", longest},
                             {L"NOFOLDER", L"can't load \"install_folder\" node"}};
    const ComScope com;
    RecordedLog log;
    // Columns: the version, its path, lines of GetAppPath, lines of GetInstallFolder.
    for (Lines row : Rows(LR"(
<app_path key='KEY' name='text'/> | D:\App\ |
<app_path key='KEY' name='empty'/><P/> | |
<app_path key='KEY' name='129'/><P/> | 129x |
<app_path key='KEY' name='open end'/><P/> | 130x |
<app_path key='KEY' name='130'/><P/> | PF\P | E error read "KEY" "130", error = _ERROR_NOT_FOUND
<app_path key='KEY' name='expand'/><P/> | PF\P | E error read "KEY" "expand", error = _ERROR_NOT_FOUND
64:<app_path key='KEY' name='other'/><P/> | PF\P | E error read "KEY" "other", error = _ERROR_NOT_FOUND
<app_path key='hklm\x' name='n'/><install_folder name=''/> | PF\ | E error read "hklm\x" "n", error = _ERROR_NOT_FOUND
<app_path name='n'/> | | E can't load "key" attribute | E NOFOLDER
<app_path key='HKLM\x'/><install_folder name='a\..\b'/> | PF\a\..\b | E can't load "name" attribute
<install_folder/> | | E can't load "app_path" node 0x1 | E can't load "name" attribute
)",
                          4)) {
        if (row[0].starts_with(L"64:") && !UnderWow64()) {
            continue;
        }
        for (std::wstring& cell : row) {
            cell = parts.Real(cell);
        }
        INFO(Utf8(row[0]));
        log.Clear();
        Recorder recorder;
        recorder.Walk(Document(L"<v/>", L"<v>" + row[0].substr(row[0].find(L'<')) + L"</v>"));
        CHECK(recorder.appPaths == Lines{row[1]});
        CHECK(log.Told(L"CProductConfig::GetAppPath") == row[2]);
        CHECK(log.Told(L"CProductConfig::GetInstallFolder") == row[3]);
        CHECK(log.Told(L"CProductConfig::ProcessVersion") == (row[2].empty() ? L"" : L"W can't load app_path / ") +
                                                                 (row[3].empty() ? L"" : parts.Real(L"E NOFOLDER / ")) +
                                                                 L"I app_path = \"" + row[1] + L"\"");
    }
}

TEST_CASE("a section runs its elements as it stands for them, and tells how it went") {
    const ComScope com;
    RecordedLog log;
    // Columns: the section, events, calls, lines. The section's operation wins, empty values stay, names keep their
    // case.
    for (const Lines& row : Rows(LR"(
<s op_code='del_file'/> | 2/0, | |
<s><a/></s> | | | E failed get attribute "op_code"
<!--del_file--> | | | E failed get attribute "op_code"
<s op_code='DEL_File'><a op_code='kill_process' x='' X=' &lt;'><b y='1'/>sleep</a></s> | 2/0, | DelFile X= < op_code=DEL_File x= | I ->node "a" / I <-node "a"
<s op_code='del_file'><a fail=''/><b/></s> | 2/2, | DelFile fail= op_code=del_file / DelFile op_code=del_file | I ->node "a" / E ExecOperation failed / I <-node "a" / I ->node "b" / I <-node "b"
<s op_code='del_file'><SLEEP value='9'/><b/></s> | 2/0, | DelFile op_code=del_file | I ->node "SLEEP" / W <sleep> not supported ! . use the 'sleep_after_exec' attribute instead / I ->node "b" / I <-node "b"
<s op_code='del_file'><a/><!--c--><b/></s> | 2/2, | DelFile op_code=del_file | I ->node "a" / I <-node "a" / I ->node "#comment" / E failed get element attributes
<s op_code='del_file'>text<a/></s> | 2/2, | | I ->node "#text" / E failed get element attributes
<s op_code=''><a/></s> | | | I ->node "a" / E ExecOperation failed / I <-node "a"
)",
                                 4)) {
        INFO(Utf8(row[0]));
        log.Clear();
        Recorder recorder;
        CHECK(recorder.Walk(Script(row[0] + L"<s op_code='kill_process'/>")));
        CHECK(Notifications::Heard() == row[1] + (row[1].empty() ? L"8/0" : L" 8/0"));
        CHECK(Joined(recorder.calls) == row[2]);
        CHECK(log.Told(L"CProductConfig::ProcessSection") == row[3]);
        CHECK(log.Told(L"CProductConfig::ProcessNTVersion") == (row[1] != L"2/0," ? L"E ProcessSection failed" : L""));
    }
}
