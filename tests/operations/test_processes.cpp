#include <windows.h>

#include <doctest/doctest.h>

#include <set>

#include "operations/COperations.h"
#include "support/import_patch.h"
#include "support/programs.h"
#include "support/recorded_log.h"
#include "support/temp_folder.h"

namespace {

std::wstring Quoted(const std::wstring& path) {
    return L"\"" + path + L"\"";
}

// The attributes of this process's privilege to debug.
DWORD DebugPrivilege() {
    OwnedHandle token;
    REQUIRE(::OpenProcessToken(::GetCurrentProcess(), TOKEN_QUERY, token.Put()));
    std::vector<BYTE> bytes(4096);
    DWORD size = 0;
    REQUIRE(::GetTokenInformation(token.Get(), TokenPrivileges, bytes.data(), 4096, &size));
    const auto* const list = reinterpret_cast<const TOKEN_PRIVILEGES*>(bytes.data());
    for (DWORD at = 0; at < list->PrivilegeCount; ++at) {
        if (list->Privileges[at].Luid.LowPart == 20) {
            return list->Privileges[at].Attributes;
        }
    }
    return MAXDWORD;
}

}  // namespace

TEST_CASE("KillProcess tries every process of the name, by the privilege to debug where need be") {
    RecordedLog log;
    const std::wstring image = Quoted(BesideTest(L"tool.exe"));
    const std::wstring asked = L"TOOL.exe";
    const COperations operations;
    CHECK(operations.KillProcess(asked) == _ERROR_NOT_FOUND);
    CHECK(log.Told(L"COperations::KillProcess") == L"I -> Process : \"TOOL.exe\" / I <- _ERROR_NOT_FOUND");

    const OwnedHandle spared = Start(image);
    const OwnedHandle ended = Start(image);
    const DWORD id = ::GetProcessId(spared.Get());
    const DWORD privilege = DebugPrivilege();
    int refusals = 2;  // of the process that is spared at first
    std::set<HANDLE> tokens;
    std::vector<DWORD> privileges;  // at each opening of it
    PLAY(OpenProcess, [&](DWORD access, BOOL inherit, DWORD process) {
        CHECK(access == PROCESS_TERMINATE);
        if (process == id) {
            privileges.push_back(DebugPrivilege());
        }
        ::SetLastError(ERROR_ACCESS_DENIED);
        return process == id && refusals-- > 0 ? nullptr : played_OpenProcess.Real(access, inherit, process);
    });
    PLAY(AdjustTokenPrivileges, [&](HANDLE token, BOOL all, TOKEN_PRIVILEGES* wanted, DWORD size,
                                    TOKEN_PRIVILEGES* previous, DWORD* previousSize) {
        tokens.insert(token);
        return played_AdjustTokenPrivileges.Real(token, all, wanted, size, previous, previousSize);
    });
    PLAY(CloseHandle, [&](HANDLE handle) {
        tokens.erase(handle);
        return played_CloseHandle.Real(handle);
    });
    CHECK(operations.KillProcess(asked) == _ERROR_FAILED);
    CHECK(ExitCode(ended) == 0);
    CHECK(ExitCode(spared, 0) == STILL_ACTIVE);
    CHECK(log.Count(L"E COperations::KillProcess: failed Kill process \"TOOL.exe\" " + std::to_wstring(id)) == 1);
    const std::wstring first = L"W OpenProcess 1 failed 0x5 / I Try another way ... AdjustTokenPrivileges";
    CHECK(log.Told(L"COperations::KillProcess_") == first + L" / E OpenProcess 2 failed 0x5");

    log.Clear();
    refusals = 1;
    {
        REFUSE(TerminateProcess, FALSE, ERROR_ACCESS_DENIED);
        CHECK(operations.KillProcess(asked) == _ERROR_FAILED);
    }
    CHECK(log.Told(L"COperations::KillProcess_") == first + L" / E TerminateProcess 2 failed 0x5");
    refusals = 1;
    CHECK(operations.KillProcess(asked) == _ERROR_NOT_FOUND);
    CHECK(ExitCode(spared) == 0xFFFFFFFF);
    CHECK(privileges[0] == privilege);
    CHECK((privileges[1] & SE_PRIVILEGE_ENABLED) != 0);
    CHECK(DebugPrivilege() == privilege);
    CHECK(tokens.empty());

    log.Clear();
    const OwnedHandle last = Start(image);
    {
        REFUSE(TerminateProcess, FALSE, ERROR_ACCESS_DENIED);
        refusals = 0;
        CHECK(operations.KillProcess(asked) == _ERROR_FAILED);
        REFUSE(OpenProcessToken, FALSE, ERROR_ACCESS_DENIED);
        CHECK(operations.KillProcess(asked) == _ERROR_FAILED);
    }
    CHECK(log.Has(L"E COperations::KillProcess_: TerminateProcess 1 failed 0x5"));
    CHECK(log.Has(L"E COperations::KillProcess_: OpenProcessToken failed 0x5"));
    CHECK(operations.KillProcess(asked) == _ERROR_NOT_FOUND);
    CHECK(ExitCode(last) == 0);
}

TEST_CASE("ExecTool hands the command line on and judges the start alone") {
    const RecordedLog log;
    const TempFolder folder;
    const std::wstring tool = Quoted(BesideTest(L"tool.exe"));
    const std::wstring report = folder.Path(L"report.txt");
    const std::wstring line = tool + L" " + Quoted(report) + L"  /S \"a  b\" ";
    const COperations operations;
    int closed = 0;
    PLAY(CloseHandle, [&](HANDLE handle) {
        ++closed;
        return played_CloseHandle.Real(handle);
    });
    for (const bool show : {true, false}) {
        closed = 0;
        CHECK(operations.ExecTool(line, true, show) == _ERROR_SUCCESS);  // the tool itself ends with 7
        CHECK(closed == 2);
        CHECK(FileContent(report) == (show ? "1 5 " : "1 0 ") + Utf8(line));
    }
    const std::wstring missing = Quoted(folder.Path(L"no.exe")) + L" ";
    CHECK(operations.ExecTool(missing, true, true) == _ERROR_UNKNOWN);
    CHECK(log.Has(L"E COperations::ExecTool: CreateProcess \"" + missing + L"\" failed with 0x2"));
    CHECK(log.Has(L"I COperations::ExecTool: <-\"" + missing + L"\", err = _ERROR_UNKNOWN"));

    // A tool that was not seen to end goes on, and its handles stay open.
    closed = 0;
    for (const bool wait : {false, true}) {
        DWORD waited = 0;
        PLAY(WaitForSingleObject, [&](HANDLE, DWORD time) { return waited = time, WAIT_TIMEOUT; });
        CHECK(operations.ExecTool(tool, wait, false) == _ERROR_SUCCESS);
        CHECK(waited == (wait ? 300000u : 0u));
        CHECK(log.Has(L"W COperations::ExecTool: \"" + tool + L"\" wait timeout") == wait);
    }
    CHECK(closed == 0);
    operations.KillProcess(L"tool.exe");
}

TEST_CASE("ExecDllMethod calls the export, logs what it returns and frees the library") {
    // Columns: library, method, result, last line.
    for (const Lines& row : Rows(LR"(
method.dll | Unregister | 0 | I ModuleName = "DIRmethod.dll",  MethodName = "Unregister", return = 0xc0de0001
method.dll | unregister | 1 | E GetProcAddress "DIRmethod.dll" failed 0x7f
no.dll | Unregister | 1 | E LoadLibrary "DIRno.dll" failed 0x7e
)",
                                 4)) {
        const RecordedLog log;
        const std::wstring library = BesideTest(row[0]);
        CHECK(std::to_wstring(COperations().ExecDllMethod(library, row[1])) == row[2]);
        CHECK(log.Of(L"COperations::ExecDllMethod").back() == Replaced(row[3], L"DIR", BesideTest(L"")));
        CHECK(::GetModuleHandleW(library.c_str()) == nullptr);
    }
}
