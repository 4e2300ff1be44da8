// What a line looks like, and which lines are written.
#include "log/log_fixture.h"

#include <cstdio>

#include <doctest/doctest.h>

#include "support/script_builder.h"

namespace {

// The part of a line's time that says no zone.
std::string LocalTime() {
    SYSTEMTIME now = {};
    ::GetLocalTime(&now);
    char text[64] = {};
    std::snprintf(text, sizeof text, "%04u-%02u-%02uT%02u:%02u:%02u.%03u", now.wYear, now.wMonth, now.wDay, now.wHour,
                  now.wMinute, now.wSecond, now.wMilliseconds);
    return text;
}

std::string Told(const Line& line) {
    return line.level + ' ' + line.module + ' ' + line.function + ": " + line.text;
}

}  // namespace

TEST_CASE_FIXTURE(OpenLog, "a line tells time, thread, level, module, function and text") {
    const std::string before = LocalTime();
    ::SetLastError(99);
    CHECK(log.Write(LOG_LEVEL_ERROR, L"failed 0x%x for \"%s\" %d", 0x80070005, L"a b", -3) == S_OK);
    CHECK(::GetLastError() == 99);
    const std::string after = LocalTime();
    DWORD level = LOG_LEVEL_WARNING;
    CHECK(log.LogWrite(0, &level, log.module.Get(), nullptr, L"100%%", nullptr) == S_OK);

    const std::vector<Line> lines = ReadLog(path);
    REQUIRE(lines.size() == 3);
    CHECK(lines[0].text.find("opened by ") == 0);
    REQUIRE(lines[1].time.size() == 29);
    CHECK(lines[1].time.substr(0, 23) >= before);
    CHECK(lines[1].time.substr(0, 23) <= after);
    CHECK(lines[1].thread == std::to_string(::GetCurrentProcessId()) + ':' + std::to_string(::GetCurrentThreadId()));
    CHECK(Told(lines[1]) == "ERROR test_log.exe Test::Body: failed 0x80070005 for \"a b\" -3");
    CHECK(Told(lines[2]) == "WARNING log.dll : 100%");
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
    for (const std::size_t length : {1022U, 1023U, 1024U, 200'000U}) {
        const std::wstring text(length, L'\u00FC');
        CHECK(log.Write(4, L"%s<", text.c_str()) == S_OK);
        expected += Utf8(text) + "<|";
    }
    log.Write(4, L"");
    CHECK((Texts(path) == expected));
}

TEST_CASE_FIXTURE(OpenLog, "level and switches decide what is written") {
    CHECK(log.Write(0x21, L"too high") == S_FALSE);
    log.LogSetLevel(LOG_LEVEL_WARNING);
    CHECK(log.Write(LOG_LEVEL_INFO, L"too high") == S_FALSE);
    CHECK(log.Write(LOG_LEVEL_WARNING, L"warning") == S_OK);
    log.LogEnable(FALSE);
    CHECK(log.Write(LOG_LEVEL_ERROR, L"off") == S_FALSE);
    CHECK(Texts(path) == "warning");
}

TEST_CASE_FIXTURE(OpenLog, "events are written whatever the level, until tracking ends") {
    log.LogSetLevel(0);
    CHECK(log.LogTrackEventData(L"product removed", L"sample 1.0") == S_OK);
    REQUIRE(log.LogInit() == S_OK);
    CHECK(log.LogUninitDeskMetrics() == S_OK);
    CHECK(log.LogTrackEvent(L"other holder") == S_OK);
    CHECK(log.LogUninitDeskMetrics() == S_OK);
    CHECK(log.LogTrackEvent(L"ignored") == S_FALSE);

    const std::vector<Line> lines = ReadLog(path);
    REQUIRE(lines.size() == 2);
    CHECK(Told(lines[0]) == "EVENT test_log.exe product removed: sample 1.0");
    CHECK(Told(lines[1]) == "EVENT test_log.exe other holder: ");
}
