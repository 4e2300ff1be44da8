// What a line looks like, and which lines are written.
#include "log/log_fixture.h"

#include <cstdio>
#include <string>

#include <doctest/doctest.h>

namespace {

// Seconds from the time of a line, read with its distance from UTC, to now.
long long Age(const std::string& stamp) {
    SYSTEMTIME time = {};
    char sign = 0;
    int hours = 0;
    int minutes = 0;
    REQUIRE(stamp.size() == 29);
    REQUIRE(std::sscanf(stamp.c_str(), "%4hu-%2hu-%2huT%2hu:%2hu:%2hu.%3hu%c%2d:%2d", &time.wYear, &time.wMonth,
                        &time.wDay, &time.wHour, &time.wMinute, &time.wSecond, &time.wMilliseconds, &sign, &hours,
                        &minutes) == 10);
    FILETIME then = {};
    FILETIME now = {};
    REQUIRE(::SystemTimeToFileTime(&time, &then));
    ::GetSystemTimeAsFileTime(&now);
    const auto seconds = [](const FILETIME& value) {
        return (static_cast<long long>(value.dwHighDateTime) << 32 | value.dwLowDateTime) / 10'000'000;
    };
    return seconds(now) - seconds(then) + (sign == '-' ? -60 : 60) * (hours * 60 + minutes);
}

std::wstring g_debugText;

}  // namespace

TEST_CASE_FIXTURE(OpenLog, "a line tells time, thread, level, module, function and text") {
    ::SetLastError(99);
    const HRESULT result = log.Write(LOG_LEVEL_ERROR, L"failed 0x%x for \"%s\" %d", 0x80070005, L"a b", -3);
    CHECK(::GetLastError() == 99);
    REQUIRE(result == S_OK);
    DWORD level = LOG_LEVEL_WARNING;
    REQUIRE(log.LogWrite(0, &level, log.Handle(), nullptr, L"100%%", nullptr) == S_OK);
    log.Write(LOG_LEVEL_INFO, L"-");
    log.Write(LOG_LEVEL_NOTICE, L"-");

    const std::vector<Line> lines = ReadLog(path);
    REQUIRE(lines.size() == 5);
    CHECK(lines[0].text.find("opened by ") == 0);
    CHECK(Age(lines[1].time) >= 0);
    CHECK(Age(lines[1].time) < 60);
    CHECK(lines[1].thread == std::to_string(::GetCurrentProcessId()) + ':' + std::to_string(::GetCurrentThreadId()));
    CHECK(lines[1].level == "ERROR");
    CHECK(lines[1].module == "test_log.exe");
    CHECK(lines[1].function == "Test::Body");
    CHECK(lines[1].text == "failed 0x80070005 for \"a b\" -3");
    CHECK(lines[2].level == "WARNING");
    CHECK(lines[2].module == "log.dll");
    CHECK(lines[2].function.empty());
    CHECK(lines[2].text == "100%");
    CHECK(lines[3].level == "INFO");
    CHECK(lines[4].level == "NOTICE");
}

TEST_CASE_FIXTURE(OpenLog, "any text stays one line of valid UTF-8") {
    log.Write(4, L"%s", L"\u00E9\u20AC\U0001F600\xD83D lone \xDE00");
    log.Write(4, L"two\r\nlines\tand \x1B\x7F\x85\u2028 more\r\n");
    log.Write(4, L"");
    CHECK(Texts(path) ==
          "\xC3\xA9\xE2\x82\xAC\xF0\x9F\x98\x80\xEF\xBF\xBD lone \xEF\xBF\xBD"
          "|two\xE2\x90\x8D\xE2\x90\x8Alines\xE2\x90\x89"
          "and \xE2\x90\x9B\xE2\x90\xA1\xE2\x90\xA4\xE2\x90\xA4 more|");
}

TEST_CASE_FIXTURE(OpenLog, "a text of any length is written whole") {
    std::string expected;
    for (const std::size_t length : {1022U, 1023U, 1024U, 1025U, 2048U, 200'000U}) {
        REQUIRE(log.Write(4, L"%s<", std::wstring(length, L'\u00FC').c_str()) == S_OK);
        expected += expected.empty() ? "" : "|";
        for (std::size_t i = 0; i < length; ++i) {
            expected += "\xC3\xBC";
        }
        expected += '<';
    }
    CHECK((Texts(path) == expected));
}

TEST_CASE_FIXTURE(OpenLog, "level and switches decide what is written") {
    CHECK(log.LogGetLevel() == LOG_LEVEL_NOTICE);
    CHECK(log.Write(0x21, L"too high") == S_FALSE);
    log.LogSetLevel(LOG_LEVEL_WARNING);
    CHECK(log.LogGetLevel() == LOG_LEVEL_WARNING);
    CHECK(log.Write(LOG_LEVEL_INFO, L"too high") == S_FALSE);
    CHECK(log.Write(LOG_LEVEL_WARNING, L"warning") == S_OK);
    CHECK(log.Write(LOG_LEVEL_ERROR, L"error") == S_OK);
    log.LogEnable(FALSE);
    CHECK_FALSE(log.LogIsEnabled());
    CHECK(log.Write(LOG_LEVEL_ERROR, L"off") == S_FALSE);
    log.LogEnable(TRUE);
    CHECK(log.LogIsEnabled());
    log.LogSetType(0);
    CHECK(log.Write(LOG_LEVEL_ERROR, L"nowhere") == S_FALSE);
    log.LogSetType(LOG_TYPE_FILE);
    CHECK(Texts(path) == "warning|error");
}

TEST_CASE_FIXTURE(OpenLog, "events are written whatever the level, until tracking ends") {
    log.LogSetLevel(0);
    CHECK(log.LogTrackEvent(L"removal started") == S_OK);
    CHECK(log.LogTrackEventData(L"product removed", L"sample 1.0") == S_OK);
    REQUIRE(log.LogInit() == S_OK);
    CHECK(log.LogUninitDeskMetrics() == S_OK);
    CHECK(log.LogTrackEvent(L"other holder") == S_OK);
    CHECK(log.LogUninitDeskMetrics() == S_OK);
    CHECK(log.LogTrackEvent(L"ignored") == S_FALSE);
    CHECK(log.LogUninitDeskMetrics() == S_FALSE);

    const std::vector<Line> lines = ReadLog(path);
    REQUIRE(lines.size() == 3);
    CHECK(lines[0].level == "EVENT");
    CHECK(lines[0].module == "test_log.exe");
    CHECK(lines[0].function == "removal started");
    CHECK(lines[1].function == "product removed");
    CHECK(lines[1].text == "sample 1.0");
    CHECK(lines[2].function == "other holder");
}
