#include "author/snapshot/text_file.h"

#include "author/snapshot/line_reader.h"

namespace tools::author {

std::string ReadTextFile(const std::wstring& file) {
    std::string text;
    LineReader lines(file);
    while (lines.Next()) {
        text.append(lines.Line()).append("\n");
    }
    if (text.starts_with("\xEF\xBB\xBF")) {
        text.erase(0, 3);
    }
    return text;
}

}  // namespace tools::author
