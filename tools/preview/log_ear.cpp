#include "log_ear.h"

#include <cstdio>
#include <cwchar>

#include "foundation/CLogDLL.h"

namespace preview {

namespace {

constexpr std::size_t kLineChars = 0x1000;  // what is longer is cut

}  // namespace

LogEar* LogEar::s_ear = nullptr;

LogEar::LogEar(DWORD levels, std::function<void(const HeardLine&)> hear) : m_levels(levels), m_hear(std::move(hear)) {
    s_ear = this;
    logging::CLogDLL::AddReference(&LogEar::Write);
}

LogEar::~LogEar() {
    logging::CLogDLL::Release();
    s_ear = nullptr;
}

HRESULT __cdecl LogEar::Write(DWORD, DWORD* level, HMODULE, const wchar_t* function, const wchar_t* format,
                              va_list arguments) {
    if ((*level & s_ear->m_levels) == 0) {
        return S_OK;
    }
    wchar_t text[kLineChars + 1] = {};
    ::_vsnwprintf(text, kLineChars, format, arguments);
    s_ear->m_hear({*level, function, text});
    return S_OK;
}

}  // namespace preview
