#include "log/log_fixture.h"

#include <cstdarg>

#include <doctest/doctest.h>

HRESULT LogDll::Write(DWORD level, const wchar_t* format, ...) const {
    va_list arguments;
    va_start(arguments, format);
    const HRESULT result = LogWrite(0, &level, nullptr, L"Test::Body", format, arguments);
    va_end(arguments);
    return result;
}

std::vector<Line> ReadLog(const std::wstring& path) {
    const std::string bytes = FileContent(path);
    std::vector<Line> lines;
    for (std::size_t at = 0; at < bytes.size();) {
        const auto field = [&](std::string_view end) {
            const std::size_t start = at;
            const std::size_t stop = bytes.find_first_of("\t\r\n", start);
            REQUIRE(bytes.substr(stop, end.size()) == end);
            at = stop + end.size();
            return bytes.substr(start, stop - start);
        };
        lines.push_back({field("\t"), field("\t"), field("\t"), field("\t"), field("\t"), field("\r\n")});
    }
    return lines;
}

std::string Texts(const std::wstring& path) {
    std::string texts;
    for (const Line& line : ReadLog(path)) {
        if (line.function != "log") {
            texts += (texts.empty() ? "" : "|") + line.text;
        }
    }
    return texts;
}

OpenLog::OpenLog() {
    REQUIRE(log.LogInit() == S_OK);
    REQUIRE(log.LogSetPath(path.c_str()) == S_OK);
}
