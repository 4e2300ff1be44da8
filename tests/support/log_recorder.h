#pragma once

#include <windows.h>

#include <string>
#include <vector>

struct RecordedLineView {
    DWORD level;
    const wchar_t* function;
    const wchar_t* text;
};

// One log statement, or with level 0 one call of another entry point of log.dll.
struct LogLine {
    DWORD level = 0;
    std::wstring function;
    std::wstring text;
};

// The recording stand-in for log.dll, loaded into this process under the name that the library looks for. Load it
// before the library takes its first reference. Its path lies beside the test programs' folders.
//
// As text a line reads "E Class::Method: text", with a letter for its level: Error, Warning, Info, Notice, Call.
class LogRecorder {
public:
    LogRecorder();
    ~LogRecorder();
    LogRecorder(const LogRecorder&) = delete;
    LogRecorder& operator=(const LogRecorder&) = delete;

    void Clear() const;
    std::vector<LogLine> Lines() const;
    std::vector<std::wstring> Texts() const;

    // The lines of one function only, as "E text".
    std::vector<std::wstring> Of(const std::wstring& function) const;

    // How often exactly this line was written.
    int Count(const std::wstring& line) const;
    bool Has(const std::wstring& line) const { return Count(line) > 0; }

    // Full path of the stand-in, for tests that copy it beside a library.
    static std::wstring ModulePath();

private:
    template <typename Function>
    Function Bind(const char* name) const;

    HMODULE m_module;
};
