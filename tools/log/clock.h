#pragma once

#include <windows.h>

#include <cstddef>

namespace tools::logwriter {

// 2031-05-09T14:03:27.045+02:00: local time and its distance from UTC.
constexpr std::size_t kStampChars = 29;

// Writes `value` in decimal at `at`, with `digits` digits and zeros in front.
void PutDigits(char* at, unsigned value, std::size_t digits);

// The present time as text. The calendar is worked out once a second.
class Clock {
public:
    // Fills kStampChars characters; no terminator.
    void Stamp(char* field);

private:
    void WorkOut(const FILETIME& now);

    ULONGLONG m_second = 0;
    char m_text[kStampChars] = {};
};

}  // namespace tools::logwriter
