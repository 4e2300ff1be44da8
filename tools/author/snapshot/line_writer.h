#pragma once

#include <string>
#include <string_view>

#include "foundation/owned.h"

namespace tools::author {

// A new file of lines, written in big pieces. Failures are thrown as a Failure. A file that was not closed goes with
// its writer.
class LineWriter {
public:
    explicit LineWriter(const std::wstring& file);
    LineWriter(const LineWriter&) = delete;
    LineWriter& operator=(const LineWriter&) = delete;
    ~LineWriter();

    // `line` is without its end.
    void Write(std::string_view line);
    void Close();

    unsigned long Lines() const { return m_lines; }

private:
    void Flush();

    std::wstring m_file;
    OwnedFileHandle m_handle;
    std::string m_pending;
    unsigned long m_lines = 0;
};

}  // namespace tools::author
