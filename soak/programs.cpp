#include "programs.h"

#include <stdexcept>

#include "text.h"

namespace {

constexpr DWORD kLimit = 60000;

}  // namespace

OwnedHandle StartProgram(std::wstring commandLine, const std::wstring& output, const std::wstring& folder) {
    SECURITY_ATTRIBUTES inherited = {sizeof inherited, nullptr, TRUE};
    const OwnedFileHandle sink(::CreateFileW(output.empty() ? L"NUL" : output.c_str(), GENERIC_WRITE,
                                             FILE_SHARE_READ | FILE_SHARE_WRITE, &inherited,
                                             output.empty() ? OPEN_EXISTING : CREATE_ALWAYS, 0, nullptr));
    STARTUPINFOW startup = {};
    startup.cb = sizeof startup;
    startup.dwFlags = STARTF_USESTDHANDLES;
    startup.hStdOutput = sink.Get();
    startup.hStdError = sink.Get();
    PROCESS_INFORMATION process = {};
    if (!::CreateProcessW(nullptr, commandLine.data(), nullptr, nullptr, TRUE, 0, nullptr, folder.c_str(), &startup,
                          &process)) {
        throw std::runtime_error("a program does not start: " + ToUtf8(commandLine));
    }
    if (process.hThread != nullptr) {
        ::CloseHandle(process.hThread);
    }
    return OwnedHandle(process.hProcess);
}

DWORD RunProgram(const std::wstring& commandLine, const std::wstring& output, const std::wstring& folder) {
    const OwnedHandle process = StartProgram(commandLine, output, folder);
    DWORD exitCode = 0;
    if (::WaitForSingleObject(process.Get(), kLimit) != WAIT_OBJECT_0) {
        ::TerminateProcess(process.Get(), 1);
        throw std::runtime_error("a program does not end: " + ToUtf8(commandLine));
    }
    ::GetExitCodeProcess(process.Get(), &exitCode);
    return exitCode;
}

std::wstring OwnImage() {
    wchar_t path[MAX_PATH] = {};
    ::GetModuleFileNameW(nullptr, path, MAX_PATH);
    return path;
}

std::wstring HolderImage() {
    const std::wstring own = OwnImage();
    return own.substr(0, own.rfind(L'\\') + 1) + L"prodrm-soak-holder.exe";
}
