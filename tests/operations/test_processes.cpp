#include <windows.h>
#include <tlhelp32.h>

#include <doctest/doctest.h>

#include <string>
#include <utility>
#include <vector>

#include "foundation/log.h"
#include "foundation/owned.h"
#include "operations/COperations.h"
#include "support/import_patch.h"
#include "support/recorded_log.h"
#include "support/temp_folder.h"

namespace {

using Lines = std::vector<std::wstring>;

std::wstring BesideTest(const std::wstring& name) {
    wchar_t program[MAX_PATH] = {};
    ::GetModuleFileNameW(nullptr, program, MAX_PATH);
    const std::wstring path = program;
    return path.substr(0, path.rfind(L'\\') + 1) + name;
}

// A running process of an image name that only one test has.
class Victim {
public:
    explicit Victim(const std::wstring& program) {
        STARTUPINFOW startup = {};
        startup.cb = sizeof startup;
        REQUIRE(::CreateProcessW(program.c_str(), nullptr, nullptr, nullptr, FALSE, 0, nullptr, nullptr, &startup,
                                 &m_process));
    }
    ~Victim() {
        ::TerminateProcess(m_process.hProcess, 1);
        ::CloseHandle(m_process.hProcess);
        ::CloseHandle(m_process.hThread);
    }
    Victim(const Victim&) = delete;
    Victim& operator=(const Victim&) = delete;

    DWORD Id() const { return m_process.dwProcessId; }
    // STILL_ACTIVE where nobody ended it.
    DWORD ExitCode(DWORD limit) const {
        ::WaitForSingleObject(m_process.hProcess, limit);
        DWORD code = 0;
        ::GetExitCodeProcess(m_process.hProcess, &code);
        return code;
    }

private:
    PROCESS_INFORMATION m_process = {};
};

// The process that refuses to be opened.
DWORD g_protected = 0;
decltype(&::OpenProcess) g_openProcess = nullptr;
HANDLE WINAPI OpenUnlessProtected(DWORD access, BOOL inherit, DWORD id) {
    if (id == g_protected) {
        ::SetLastError(ERROR_ACCESS_DENIED);
        return nullptr;
    }
    return access == PROCESS_TERMINATE ? g_openProcess(access, inherit, id) : nullptr;
}

bool IsOpen(HANDLE handle) {
    DWORD flags = 0;
    return ::GetHandleInformation(handle, &flags) != FALSE;
}

PROCESS_INFORMATION g_tool = {};
decltype(&::CreateProcessW) g_createProcess = nullptr;
BOOL WINAPI NoteTool(const wchar_t* program, wchar_t* line, SECURITY_ATTRIBUTES* process, SECURITY_ATTRIBUTES* thread,
                     BOOL inherit, DWORD flags, void* environment, const wchar_t* folder, STARTUPINFOW* startup,
                     PROCESS_INFORMATION* tool) {
    const BOOL made =
        g_createProcess(program, line, process, thread, inherit, flags, environment, folder, startup, tool);
    g_tool = *tool;
    return made;
}

DWORD g_waited = 0;
DWORD WINAPI WaitInVain(HANDLE, DWORD milliseconds) {
    g_waited = milliseconds;
    return WAIT_TIMEOUT;
}

std::string ReadAll(const std::wstring& path) {
    const OwnedFileHandle file(::CreateFileW(path.c_str(), GENERIC_READ, 0, nullptr, OPEN_EXISTING, 0, nullptr));
    char bytes[1024] = {};
    DWORD read = 0;
    ::ReadFile(file.Get(), bytes, sizeof bytes, &read, nullptr);
    return std::string(bytes, read);
}

void CloseTool() {
    ::TerminateProcess(g_tool.hProcess, 0);
    ::CloseHandle(g_tool.hProcess);
    ::CloseHandle(g_tool.hThread);
}

}  // namespace

TEST_CASE("KillProcess tries every process of the name and tells of failures only") {
    const RecordedLog log;
    const TempFolder folder;
    const std::wstring image = L"Prodrm-Victim-" + std::to_wstring(::GetCurrentProcessId()) + L".exe";
    const std::wstring asked = L"pRODRM" + image.substr(6);
    REQUIRE(::CopyFileW(BesideTest(L"tool.exe").c_str(), folder.Path(image).c_str(), TRUE));
    const COperations operations;

    CHECK(operations.KillProcess(asked) == _ERROR_NOT_FOUND);
    CHECK(log.Of(L"COperations::KillProcess") ==
          Lines{L"16 -> Process : \"" + asked + L"\"", L"16 <- _ERROR_NOT_FOUND"});

    const Victim spared(folder.Path(image));
    const Victim ended(folder.Path(image));
    const ImportPatch patch("OpenProcess", &OpenUnlessProtected);
    g_openProcess = patch.Original<decltype(g_openProcess)>();
    g_protected = spared.Id();
    CHECK(operations.KillProcess(asked) == _ERROR_FAILED);
    CHECK(ended.ExitCode(5000) == 0);
    CHECK(spared.ExitCode(0) == STILL_ACTIVE);
    const std::wstring failed = L" Kill process \"" + asked + L"\" " + std::to_wstring(spared.Id());
    const std::wstring worked = L" Kill process \"" + asked + L"\" " + std::to_wstring(ended.Id());
    for (const auto& [level, text] : {std::pair{kInfo, L"try" + failed},
                                      {kError, L"failed" + failed},
                                      {kInfo, L"try" + worked},
                                      {kInfo, L"success" + worked}}) {
        CHECK(log.Count(level, L"COperations::KillProcess", text) == 1);
    }

    g_protected = 0;
    CHECK(operations.KillProcess(asked) == _ERROR_NOT_FOUND);
    CHECK(spared.ExitCode(5000) == 0);
}

TEST_CASE("ExecTool hands the command line on and judges the start alone") {
    RecordedLog log;
    const TempFolder folder;
    const std::wstring report = folder.Path(L"report.txt");
    const std::wstring line = L"\"" + BesideTest(L"tool.exe") + L"\" \"" + report + L"\"  /S \"a  b\" ";
    const COperations operations;
    const ImportPatch create("CreateProcessW", &NoteTool);
    g_createProcess = create.Original<decltype(g_createProcess)>();

    for (const bool show : {true, false}) {
        log.Clear();
        CHECK(operations.ExecTool(line, true, show) == _ERROR_SUCCESS);  // the tool itself ends with 7
        CHECK_FALSE(IsOpen(g_tool.hProcess));
        CHECK_FALSE(IsOpen(g_tool.hThread));
        CHECK(ReadAll(report) == (show ? "1 5 " : "1 0 ") + std::string(line.begin(), line.end()));
        CHECK(log.Of(L"COperations::ExecTool") ==
              Lines{L"16 ->CmdLine = \"" + line + L"\"", L"16 <-\"" + line + L"\", err = _ERROR_SUCCESS"});
    }

    const std::wstring staying = L"\"" + BesideTest(L"tool.exe") + L"\"";
    for (const bool wait : {true, false}) {
        log.Clear();
        g_waited = 0;
        {
            const ImportPatch vain("WaitForSingleObject", &WaitInVain);
            CHECK(operations.ExecTool(staying, wait, false) == _ERROR_SUCCESS);
        }
        CHECK(g_waited == (wait ? 300000u : 0u));
        CHECK(log.Count(kWarning, L"COperations::ExecTool", L"\"" + staying + L"\" wait timeout") == (wait ? 1 : 0));
        CHECK(::WaitForSingleObject(g_tool.hProcess, 0) == WAIT_TIMEOUT);  // goes on, its handles stay open
        CHECK(IsOpen(g_tool.hThread));
        CloseTool();
    }

    const std::wstring missing = L"\"" + folder.Path(L"no.exe") + L"\" ";
    CHECK(operations.ExecTool(missing, true, true) == _ERROR_UNKNOWN);
    CHECK(log.Has(kError, L"COperations::ExecTool", L"CreateProcess \"" + missing + L"\" failed with 0x2"));
    CHECK(log.Has(kInfo, L"COperations::ExecTool", L"<-\"" + missing + L"\", err = _ERROR_UNKNOWN"));
}

TEST_CASE("ExecDllMethod calls the export, logs what it returns and frees the library") {
    RecordedLog log;
    struct Row {
        std::wstring library;
        std::wstring method;
        OperationResult result;
        std::wstring second;
    };
    const std::wstring library = BesideTest(L"method.dll");
    const std::wstring missing = BesideTest(L"no.dll");
    const Row rows[] = {
        {library, L"Unregister", _ERROR_SUCCESS,
         L"16 ModuleName = \"" + library + L"\",  MethodName = \"Unregister\", return = 0xc0de0001"},
        {library, L"unregister", _ERROR_NOT_FOUND, L"4 GetProcAddress \"" + library + L"\" failed 0x7f"},
        {missing, L"Unregister", _ERROR_NOT_FOUND, L"4 LoadLibrary \"" + missing + L"\" failed 0x7e"},
    };
    for (const Row& row : rows) {
        log.Clear();
        CHECK(COperations().ExecDllMethod(row.library, row.method) == row.result);
        const std::wstring first = L"16 ->ModuleName = \"" + row.library + L"\",  MethodName = \"" + row.method + L"\"";
        CHECK(log.Of(L"COperations::ExecDllMethod") == Lines{first, row.second});
        CHECK(::GetModuleHandleW(row.library.c_str()) == nullptr);
    }
}
