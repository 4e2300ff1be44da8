#include "log/log_fixture.h"

#include <algorithm>

#include <doctest/doctest.h>

std::wstring BuiltLogDll() {
    wchar_t folder[MAX_PATH] = {};
    REQUIRE(::GetEnvironmentVariableW(L"PRODRM_DIST", folder, MAX_PATH) != 0);
    return std::wstring(folder) + L"\\log.dll";
}

LogDll::LogDll(const std::wstring& path) : m_module(::LoadLibraryW(path.c_str())) {}

FARPROC LogDll::BindAny(const char* name) const {
    const FARPROC found = ::GetProcAddress(m_module, name);
    const bool isFound = found != nullptr;
    REQUIRE_MESSAGE(isFound, name);
    return found;
}

void LogDll::Unload() {
    if (m_module != nullptr) {
        ::FreeLibrary(m_module);
        m_module = nullptr;
    }
}

HRESULT LogDll::Write(DWORD level, const wchar_t* format, ...) const {
    va_list arguments;
    va_start(arguments, format);
    const HRESULT result = LogWrite(0, &level, nullptr, L"Test::Body", format, arguments);
    va_end(arguments);
    return result;
}

std::string ReadBytes(const std::wstring& path) {
    const HANDLE file =
        ::CreateFileW(path.c_str(), GENERIC_READ, FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE, nullptr,
                      OPEN_EXISTING, 0, nullptr);
    REQUIRE(file != INVALID_HANDLE_VALUE);
    std::string bytes(::GetFileSize(file, nullptr), '\0');
    DWORD read = 0;
    ::ReadFile(file, bytes.data(), static_cast<DWORD>(bytes.size()), &read, nullptr);
    ::CloseHandle(file);
    return bytes;
}

std::vector<Line> ReadLog(const std::wstring& path) {
    const std::string bytes = ReadBytes(path);
    std::vector<Line> lines;
    for (std::size_t start = 0; start < bytes.size();) {
        const std::size_t end = bytes.find("\r\n", start);
        REQUIRE(end != std::string::npos);
        std::string rest = bytes.substr(start, end - start);
        REQUIRE_MESSAGE(std::count(rest.begin(), rest.end(), '\t') == 5, rest);
        const auto field = [&rest] {
            const std::string head = rest.substr(0, rest.find('\t'));
            rest.erase(0, head.size() + 1);
            return head;
        };
        lines.push_back({field(), field(), field(), field(), field(), field()});
        start = end + 2;
    }
    return lines;
}

std::string Texts(const std::wstring& path) {
    std::string texts;
    for (const Line& line : ReadLog(path)) {
        if (line.function != "log") {
            texts += (texts.empty() ? "" : "|") + line.text;
        }
    }
    return texts;
}

bool IsClosed(const std::wstring& path) {
    const HANDLE file = ::CreateFileW(path.c_str(), GENERIC_READ, 0, nullptr, OPEN_EXISTING, 0, nullptr);
    if (file == INVALID_HANDLE_VALUE) {
        return false;
    }
    ::CloseHandle(file);
    return true;
}

OpenLog::OpenLog() {
    REQUIRE(log.LogInit() == S_OK);
    REQUIRE(log.LogSetPath(path.c_str()) == S_OK);
}
