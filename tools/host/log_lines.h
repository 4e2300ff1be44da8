#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace tools::host {

// A line of the library in a log file.
struct LogLine {
    std::wstring level;
    std::wstring function;
    std::wstring text;
};

// The lines from the byte `begin` on. Throws a Failure if the file cannot be read.
std::vector<LogLine> ReadLogLines(const std::wstring& file, std::uint64_t begin = 0);

}  // namespace tools::host
