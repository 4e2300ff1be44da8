#pragma once

#include <string>
#include <vector>

namespace tools::host {

// A line of the library in a log file.
struct LogLine {
    std::wstring level;
    std::wstring function;
    std::wstring text;
};

// Throws a Failure if the file cannot be read.
std::vector<LogLine> ReadLogLines(const std::wstring& file);

}  // namespace tools::host
