#include "product.h"

#include <stdexcept>

#include "support/log_recorder.h"

namespace {

void Copy(const std::wstring& from, const std::wstring& to) {
    if (!::CopyFileW(from.c_str(), to.c_str(), FALSE)) {
        throw std::runtime_error("a part of the product is missing");
    }
}

std::wstring OwnFolder() {
    wchar_t path[MAX_PATH] = {};
    ::GetModuleFileNameW(nullptr, path, MAX_PATH);
    const std::wstring file = path;
    return file.substr(0, file.rfind(L'\\') + 1);
}

std::string ReadWhole(const std::wstring& path) {
    const HANDLE file = ::CreateFileW(path.c_str(), GENERIC_READ, 0, nullptr, OPEN_EXISTING, 0, nullptr);
    char bytes[4096] = {};
    DWORD read = 0;
    ::ReadFile(file, bytes, sizeof bytes, &read, nullptr);
    ::CloseHandle(file);
    return {bytes, read};
}

}  // namespace

ProductFolder::ProductFolder(bool withLog) {
    wchar_t dist[MAX_PATH] = {};
    if (::GetEnvironmentVariableW(L"PRODRM_DIST", dist, MAX_PATH) == 0) {
        throw std::runtime_error("PRODRM_DIST is not set");
    }
    Copy(std::wstring(dist) + L"\\prodrm.dll", Path(L"prodrm.dll"));
    if (withLog) {
        Copy(LogRecorder::ModulePath(), Path(L"log.dll"));
    }
}

void ProductFolder::Catalogue(const std::wstring& file, const std::string& content) const {
    m_folder.WriteFile(file, "<uninstall_information>" + content + "</uninstall_information>");
}

std::string ProductFolder::RunSample(const std::wstring& name, DWORD& exitCode) const {
    Copy(OwnFolder() + name, Path(name));
    SECURITY_ATTRIBUTES inherit = {sizeof inherit, nullptr, TRUE};
    const HANDLE out =
        ::CreateFileW(Path(L"out").c_str(), GENERIC_WRITE, FILE_SHARE_READ, &inherit, CREATE_ALWAYS, 0, nullptr);
    STARTUPINFOW startup = {};
    startup.cb = sizeof startup;
    startup.dwFlags = STARTF_USESTDHANDLES;
    startup.hStdOutput = out;
    startup.hStdError = out;
    PROCESS_INFORMATION process = {};
    const BOOL started =
        ::CreateProcessW(Path(name).c_str(), nullptr, nullptr, nullptr, TRUE, 0, nullptr, nullptr, &startup, &process);
    ::CloseHandle(out);
    if (!started || ::WaitForSingleObject(process.hProcess, 60000) != WAIT_OBJECT_0) {
        throw std::runtime_error("a sample does not run");
    }
    ::GetExitCodeProcess(process.hProcess, &exitCode);
    ::CloseHandle(process.hThread);
    ::CloseHandle(process.hProcess);
    return ReadWhole(Path(L"out"));
}

LoadedProduct::LoadedProduct(const ProductFolder& folder)
    : m_module(::LoadLibraryW(folder.Path(L"prodrm.dll").c_str())) {
    if (m_module == nullptr) {
        throw std::runtime_error("the library does not load");
    }
}

void LoadedProduct::Unload() {
    if (m_module != nullptr) {
        ::FreeLibrary(m_module);
        m_module = nullptr;
    }
}
