#include "common/text.h"

#include <windows.h>

#include <algorithm>
#include <cwchar>
#include <iterator>

namespace tools {

namespace {

struct Range {
    char32_t first;
    char32_t last;
};

// Characters of two columns, in ascending order.
constexpr Range kWide[] = {
    {0x1100, 0x115F},   {0x2E80, 0x303E},   {0x3041, 0x4DBF},   {0x4E00, 0xA4CF},   {0xA960, 0xA97F},
    {0xAC00, 0xD7A3},   {0xF900, 0xFAFF},   {0xFE30, 0xFE6F},   {0xFF00, 0xFF60},   {0xFFE0, 0xFFE6},
    {0x1F300, 0x1F64F}, {0x1F680, 0x1F6FF}, {0x1F900, 0x1F9FF}, {0x20000, 0x3FFFD},
};

// Combining marks and invisible format characters, in ascending order.
constexpr Range kZero[] = {
    {0x0300, 0x036F}, {0x0483, 0x0489}, {0x0591, 0x05BD}, {0x05C1, 0x05C2}, {0x0610, 0x061A},
    {0x064B, 0x065F}, {0x06D6, 0x06DC}, {0x06DF, 0x06E4}, {0x0E34, 0x0E3A}, {0x0E47, 0x0E4E},
    {0x1AB0, 0x1AFF}, {0x1DC0, 0x1DFF}, {0x200B, 0x200F}, {0x202A, 0x202E}, {0x2060, 0x2064},
    {0x20D0, 0x20FF}, {0x3099, 0x309A}, {0xFE00, 0xFE0F}, {0xFE20, 0xFE2F}, {0xFEFF, 0xFEFF},
};

template <std::size_t Size>
bool IsIn(const Range (&ranges)[Size], char32_t character) {
    const Range* const found = std::lower_bound(std::begin(ranges), std::end(ranges), character,
                                                [](const Range& range, char32_t c) { return range.last < c; });
    return found != std::end(ranges) && found->first <= character;
}

// Control characters, line breaks, marks of the direction, halves of a pair, byte order mark, in ascending order.
constexpr Range kUnshowable[] = {
    {0x0000, 0x001F}, {0x007F, 0x009F}, {0x061C, 0x061C}, {0x200E, 0x200F},
    {0x2028, 0x202E}, {0x2066, 0x2069}, {0xD800, 0xDFFF}, {0xFEFF, 0xFEFF},
};

bool StartsPair(std::wstring_view text) {
    return text.size() > 1 && IS_HIGH_SURROGATE(text[0]) && IS_LOW_SURROGATE(text[1]);
}

// Length of the sequence \uXXXX at the start of the text, or 0.
std::size_t SequenceLength(std::wstring_view text) {
    constexpr std::size_t kLength = 6;
    const bool isOne = text.size() >= kLength && text.starts_with(L"\\u") &&
                       text.substr(0, kLength).find_first_not_of(L"0123456789ABCDEFabcdef", 2) == text.npos;
    return isOne ? kLength : 0;
}

bool HoldsSequence(std::wstring_view text) {
    for (; !text.empty(); text.remove_prefix(1)) {
        if (SequenceLength(text) != 0) {
            return true;
        }
    }
    return false;
}

void AppendSequence(std::wstring& text, wchar_t unit) {
    text += L"\\u";
    for (int shift = 12; shift >= 0; shift -= 4) {
        text += L"0123456789ABCDEF"[unit >> shift & 0xF];
    }
}

// With a sequence for each unit to be escaped, and each backslash doubled.
std::wstring Escaped(std::wstring_view text, Escape escape) {
    std::wstring escaped;
    for (std::size_t at = 0; at < text.size(); ++at) {
        const wchar_t unit = text[at];
        if (escape == Escape::Unshowable && StartsPair(text.substr(at))) {
            escaped += text.substr(at++, 2);
        } else if (IsIn(kUnshowable, unit) || (escape == Escape::NonAscii && unit > 0x7F)) {
            AppendSequence(escaped, unit);
        } else {
            escaped.append(unit == L'\\' ? 2 : 1, unit);
        }
    }
    return escaped;
}

}  // namespace

std::size_t DisplayWidth(std::wstring_view text) {
    std::size_t width = 0;
    for (std::size_t at = 0; at < text.size(); ++at) {
        char32_t character = text[at];
        if (StartsPair(text.substr(at))) {
            character = 0x10000 + ((character - 0xD800U) << 10) + (text[++at] - 0xDC00U);
        }
        if (!IsIn(kZero, character)) {
            width += IsIn(kWide, character) ? 2 : 1;
        }
    }
    return width;
}

std::wstring Printable(std::wstring_view text, Escape escape) {
    std::wstring escaped = Escaped(text, escape);
    return HoldsSequence(escaped) ? escaped : std::wstring(text);
}

std::wstring FromPrintable(std::wstring_view shown) {
    if (!HoldsSequence(shown)) {
        return std::wstring(shown);
    }
    std::wstring text;
    while (!shown.empty()) {
        std::size_t length = SequenceLength(shown);
        if (length != 0) {
            text += static_cast<wchar_t>(std::wcstoul(std::wstring(shown.substr(2, length - 2)).c_str(), nullptr, 16));
        } else {
            length = shown.starts_with(L"\\\\") ? 2 : 1;
            text += shown.front();
        }
        shown.remove_prefix(length);
    }
    return text;
}

}  // namespace tools
