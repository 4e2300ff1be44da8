#pragma once

#include <windows.h>

#include <filesystem>
#include <stdexcept>
#include <string>

#include "foundation/owned.h"

// Full path of a file in the folder of the test program.
inline std::wstring BesideTest(const std::wstring& name) {
    wchar_t program[MAX_PATH] = {};
    ::GetModuleFileNameW(nullptr, program, MAX_PATH);
    return (std::filesystem::path(program).parent_path() / name).lexically_normal().wstring();
}

// Full path of a file of the built product.
inline std::wstring InProduct(const std::wstring& name) {
    wchar_t folder[MAX_PATH] = {};
    if (::GetEnvironmentVariableW(L"PRODRM_DIST", folder, MAX_PATH) == 0) {
        throw std::runtime_error("PRODRM_DIST is not set");
    }
    return std::wstring(folder) + L'\\' + name;
}

// Full path of a file of the project: build trees lie two folders below its root.
inline std::wstring InSources(const std::wstring& name) {
    return BesideTest(L"..\\..\\..\\..\\" + name);
}

// Starts a program, whose output goes to `output` where given.
inline OwnedHandle Start(std::wstring commandLine, HANDLE output = nullptr) {
    STARTUPINFOW startup = {};
    startup.cb = sizeof startup;
    startup.dwFlags = output != nullptr ? STARTF_USESTDHANDLES : 0;
    startup.hStdOutput = startup.hStdError = output;
    PROCESS_INFORMATION process = {};
    if (!::CreateProcessW(nullptr, commandLine.data(), nullptr, nullptr, TRUE, 0, nullptr, nullptr, &startup,
                          &process)) {
        throw std::runtime_error("a program does not start");
    }
    ::CloseHandle(process.hThread);
    return OwnedHandle(process.hProcess);
}

// Where nobody ends the process within the limit, STILL_ACTIVE.
inline DWORD ExitCode(const OwnedHandle& process, DWORD limit = 60000) {
    DWORD code = 0;
    ::WaitForSingleObject(process.Get(), limit);
    ::GetExitCodeProcess(process.Get(), &code);
    return code;
}

// Runs one skipped case of this test program in a process of its own.
inline DWORD RunChild(const std::wstring& testCase) {
    wchar_t program[MAX_PATH] = {};
    ::GetModuleFileNameW(nullptr, program, MAX_PATH);
    return ExitCode(Start(L"\"" + std::wstring(program) + L"\" --no-skip --out=nul \"--test-case=" + testCase + L"\""));
}

// The exit code of a process that reads through null: EXCEPTION_ACCESS_VIOLATION, but where Wine runs on an emulated
// processor, which does not tell it why a page could not be read, EXCEPTION_ILLEGAL_INSTRUCTION.
inline DWORD NullReadCode() {
    const DWORD code = RunChild(L"child: read through null");
    if (code != EXCEPTION_ACCESS_VIOLATION && code != EXCEPTION_ILLEGAL_INSTRUCTION) {
        throw std::runtime_error("a read through null ends with another code: " + std::to_string(code));
    }
    return code;
}
