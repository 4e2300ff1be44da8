#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "foundation/owned.h"

namespace tools::author {

// The lines of a file, read in big pieces. Throws a Failure.
class LineReader {
public:
    explicit LineReader(const std::wstring& file);

    // False at the end; then Line is empty.
    bool Next();
    // Valid until Next. Without its end.
    std::string_view Line() const { return m_line; }
    const std::wstring& File() const { return m_file; }

private:
    bool Fill();

    std::wstring m_file;
    OwnedFileHandle m_handle;
    std::vector<char> m_buffer;
    std::size_t m_begin = 0;  // of what is not yet given out
    std::size_t m_end = 0;
    std::string_view m_line;
};

}  // namespace tools::author
