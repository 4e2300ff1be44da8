#pragma once

#include <windows.h>

#include <string>
#include <string_view>

namespace tools {

// A standard stream of the program: wide text on a console, UTF-8 anywhere else; "\n" ends a line. Nothing here throws,
// so that it may be used from within a call of the library; a failed write is remembered. A program that was started
// without the stream writes to nobody, which is no failure.
class Output {
public:
    // STD_OUTPUT_HANDLE or STD_ERROR_HANDLE.
    explicit Output(DWORD stream);

    bool IsConsole() const { return m_isConsole; }
    bool Failed() const { return m_failed; }

    void Write(std::wstring_view text) noexcept;
    void WriteLine(std::wstring_view text) noexcept;

private:
    void WriteConsoleText(const std::wstring& text);
    void WriteBytes(const std::string& bytes);

    HANDLE m_handle;
    bool m_isConsole;
    bool m_failed = false;
};

// Columns of the console behind the standard output; 80 where there is none.
unsigned ConsoleColumns();

}  // namespace tools
