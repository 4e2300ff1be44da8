#pragma once

#include <windows.h>

#include <cstdarg>
#include <functional>
#include <string>

namespace preview {

struct HeardLine {
    DWORD level;
    const wchar_t* function;
    std::wstring text;
};

// Hears what the engine in this program logs at some levels, while it stands. One at a time.
class LogEar {
public:
    // `levels` are or-ed.
    LogEar(DWORD levels, std::function<void(const HeardLine&)> hear);
    ~LogEar();
    LogEar(const LogEar&) = delete;
    LogEar& operator=(const LogEar&) = delete;

private:
    static HRESULT __cdecl Write(DWORD reserved, DWORD* level, HMODULE module, const wchar_t* function,
                                 const wchar_t* format, va_list arguments);

    static LogEar* s_ear;

    DWORD m_levels;
    std::function<void(const HeardLine&)> m_hear;
};

}  // namespace preview
