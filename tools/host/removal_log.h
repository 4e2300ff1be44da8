#pragma once

#include <cstdint>
#include <map>
#include <string>

#include "command_line.h"

namespace tools::host {

// What the library complained of, by the thing that it named: a path, or a key with its long hive name, in capitals.
class Complaints {
public:
    void Add(const std::wstring& line);
    // The library's words of it, with the system's own for their code; empty if it said nothing.
    std::wstring About(const std::wstring& path) const;

private:
    std::map<std::wstring, std::wstring> m_lines;
};

// The library's log of one run, for this program to read: the file that the user asked for, or a temporary one.
class RemovalLog {
public:
    // Changes where `options` lets the log go, unless that is said already. Made before the log is opened.
    explicit RemovalLog(Options& options);
    ~RemovalLog();
    RemovalLog(const RemovalLog&) = delete;
    RemovalLog& operator=(const RemovalLog&) = delete;

    // Of the lines that this run has added so far.
    Complaints Read() const;

private:
    std::wstring m_file;  // empty: there is no log
    bool m_isTemporary = false;
    std::uint64_t m_begin = 0;  // bytes that were there before
};

}  // namespace tools::host
