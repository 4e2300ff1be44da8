#include "tool_folder.h"

#include <stdexcept>
#include <vector>

#include "foundation/owned.h"
#include "support/programs.h"

namespace {

constexpr DWORD kTimeLimit = 120000;  // milliseconds

OwnedFileHandle OpenInherited(const std::wstring& path, DWORD access, DWORD disposition) {
    SECURITY_ATTRIBUTES inherit = {sizeof(inherit), nullptr, TRUE};
    OwnedFileHandle file(::CreateFileW(path.c_str(), access, FILE_SHARE_READ | FILE_SHARE_WRITE, &inherit, disposition,
                                       FILE_ATTRIBUTE_NORMAL, nullptr));
    if (!file) {
        throw std::runtime_error("a stream of the tool cannot be opened");
    }
    return file;
}

ToolRun RunProgram(const std::wstring& program, const std::wstring& arguments, const std::wstring& folder,
                   DWORD outAccess = GENERIC_WRITE) {
    const TempFolder streams;
    PROCESS_INFORMATION process = {};
    {
        const OwnedFileHandle in = OpenInherited(L"NUL", GENERIC_READ, OPEN_EXISTING);
        const OwnedFileHandle out = OpenInherited(streams.Path(L"out"), outAccess, CREATE_NEW);
        const OwnedFileHandle err = OpenInherited(streams.Path(L"err"), GENERIC_WRITE, CREATE_NEW);
        STARTUPINFOW startup = {};
        startup.cb = sizeof(startup);
        startup.dwFlags = STARTF_USESTDHANDLES;
        startup.hStdInput = in.Get();
        startup.hStdOutput = out.Get();
        startup.hStdError = err.Get();
        std::wstring line = L"\"" + program + L"\" " + arguments;
        if (!::CreateProcessW(nullptr, line.data(), nullptr, nullptr, TRUE, 0, nullptr, folder.c_str(), &startup,
                              &process)) {
            throw std::runtime_error("a program does not start");
        }
    }
    const OwnedHandle started(process.hProcess);
    const OwnedHandle thread(process.hThread);
    if (::WaitForSingleObject(started.Get(), kTimeLimit) != WAIT_OBJECT_0) {
        ::TerminateProcess(started.Get(), 1);
        throw std::runtime_error("a program does not end");
    }
    ToolRun run = {};
    ::GetExitCodeProcess(started.Get(), &run.code);
    run.out = ReadBytes(streams.Path(L"out"));
    run.err = ReadBytes(streams.Path(L"err"));
    return run;
}

}  // namespace

ToolFolder::ToolFolder() {
    for (const wchar_t* file : {L"prodrm.exe", L"prodrm.dll", L"log.dll"}) {
        if (!::CopyFileW(InProduct(file).c_str(), Path(file).c_str(), TRUE)) {
            throw std::runtime_error("the built product is not complete");
        }
    }
}

void ToolFolder::Catalogue(const std::wstring& file, const std::string& content) const {
    Write(file,
          "<?xml version=\"1.0\" encoding=\"utf-8\"?><uninstall_information>" + content + "</uninstall_information>");
}

void ToolFolder::Delete(const std::wstring& relative) const {
    if (!::DeleteFileW(Path(relative).c_str())) {
        throw std::runtime_error("a file of the tool's folder cannot be deleted");
    }
}

void ToolFolder::Embed(std::string_view document) const {
    const std::wstring file = Write(L"embedded.xml", document);
    const ToolRun run = RunProgram(InProduct(L"prodrm-pack.exe"),
                                   L"--force \"" + file + L"\" \"" + Path(L"prodrm.dll") + L"\"", Path({}));
    if (run.code != 0) {
        throw std::runtime_error(run.err);
    }
}

ToolRun ToolFolder::Run(const std::wstring& arguments, const std::wstring& folder, DWORD outAccess) const {
    return RunProgram(Path(L"prodrm.exe"), arguments, folder.empty() ? Path({}) : folder, outAccess);
}

std::string Narrow(const std::wstring& text) {
    return {text.begin(), text.end()};
}

std::string ReadBytes(const std::wstring& path) {
    const OwnedFileHandle file(::CreateFileW(path.c_str(), GENERIC_READ, FILE_SHARE_READ | FILE_SHARE_WRITE, nullptr,
                                             OPEN_EXISTING, 0, nullptr));
    std::string bytes(file ? ::GetFileSize(file.Get(), nullptr) : 0, '\0');
    DWORD read = 0;
    if (!file || !::ReadFile(file.Get(), bytes.data(), static_cast<DWORD>(bytes.size()), &read, nullptr)) {
        throw std::runtime_error("a file cannot be read");
    }
    bytes.resize(read);
    return bytes;
}
