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

    bool operator==(const LogLine&) const = default;
};

// The recording stand-in for log.dll, loaded into this process under the name that the library looks for. Load it
// before the library takes its first reference. Its path lies beside the test programs' folders.
class LogRecorder {
public:
    LogRecorder();
    ~LogRecorder();
    LogRecorder(const LogRecorder&) = delete;
    LogRecorder& operator=(const LogRecorder&) = delete;

    void Clear();
    std::vector<LogLine> Lines() const;

    // Lines of one function only, as "level text".
    std::vector<std::wstring> Of(const std::wstring& function) const;

    // How often exactly this line was written.
    int Count(DWORD level, const std::wstring& function, const std::wstring& text) const;
    bool Has(DWORD level, const std::wstring& function, const std::wstring& text) const {
        return Count(level, function, text) > 0;
    }

    // All lines, one a row, for INFO in a failing test.
    std::wstring Dump() const;

    // Full path of the stand-in, for tests that copy it beside a library.
    static std::wstring ModulePath();

private:
    template <typename Function>
    Function Bind(const char* name) const;

    HMODULE m_module;
};
