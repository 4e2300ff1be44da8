#include <windows.h>
#include <tlhelp32.h>

#include <vector>

#include "foundation/log_statement.h"
#include "foundation/module.h"
#include "foundation/owned.h"
#include "foundation/text.h"
#include "operations/COperations.h"

namespace {

constexpr DWORD kToolWaitMilliseconds = 300000;
constexpr UINT kForcedExitCode = 0xFFFFFFFF;

static_assert(sizeof(PROCESSENTRY32W) == 0x22C && sizeof(STARTUPINFOW) == 0x44 && sizeof(TOKEN_PRIVILEGES) == 0x10);

// The export that ExecDllMethod calls. Without arguments it may as well follow __stdcall.
using LibraryMethod = DWORD(__cdecl*)();

bool TerminateWithRightsOfNow(const wchar_t* caller, DWORD processId) {
    const OwnedHandle process(::OpenProcess(PROCESS_TERMINATE, FALSE, processId));
    if (!process) {
        const DWORD error = ::GetLastError();
        LOG_AS(caller, kWarning, L"OpenProcess 1 failed 0x%x", error);
        return false;
    }
    if (!::TerminateProcess(process.Get(), 0)) {
        const DWORD error = ::GetLastError();
        LOG_AS(caller, kError, L"TerminateProcess 1 failed 0x%x", error);
        return false;
    }
    return true;
}

// The thread's token, or the process's where the thread has none; null on failure.
OwnedHandle OpenTokenOfThreadOrProcess(const wchar_t* caller) {
    constexpr DWORD kAccess = TOKEN_ADJUST_PRIVILEGES | TOKEN_QUERY;
    OwnedHandle token;
    if (::OpenThreadToken(::GetCurrentThread(), kAccess, FALSE, token.Put())) {
        return token;
    }
    DWORD error = ::GetLastError();
    if (error != ERROR_NO_TOKEN) {
        LOG_AS(caller, kError, L"OpenThreadToken failed 0x%x", error);
        return {};
    }
    if (!::OpenProcessToken(::GetCurrentProcess(), kAccess, token.Put())) {
        error = ::GetLastError();
        LOG_AS(caller, kError, L"OpenProcessToken failed 0x%x", error);
        return {};
    }
    return token;
}

// `previous` takes the state to restore.
bool EnableDebugPrivilege(const wchar_t* caller, HANDLE token, TOKEN_PRIVILEGES& previous) {
    TOKEN_PRIVILEGES wanted = {};
    wanted.PrivilegeCount = 1;
    wanted.Privileges[0].Attributes = SE_PRIVILEGE_ENABLED;
    // Where the name is unknown, the value stays zero and cannot be assigned.
    ::LookupPrivilegeValueW(nullptr, L"SeDebugPrivilege", &wanted.Privileges[0].Luid);
    DWORD previousSize = sizeof previous;
    const BOOL adjusted = ::AdjustTokenPrivileges(token, FALSE, &wanted, sizeof wanted, &previous, &previousSize);
    const DWORD error = ::GetLastError();
    if (adjusted && error != ERROR_NOT_ALL_ASSIGNED) {
        return true;
    }
    // A privilege that the token lacks is reported as access denied.
    LOG_AS(caller, kError, L"AdjustTokenPrivileges failed 0x%x", adjusted ? ERROR_ACCESS_DENIED : error);
    return false;
}

// The privilege is held for the time of the opening only; null on failure.
OwnedHandle OpenUnderDebugPrivilege(const wchar_t* caller, DWORD processId) {
    OwnedHandle token = OpenTokenOfThreadOrProcess(caller);
    TOKEN_PRIVILEGES previous = {};
    if (!token || !EnableDebugPrivilege(caller, token.Get(), previous)) {
        return {};
    }
    OwnedHandle process(::OpenProcess(PROCESS_TERMINATE, FALSE, processId));
    const DWORD error = ::GetLastError();
    ::AdjustTokenPrivileges(token.Get(), FALSE, &previous, sizeof previous, nullptr, nullptr);
    token.Reset();
    if (!process) {
        LOG_AS(caller, kError, L"OpenProcess 2 failed 0x%x", error);
    }
    return process;
}

// Takes both handles over and closes them once the tool was seen to end.
void LeaveTool(const wchar_t* caller, const PROCESS_INFORMATION& tool, const std::wstring& commandLine, bool wait) {
    OwnedHandle process(tool.hProcess);
    OwnedHandle thread(tool.hThread);
    if (wait && process.Get() != INVALID_HANDLE_VALUE) {
        if (::WaitForSingleObject(process.Get(), kToolWaitMilliseconds) == WAIT_OBJECT_0) {
            return;
        }
        LOG_AS(caller, kWarning, L"\"%s\" wait timeout", commandLine.c_str());
    }
    // A tool that was not seen to end goes on, and its handles stay open.
    thread.LeaveOpen();
    process.LeaveOpen();
}

// Empty where the name cannot be converted within two bytes a character.
std::vector<char> NarrowName(const std::wstring& name) {
    std::vector<char> narrow(2 * name.size() + 2);
    if (::WideCharToMultiByte(CP_THREAD_ACP, 0, name.c_str(), -1, narrow.data(), static_cast<int>(narrow.size()),
                              nullptr, nullptr) == 0) {
        narrow.clear();
    }
    return narrow;
}

}  // namespace

OperationResult COperations::KillProcess(const std::wstring& imageName) const {
    LOG(kInfo, L"-> Process : \"%s\"", imageName.c_str());
    OwnedFileHandle snapshot(::CreateToolhelp32Snapshot(TH32CS_SNAPPROCESS, 0));
    if (!snapshot) {
        const DWORD error = ::GetLastError();
        LOG(kError, L"failed CreateToolhelp32Snapshot 0x%x", error);
        return _ERROR_UNKNOWN;
    }
    // A process that was ended leaves the result as it is: callers hear of failures only.
    OperationResult result = _ERROR_NOT_FOUND;
    PROCESSENTRY32W entry = {};
    entry.dwSize = sizeof entry;
    for (BOOL more = ::Process32FirstW(snapshot.Get(), &entry); more; more = ::Process32NextW(snapshot.Get(), &entry)) {
        if (!EqualsBlind(entry.szExeFile, imageName)) {
            continue;
        }
        LOG(kInfo, L"try Kill process \"%s\" %d", imageName.c_str(), entry.th32ProcessID);
        if (KillProcess_(entry.th32ProcessID)) {
            LOG(kInfo, L"success Kill process \"%s\" %d", imageName.c_str(), entry.th32ProcessID);
        } else {
            result = _ERROR_FAILED;
            LOG(kError, L"failed Kill process \"%s\" %d", imageName.c_str(), entry.th32ProcessID);
        }
    }
    snapshot.Reset();
    LOG(kInfo, L"<- %s", ResultName(result));
    return result;
}

bool COperations::KillProcess_(DWORD processId) const {
    if (TerminateWithRightsOfNow(CALLER, processId)) {
        return true;
    }
    LOG(kInfo, L"Try another way ... AdjustTokenPrivileges");
    const OwnedHandle process = OpenUnderDebugPrivilege(CALLER, processId);
    if (!process) {
        return false;
    }
    if (!::TerminateProcess(process.Get(), kForcedExitCode)) {
        const DWORD error = ::GetLastError();
        LOG(kError, L"TerminateProcess 2 failed 0x%x", error);
        return false;
    }
    return true;
}

OperationResult COperations::ExecTool(const std::wstring& commandLine, bool wait, bool showWindow) const {
    LOG(kInfo, L"->CmdLine = \"%s\"", commandLine.c_str());
    std::wstring writable = commandLine;
    STARTUPINFOW startup = {};
    startup.cb = sizeof startup;
    startup.dwFlags = STARTF_USESHOWWINDOW;
    startup.wShowWindow = showWindow ? SW_SHOW : SW_HIDE;
    PROCESS_INFORMATION tool = {};
    OperationResult result = _ERROR_SUCCESS;
    if (::CreateProcessW(nullptr, writable.data(), nullptr, nullptr, FALSE, 0, nullptr, nullptr, &startup, &tool)) {
        LeaveTool(CALLER, tool, commandLine, wait);
    } else {
        const DWORD error = ::GetLastError();
        LOG(kError, L"CreateProcess \"%s\" failed with 0x%x", commandLine.c_str(), error);
        result = _ERROR_UNKNOWN;
    }
    LOG(kInfo, L"<-\"%s\", err = %s", commandLine.c_str(), ResultName(result));
    return result;
}

OperationResult COperations::ExecDllMethod(const std::wstring& library, const std::wstring& method) const {
    LOG(kInfo, L"->ModuleName = \"%s\",  MethodName = \"%s\"", library.c_str(), method.c_str());
    const OwnedModule module(::LoadLibraryW(library.c_str()));
    if (!module) {
        const DWORD error = ::GetLastError();
        LOG(kError, L"LoadLibrary \"%s\" failed 0x%x", library.c_str(), error);
        return _ERROR_NOT_FOUND;
    }
    const std::vector<char> name = NarrowName(method);
    const FARPROC address = ::GetProcAddress(module.Get(), name.empty() ? nullptr : name.data());
    if (address == nullptr) {
        const DWORD error = ::GetLastError();
        LOG(kError, L"GetProcAddress \"%s\" failed 0x%x", library.c_str(), error);
        return _ERROR_NOT_FOUND;
    }
    const DWORD returned = EntryPointCast<LibraryMethod>(address)();
    LOG(kInfo, L"ModuleName = \"%s\",  MethodName = \"%s\", return = 0x%x", library.c_str(), method.c_str(), returned);
    return _ERROR_SUCCESS;
}
