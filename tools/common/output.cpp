#include "common/output.h"

#include <algorithm>
#include <cstddef>
#include <new>

#include "common/utf8.h"

namespace tools {

namespace {

// The line breaks of the system.
std::wstring WithLineBreaks(std::wstring_view text) {
    std::wstring lines;
    for (const wchar_t unit : text) {
        if (unit == L'\n') {
            lines += L'\r';
        }
        lines += unit;
    }
    return lines;
}

}  // namespace

Output::Output(DWORD stream) : m_handle(::GetStdHandle(stream)) {
    DWORD mode = 0;
    m_isConsole = ::GetConsoleMode(m_handle, &mode) != FALSE;
}

void Output::Write(std::wstring_view text) noexcept {
    if (m_handle == nullptr || m_handle == INVALID_HANDLE_VALUE) {
        return;
    }
    try {
        const std::wstring lines = WithLineBreaks(text);
        if (m_isConsole) {
            WriteConsoleText(lines);
        } else {
            WriteBytes(ToUtf8(lines));
        }
    } catch (const std::bad_alloc&) {
        m_failed = true;
    }
}

void Output::WriteLine(std::wstring_view text) noexcept {
    Write(text);
    Write(L"\n");
}

void Output::WriteConsoleText(const std::wstring& text) {
    constexpr std::size_t kMostUnits = 8000;  // older consoles refuse more than 64 KB in one call
    for (std::size_t at = 0; at < text.size();) {
        const auto units = static_cast<DWORD>(std::min(text.size() - at, kMostUnits));
        DWORD written = 0;
        if (!::WriteConsoleW(m_handle, &text[at], units, &written, nullptr) || written == 0) {
            m_failed = true;
            return;
        }
        at += written;
    }
}

void Output::WriteBytes(const std::string& bytes) {
    for (std::size_t at = 0; at < bytes.size();) {
        DWORD written = 0;
        if (!::WriteFile(m_handle, &bytes[at], static_cast<DWORD>(bytes.size() - at), &written, nullptr) ||
            written == 0) {
            m_failed = true;
            return;
        }
        at += written;
    }
}

unsigned ConsoleColumns() {
    CONSOLE_SCREEN_BUFFER_INFO info = {};
    if (!::GetConsoleScreenBufferInfo(::GetStdHandle(STD_OUTPUT_HANDLE), &info)) {
        return 80;
    }
    return static_cast<unsigned>(info.srWindow.Right - info.srWindow.Left + 1);
}

}  // namespace tools
