#pragma once

#include <windows.h>

#include <algorithm>
#include <string>
#include <utility>
#include <vector>

// Texts of tests: tables and comparable lines.

using Lines = std::vector<std::wstring>;

inline std::string Utf8(const std::wstring& text) {
    std::string bytes(text.size() * 3, '\0');
    const int size = ::WideCharToMultiByte(CP_UTF8, 0, text.data(), static_cast<int>(text.size()), bytes.data(),
                                           static_cast<int>(bytes.size()), nullptr, nullptr);
    bytes.resize(static_cast<std::size_t>(size));
    return bytes;
}

// `text` with every `mark` replaced.
inline std::wstring Replaced(std::wstring text, const std::wstring& mark, const std::wstring& by) {
    for (std::size_t at = text.find(mark); at != std::wstring::npos; at = text.find(mark, at + by.size())) {
        text.replace(at, mark.size(), by);
    }
    return text;
}

inline std::wstring Joined(const Lines& lines, const std::wstring& between = L" / ") {
    std::wstring text;
    for (const std::wstring& line : lines) {
        text += (text.empty() ? L"" : between) + line;
    }
    return text;
}

// The pieces of `text` between `separators`, without the blanks around them.
inline Lines Split(const std::wstring& text, wchar_t separator) {
    Lines pieces;
    for (std::size_t at = 0; at <= text.size();) {
        const std::size_t end = std::min(text.find(separator, at), text.size());
        std::wstring piece = text.substr(at, end - at);
        piece.erase(piece.find_last_not_of(L' ') + 1);
        pieces.push_back(piece.erase(0, piece.find_first_not_of(L' ')));
        at = end + 1;
    }
    return pieces;
}

// A table as text: one row a line, its cells between bars. Empty lines and those that start with "//" are left out.
inline std::vector<Lines> Rows(const std::wstring& table, std::size_t cells) {
    std::vector<Lines> rows;
    for (const std::wstring& line : Split(table, L'\n')) {
        if (!line.empty() && !line.starts_with(L"//")) {
            rows.push_back(Split(line, L'|'));
            rows.back().resize(cells);
        }
    }
    return rows;
}

// Short names for what is called differently in each run, the longest real text first.
class Nicknames : public std::vector<std::pair<std::wstring, std::wstring>> {
public:
    using vector::vector;

    std::wstring Real(std::wstring text) const {
        for (const auto& [nick, real] : *this) {
            text = Replaced(std::move(text), nick, real);
        }
        return text;
    }
    std::wstring Nick(std::wstring text) const {
        for (const auto& [nick, real] : *this) {
            text = Replaced(std::move(text), real, nick);
        }
        return text;
    }
};
