#include "clock.h"

#include <cstring>
#include <string_view>

namespace tools::logwriter {

namespace {

// A FILETIME counts tenths of a microsecond.
constexpr ULONGLONG kTicksPerMillisecond = 10'000;
constexpr ULONGLONG kTicksPerSecond = 1000 * kTicksPerMillisecond;
constexpr LONGLONG kTicksPerMinute = 60 * static_cast<LONGLONG>(kTicksPerSecond);

constexpr std::size_t kMillisecondsAt = 20;

ULONGLONG Ticks(const FILETIME& time) {
    return static_cast<ULONGLONG>(time.dwHighDateTime) << 32 | time.dwLowDateTime;
}

}  // namespace

void PutDigits(char* at, unsigned value, std::size_t digits) {
    while (digits > 0) {
        at[--digits] = static_cast<char>('0' + value % 10);
        value /= 10;
    }
}

void Clock::Stamp(char* field) {
    FILETIME now;
    ::GetSystemTimeAsFileTime(&now);
    const ULONGLONG ticks = Ticks(now);
    if (ticks / kTicksPerSecond != m_second) {
        WorkOut(now);
        m_second = ticks / kTicksPerSecond;
    }
    std::memcpy(field, m_text, kStampChars);
    PutDigits(field + kMillisecondsAt, static_cast<unsigned>(ticks % kTicksPerSecond / kTicksPerMillisecond), 3);
}

void Clock::WorkOut(const FILETIME& now) {
    // Unlike a query of the time zone, the conversion needs no module that would have to be loaded.
    FILETIME local = now;
    ::FileTimeToLocalFileTime(&now, &local);
    SYSTEMTIME time = {};
    ::FileTimeToSystemTime(&local, &time);
    const LONGLONG distance = static_cast<LONGLONG>(Ticks(local)) - static_cast<LONGLONG>(Ticks(now));
    const unsigned minutes = static_cast<unsigned>((distance < 0 ? -distance : distance) / kTicksPerMinute);

    constexpr std::string_view kShape = "0000-00-00T00:00:00.000+00:00";
    static_assert(kShape.size() == kStampChars);
    std::memcpy(m_text, kShape.data(), kStampChars);
    PutDigits(m_text, time.wYear, 4);
    PutDigits(m_text + 5, time.wMonth, 2);
    PutDigits(m_text + 8, time.wDay, 2);
    PutDigits(m_text + 11, time.wHour, 2);
    PutDigits(m_text + 14, time.wMinute, 2);
    PutDigits(m_text + 17, time.wSecond, 2);
    m_text[23] = distance < 0 ? '-' : '+';
    PutDigits(m_text + 24, minutes / 60, 2);
    PutDigits(m_text + 27, minutes % 60, 2);
}

}  // namespace tools::logwriter
