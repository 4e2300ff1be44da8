#include <windows.h>

#include <doctest/doctest.h>

#include <process.h>

#include "foundation/log_statement.h"
#include "operations/COperations.h"
#include "support/import_patch.h"
#include "support/programs.h"
#include "support/recorded_log.h"
#include "support/temp_folder.h"

namespace {

using Lines = std::vector<std::wstring>;

OwnedHandle Start(const std::wstring& program) {
    const intptr_t process = ::_wspawnl(_P_NOWAIT, program.c_str(), L"tool", nullptr);
    REQUIRE(process != -1);
    return OwnedHandle(reinterpret_cast<HANDLE>(process));
}

// STILL_ACTIVE where nobody ends the process within the limit.
DWORD ExitCode(const OwnedHandle& process, DWORD limit) {
    DWORD code = 0;
    ::WaitForSingleObject(process.Get(), limit);
    ::GetExitCodeProcess(process.Get(), &code);
    return code;
}

// The process that refuses to be opened.
DWORD g_protected = 0;
decltype(&::OpenProcess) g_openProcess = nullptr;

HANDLE WINAPI OpenUnlessProtected(DWORD access, BOOL inherit, DWORD id) {
    ::SetLastError(ERROR_ACCESS_DENIED);
    return id != g_protected && access == PROCESS_TERMINATE ? g_openProcess(access, inherit, id) : nullptr;
}

int g_closed = 0;
decltype(&::CloseHandle) g_closeHandle = nullptr;

BOOL WINAPI CountClosed(HANDLE handle) {
    ++g_closed;
    return g_closeHandle(handle);
}

DWORD g_waited = 0;

DWORD WINAPI WaitInVain(HANDLE, DWORD milliseconds) {
    g_waited = milliseconds;
    return WAIT_TIMEOUT;
}

}  // namespace

TEST_CASE("KillProcess tries every process of the name and tells of failures only") {
    const RecordedLog log;
    const std::wstring image = BesideTest(L"tool.exe");
    const std::wstring asked = L"TOOL.exe";
    const COperations operations;
    CHECK(operations.KillProcess(asked) == _ERROR_NOT_FOUND);
    CHECK(log.Of(L"COperations::KillProcess") ==
          Lines{L"16 -> Process : \"" + asked + L"\"", L"16 <- _ERROR_NOT_FOUND"});

    const OwnedHandle spared = Start(image);
    const OwnedHandle ended = Start(image);
    const ImportPatch patch("OpenProcess", &OpenUnlessProtected);
    g_openProcess = patch.Original<decltype(g_openProcess)>();
    g_protected = ::GetProcessId(spared.Get());
    CHECK(operations.KillProcess(asked) == _ERROR_FAILED);
    CHECK(ExitCode(ended, 5000) == 0);
    CHECK(ExitCode(spared, 0) == STILL_ACTIVE);
    const std::wstring failed = L"failed Kill process \"" + asked + L"\" " + std::to_wstring(g_protected);
    CHECK(log.Count(kError, L"COperations::KillProcess", failed) == 1);

    g_protected = 0;
    CHECK(operations.KillProcess(asked) == _ERROR_NOT_FOUND);
    CHECK(ExitCode(spared, 5000) == 0);
}

TEST_CASE("ExecTool hands the command line on and judges the start alone") {
    const RecordedLog log;
    const TempFolder folder;
    const std::wstring report = folder.Path(L"report.txt");
    const std::wstring line = L"\"" + BesideTest(L"tool.exe") + L"\" \"" + report + L"\"  /S \"a  b\" ";
    const COperations operations;
    const ImportPatch close("CloseHandle", &CountClosed);
    g_closeHandle = close.Original<decltype(g_closeHandle)>();
    for (const bool show : {true, false}) {
        g_closed = 0;
        CHECK(operations.ExecTool(line, true, show) == _ERROR_SUCCESS);  // the tool itself ends with 7
        CHECK(g_closed == 2);
        CHECK(FileContent(report) == (show ? "1 5 " : "1 0 ") + std::string(line.begin(), line.end()));
    }
    const std::wstring missing = L"\"" + folder.Path(L"no.exe") + L"\" ";
    CHECK(operations.ExecTool(missing, true, true) == _ERROR_UNKNOWN);
    CHECK(log.Has(kError, L"COperations::ExecTool", L"CreateProcess \"" + missing + L"\" failed with 0x2"));
    CHECK(log.Has(kInfo, L"COperations::ExecTool", L"<-\"" + missing + L"\", err = _ERROR_UNKNOWN"));
}

TEST_CASE("a tool that was not seen to end goes on, and its handles stay open") {
    const RecordedLog log;
    const std::wstring staying = L"\"" + BesideTest(L"tool.exe") + L"\"";
    const ImportPatch close("CloseHandle", &CountClosed);
    g_closeHandle = close.Original<decltype(g_closeHandle)>();
    const ImportPatch vain("WaitForSingleObject", &WaitInVain);
    g_closed = 0;
    for (const bool wait : {false, true}) {
        g_waited = 0;
        CHECK(COperations().ExecTool(staying, wait, false) == _ERROR_SUCCESS);
        CHECK(g_waited == (wait ? 300000u : 0u));
        CHECK(log.Count(kWarning, L"COperations::ExecTool", L"\"" + staying + L"\" wait timeout") == (wait ? 1 : 0));
    }
    CHECK(g_closed == 0);
    COperations().KillProcess(L"tool.exe");
}

TEST_CASE("ExecDllMethod calls the export, logs what it returns and frees the library") {
    const std::wstring library = BesideTest(L"method.dll");
    const std::wstring missing = BesideTest(L"no.dll");
    const struct {
        std::wstring library, method;
        OperationResult result;
        std::wstring lastLine;
    } rows[] = {
        {library, L"Unregister", _ERROR_SUCCESS,
         L"16 ModuleName = \"" + library + L"\",  MethodName = \"Unregister\", return = 0xc0de0001"},
        {library, L"unregister", _ERROR_NOT_FOUND, L"4 GetProcAddress \"" + library + L"\" failed 0x7f"},
        {missing, L"Unregister", _ERROR_NOT_FOUND, L"4 LoadLibrary \"" + missing + L"\" failed 0x7e"},
    };
    for (const auto& row : rows) {
        const RecordedLog log;
        CHECK(COperations().ExecDllMethod(row.library, row.method) == row.result);
        CHECK(log.Of(L"COperations::ExecDllMethod").back() == row.lastLine);
        CHECK(::GetModuleHandleW(row.library.c_str()) == nullptr);
    }
}
