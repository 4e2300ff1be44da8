// What a scan lists of a script, and how its lists are asked. No text reaches a scan, but one that is made to arrive.

#include <windows.h>

#include <doctest/doctest.h>

#include <utility>

#include "foundation/text.h"
#include "script/CProductCheckUse.h"
#include "support/com_scope.h"
#include "support/recorded_log.h"
#include "support/registry_sandbox.h"
#include "support/script_builder.h"
#include "support/temp_folder.h"

namespace {

class Scan : public CProductCheckUse {
public:
    Scan() : CProductCheckUse(L"staying.xml") {}

    // All that is listed, list after list, one text each.
    Lines Listed() const {
        Lines lines;
        Append(lines, L"file ", usedFiles);
        Append(lines, L"folder ", usedFolders);
        Append(lines, L"key ", usedRegKeys);
        Append(lines, L"value ", usedRegValues);
        Append(lines, L"driver ", usedDrivers);
        Append(lines, L"tool ", usedTools);
        return lines;
    }

private:
    static std::wstring Text(const std::wstring& text) { return text; }
    static std::wstring Text(const RegistryEntry& entry) { return entry.path + (entry.x32view ? L" x32" : L""); }
    static std::wstring Text(const ToolEntry& entry) { return entry.path + L" > " + entry.parameters; }

    template <typename Entry>
    static void Append(Lines& lines, const wchar_t* kind, const std::vector<Entry>& entries) {
        for (const Entry& entry : entries) {
            lines.push_back(kind + Text(entry));
        }
    }
};

// The scan of a text that arrives.
Scan ScanOf(const std::wstring& text) {
    const ArrivingText arriving(text);
    return Scan();
}

View Native() {
    return UnderWow64() ? View::Bits64 : View::Default;
}

std::wstring OwnFolder() {
    wchar_t program[MAX_PATH] = {};
    ::GetModuleFileNameW(nullptr, program, MAX_PATH);
    const std::wstring path = program;
    return path.substr(0, path.rfind(L'\\') + 1);
}

}  // namespace

TEST_CASE("a scan by its own road is empty, says why and protects nothing") {
    const ComScope com;
    const RecordedLog log;
    const Scan scan;
    CHECK(scan.Listed().empty());
    CHECK_FALSE(scan.HasTool(L"", L""));
    CHECK_FALSE(scan.HasRegValue(L"", L"", false));
    CHECK(scan.GetScriptName() == L"staying.xml");
    CHECK(log.Of(L"CProductCheckUse::CProductCheckUse") == Lines{L"4 CProductConfig::Process failed"});
    CHECK(log.Of(L"CProductConfig::Process").size() == 2);
    CHECK(log.Lines().size() == 3);
}

TEST_CASE("the six lists of all listed versions, sorted and each entry once") {
    const ComScope com;
    const TempFolder folder;
    folder.WriteFile(L"tree\\sub\\b.txt");
    folder.WriteFile(L"tree\\a.txt");
    const RegistrySandbox sandbox;
    sandbox.SetString(L"k\\sub", L"v", L"", Native());
    sandbox.SetString(L"k", L"v1", L"data", Native());
    sandbox.SetString(L"k", L"v2", L"", Native());
    sandbox.MakeKey(L"k", View::Bits32);
    const std::wstring tree = folder.Path(L"tree");
    const std::wstring key = sandbox.Path(L"k");
    const std::wstring shortKey = L"HKLM\\" + sandbox.Subkey(L"k");

    const std::wstring first =
        Section(L"del_file", L"name='" + tree + L"\\sub\\..\\a.txt'") + Section(L"del_file", L"name='C:\\Z'") +
        Section(L"del_file", L"name='C:\\a'") + Section(L"del_file", L"name='#####C:\\m'") +
        Section(L"del_file", L"path='app_path' name='#####m.sys'") + Section(L"del_folder", L"name='" + tree + L"'") +
        Section(L"del_shortcut", L"path='C:\\x\\..\\l.lnk' target_name='t'") +
        Section(L"disable_service", L"name='S'") + Section(L"kill_process", L"target_name='t'") +
        Section(L"disableandstop_driver", L"name='T'") + Section(L"disableandstop_service", L"name='T'");
    const std::wstring second = Section(L"del_file", L"name='C:\\a'") + Section(L"disable_driver", L"name='D'") +
                                Section(L"disable_driver", L"name='S'") +
                                Section(L"del_regkey", L"name='" + shortKey + L"'") +
                                Section(L"del_regkey", L"name='" + shortKey + L"' data_str='none;data' x32view='0'") +
                                Section(L"del_regvalue", L"key_path='" + key + L"' name='gone'") +
                                Section(L"del_regvalue", L"key_path='" + key + L"' name='gone' x32view='1'") +
                                Section(L"del_regvalue", L"key_path='" + key + L"' name='v*'") +
                                Section(L"exec_tool", L"tool_name='C:\\B.exe' cmd_line='/X Y'") +
                                Section(L"exec_tool", L"tool_name='c:\\b.EXE' cmd_line=' /xy '") +
                                Section(L"exec_tool", L"tool_name='C:\\b.exe'");
    const auto version = [](const wchar_t* name, const std::wstring& sections) {
        return L"<" + std::wstring(name) + L"><install_folder name='P'/><win_nt>" + sections + L"</win_nt></" + name +
               L">";
    };
    Scan scan = ScanOf(Document(L"<a/><none/><b/>", version(L"a", first) + version(L"b", second)));
    CHECK(scan.Listed() == Lines{L"file #####C:\\m",
                                 L"file C:\\Program Files\\P\\m.sys",
                                 L"file C:\\Z",
                                 L"file C:\\a",
                                 L"file " + tree + L"\\a.txt",
                                 L"file " + tree + L"\\sub\\b.txt",
                                 L"file C:\\x\\..\\l.lnk",
                                 L"folder " + tree,
                                 L"folder " + tree + L"\\sub",
                                 L"key " + key,
                                 L"key " + key + L"\\sub",
                                 L"key " + shortKey,
                                 L"value " + key + L"\\gone",
                                 L"value " + key + L"\\gone x32",
                                 L"value " + key + L"\\sub\\v",
                                 L"value " + key + L"\\v1",
                                 L"value " + key + L"\\v2",
                                 L"driver D",
                                 L"driver S",
                                 L"tool c:\\b.exe > ",
                                 L"tool c:\\b.exe > /xy"});
    CHECK(scan.HasRegValue(key, L"gone", true));
    CHECK(scan.HasRegValue(key + L"\\", L"v1", false));
    CHECK_FALSE(scan.HasRegValue(key, L"v1", true));
    CHECK_FALSE(scan.HasRegValue(key, L"V1", false));

    const Lines listed = scan.Listed();
    const Scan moved(std::move(scan));
    CHECK(moved.Listed() == listed);
    CHECK(moved.GetScriptName() == L"staying.xml");
    CHECK(scan.Listed().empty());
    CHECK(scan.GetScriptName() == L"staying.xml");
}

TEST_CASE("an element that cannot be expanded costs a line; only a registry entry that is missing does not fail it") {
    const struct {
        const wchar_t* opCode;
        const wchar_t* attributes;
        const wchar_t* handler;
        const wchar_t* line;
        bool succeeds = false;
    } rows[] = {
        {L"del_shortcut", L"path='l' target_name='t' rel_target=''", L"DelShortcut", L"failed get path for \"\""},
        {L"del_regkey", L"name='HKLM\\p\\q'", L"DelRegKey", L"failed _ERROR_NOT_FOUND \"HKLM\\p\\q\"", true},
        {L"del_regvalue", L"key_path='HKLM\\p\\q' name='v'", L"DelRegVal",
         L"failed _ERROR_NOT_FOUND \"v\" from \"HKLM\\p\\q\"", true},
        {L"del_regvalue", L"key_path='k' name='v' rel_name='x'", L"DelRegVal", L"unknown special folder x"},
        {L"exec_tool", L"path='x'", L"ExecTool", L"unknown special folder \"x\""},
        {L"exec_tool", L"module=''", L"ExecDllMethod", L"method_name attributte is missing"},
        {L"disable_service", L"", L"DisableDriver", L"no driver name"},
    };
    const ComScope com;
    RecordedLog log;
    for (const auto& row : rows) {
        log.Clear();
        ScanOf(Script(Section(row.opCode, row.attributes)));
        CHECK(log.Of(L"CProductCheckUse::Process" + std::wstring(row.handler)) ==
              Lines{L"4 " + std::wstring(row.line)});
        CHECK(log.Has(4, L"CProductConfig::ProcessSection", L"ExecOperation failed") == !row.succeeds);
    }
}

TEST_CASE("a tool is listed by its whole path, in lower case, whatever system it is meant for") {
    const std::wstring own = LowerCase(OwnFolder());
    const std::wstring tooLong(300, L'x');
    ::SetEnvironmentVariableW(L"prodrm_long", tooLong.c_str());
    const struct {
        const wchar_t* attributes;
        std::wstring listed;
    } rows[] = {
        {L"tool_name='%SystemRoot%\\My Tool.EXE' cmd_line='/A&#9;B c' os='x32'", L"c:\\windows\\my tool.exe > /a\tbc"},
        {L"path='app_path' tool_name='..\\T.exe' os='x64'", L"c:\\program files\\p\\..\\t.exe > "},
        {L"path='windows_folder' cmd_line='a'", L"c:\\windows > a"},
        {L"path='' tool_name='sub\\T.exe'", own + L"sub\\t.exe > "},
        {L"tool_name='C:\\%prodrm_long%'", L"c:\\%prodrm_long% > "},
        {L"module='M.dll' method_name='Do It' tool_name='t' cmd_line='c'", own + L"m.dll > doit"},
    };
    const ComScope com;
    for (const auto& row : rows) {
        const Scan scan = ScanOf(Script(Section(L"exec_tool", row.attributes)));
        CHECK(scan.Listed() == Lines{L"tool " + row.listed});
    }
    const Scan scan = ScanOf(Script(Section(L"exec_tool", rows[0].attributes)));
    CHECK(scan.HasTool(L"C:\\WINDOWS\\My Tool.exe", L" /a\tB C "));
    CHECK_FALSE(scan.HasTool(L"C:\\Windows\\MyTool.exe", L"/a\tbc"));
    CHECK_FALSE(scan.HasTool(L"C:\\Windows\\My Tool.exe", L"/abc"));
    CHECK_FALSE(scan.HasTool(L"C:\\Windows\\My Tool.exe", L""));
}
