#include "log_lines.h"

#include <windows.h>

#include <array>
#include <cstddef>
#include <string_view>

#include "common/failure.h"
#include "common/utf8.h"
#include "foundation/owned.h"

namespace tools::host {

namespace {

// Of the fields of a line: time, thread, level, module, function, text.
constexpr std::size_t kFields = 6;

std::string ReadFile(const std::wstring& path) {
    constexpr DWORD kShareAll = FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE;
    const OwnedFileHandle file(
        ::CreateFileW(path.c_str(), GENERIC_READ, kShareAll, nullptr, OPEN_EXISTING, FILE_ATTRIBUTE_NORMAL, nullptr));
    std::string bytes(file ? ::GetFileSize(file.Get(), nullptr) : 0, '\0');
    DWORD read = 0;
    if (!file || !::ReadFile(file.Get(), bytes.data(), static_cast<DWORD>(bytes.size()), &read, nullptr)) {
        throw Failure(ERROR_INSTALL_FAILURE, L"the log of this run cannot be read back: " + path);
    }
    bytes.resize(read);
    return bytes;
}

// False unless the line has all fields and stems from the library.
bool Parse(std::string_view line, LogLine& parsed) {
    std::array<std::string_view, kFields> fields;
    for (std::size_t field = 0; field + 1 < kFields; ++field) {
        const std::size_t tab = line.find('\t');
        if (tab == std::string_view::npos) {
            return false;
        }
        fields[field] = line.substr(0, tab);
        line = line.substr(tab + 1);
    }
    fields.back() = line;
    if (fields[3] != "prodrm.dll") {
        return false;
    }
    parsed = {FromUtf8(fields[2]), FromUtf8(fields[4]), FromUtf8(fields[5])};
    return true;
}

}  // namespace

std::vector<LogLine> ReadLogLines(const std::wstring& file, std::uint64_t begin) {
    const std::string bytes = ReadFile(file);
    const std::string_view text = bytes;
    std::vector<LogLine> lines;
    for (auto at = static_cast<std::size_t>(begin); at < text.size();) {
        const std::size_t end = std::min(text.find("\r\n", at), text.size());
        LogLine line;
        if (Parse(text.substr(at, end - at), line)) {
            lines.push_back(std::move(line));
        }
        at = end + 2;
    }
    return lines;
}

}  // namespace tools::host
