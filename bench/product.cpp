// The finished product as the benchmarks use it, and the clock.

#include <cstdio>
#include <cstdlib>

#include "bench.h"

void Require(bool condition, const char* what) {
    if (!condition) {
        std::fprintf(stderr, "prodrm-bench: %s\n", what);
        std::exit(2);
    }
}

std::string Narrow(const std::wstring& text) {
    std::string narrow;
    for (const wchar_t unit : text) {
        narrow += static_cast<char>(unit);
    }
    return narrow;
}

std::wstring DistFolder() {
    wchar_t folder[MAX_PATH] = {};
    Require(::GetEnvironmentVariableW(L"PRODRM_DIST", folder, MAX_PATH) != 0, "PRODRM_DIST is not set");
    return folder;
}

double Seconds(const std::function<void()>& work) {
    LARGE_INTEGER frequency;
    LARGE_INTEGER begin;
    LARGE_INTEGER end;
    ::QueryPerformanceFrequency(&frequency);
    ::QueryPerformanceCounter(&begin);
    work();
    ::QueryPerformanceCounter(&end);
    return static_cast<double>(end.QuadPart - begin.QuadPart) / static_cast<double>(frequency.QuadPart);
}

double ProgramSeconds(const std::wstring& commandLine) {
    std::wstring buffer = commandLine;
    SECURITY_ATTRIBUTES inherited = {sizeof inherited, nullptr, TRUE};
    const HANDLE nul =
        ::CreateFileW(L"NUL", GENERIC_WRITE, FILE_SHARE_READ | FILE_SHARE_WRITE, &inherited, OPEN_EXISTING, 0, nullptr);
    STARTUPINFOW startup = {};
    startup.cb = sizeof startup;
    startup.dwFlags = STARTF_USESTDHANDLES;
    startup.hStdOutput = nul;
    startup.hStdError = ::GetStdHandle(STD_ERROR_HANDLE);
    DWORD exitCode = EXIT_FAILURE;
    const double seconds = Seconds([&] {
        PROCESS_INFORMATION process = {};
        Require(::CreateProcessW(nullptr, buffer.data(), nullptr, nullptr, TRUE, 0, nullptr, nullptr, &startup,
                                 &process) != FALSE,
                "a program does not start");
        ::WaitForSingleObject(process.hProcess, INFINITE);
        ::GetExitCodeProcess(process.hProcess, &exitCode);
        ::CloseHandle(process.hThread);
        ::CloseHandle(process.hProcess);
    });
    ::CloseHandle(nul);
    Require(exitCode == EXIT_SUCCESS, "a program failed");
    return seconds;
}

void CopyDist(const std::wstring& folder) {
    for (const wchar_t* const file : {L"prodrm.dll", L"prodrm.exe", L"prodrm-pack.exe"}) {
        const std::wstring source = DistFolder() + L'\\' + file;
        Require(::CopyFileW(source.c_str(), (folder + L'\\' + file).c_str(), FALSE) != FALSE,
                "the finished product is not in PRODRM_DIST");
    }
}

void PackDocument(const std::wstring& folder, const std::wstring& document) {
    ProgramSeconds(L"\"" + folder + L"\\prodrm-pack.exe\" \"" + document + L"\" \"" + folder + L"\\prodrm.dll\"");
}

Library::Library(const std::wstring& folder) : m_module(::LoadLibraryW((folder + L"\\prodrm.dll").c_str())) {
    Require(m_module != nullptr, "the library does not load");
}

Library::~Library() {
    ::FreeLibrary(m_module);
}
