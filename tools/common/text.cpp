#include "common/text.h"

#include <windows.h>

#include <algorithm>
#include <iterator>

namespace tools {

namespace {

constexpr wchar_t kReplacement = 0xFFFD;

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

bool IsControl(wchar_t unit) {
    return unit < 0x20 || (unit >= 0x7F && unit < 0xA0);
}

}  // namespace

std::size_t DisplayWidth(std::wstring_view text) {
    std::size_t width = 0;
    for (std::size_t at = 0; at < text.size(); ++at) {
        char32_t character = text[at];
        if (IS_HIGH_SURROGATE(text[at]) && at + 1 < text.size() && IS_LOW_SURROGATE(text[at + 1])) {
            character = 0x10000 + ((character - 0xD800U) << 10) + (text[++at] - 0xDC00U);
        }
        if (!IsIn(kZero, character)) {
            width += IsIn(kWide, character) ? 2 : 1;
        }
    }
    return width;
}

std::wstring Printable(std::wstring_view text) {
    std::wstring printable(text);
    std::replace_if(printable.begin(), printable.end(), IsControl, kReplacement);
    return printable;
}

}  // namespace tools
