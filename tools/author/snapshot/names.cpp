#include "author/snapshot/names.h"

#include <array>

namespace tools::author {

namespace {

constexpr char kMark = '`';
constexpr std::size_t kMarkLength = 5;  // the mark and its digits

bool IsHighSurrogate(wchar_t unit) {
    return unit >= 0xD800 && unit <= 0xDBFF;
}

bool IsLowSurrogate(wchar_t unit) {
    return unit >= 0xDC00 && unit <= 0xDFFF;
}

bool NeedsMark(wchar_t unit) {
    return unit < 0x20 || (unit >= 0x7F && unit <= 0x9F) || unit == kMark;
}

void AppendMarked(std::string& line, wchar_t unit) {
    constexpr char digits[] = "0123456789abcdef";
    line += {kMark, digits[unit >> 12], digits[unit >> 8 & 15], digits[unit >> 4 & 15], digits[unit & 15]};
}

void AppendUtf8(std::string& line, char32_t code) {
    if (code < 0x80) {
        line += static_cast<char>(code);
        return;
    }
    const auto tail = [code](int shift) { return static_cast<char>(0x80 | (code >> shift & 0x3F)); };
    if (code < 0x800) {
        line += {static_cast<char>(0xC0 | code >> 6), tail(0)};
    } else if (code < 0x10000) {
        line += {static_cast<char>(0xE0 | code >> 12), tail(6), tail(0)};
    } else {
        line += {static_cast<char>(0xF0 | code >> 18), tail(12), tail(6), tail(0)};
    }
}

// The unit that a mark at the front stands for; -1 if there is none.
int MarkedUnit(std::string_view written) {
    if (written.size() < kMarkLength || written[0] != kMark) {
        return -1;
    }
    int unit = 0;
    for (const char digit : written.substr(1, kMarkLength - 1)) {
        if (digit >= '0' && digit <= '9') {
            unit = unit * 16 + (digit - '0');
        } else if (digit >= 'a' && digit <= 'f') {
            unit = unit * 16 + (digit - 'a' + 10);
        } else {
            return -1;
        }
    }
    return unit;
}

// Takes the code point at the front off, of text that AppendUtf8 wrote. Bytes of no such text stand for themselves.
char32_t TakeCodePoint(std::string_view& written) {
    const auto byte = [&written](std::size_t index) { return static_cast<unsigned char>(written[index]); };
    const std::size_t length = byte(0) < 0xC0 ? 1 : byte(0) < 0xE0 ? 2 : byte(0) < 0xF0 ? 3 : 4;
    if (length == 1 || written.size() < length) {
        const char32_t single = byte(0);
        written.remove_prefix(1);
        return single;
    }
    constexpr std::array<unsigned char, 5> kLeadBits = {0, 0, 0x1F, 0x0F, 0x07};
    char32_t code = byte(0) & kLeadBits[length];
    for (std::size_t index = 1; index < length; ++index) {
        code = code << 6 | (byte(index) & 0x3F);
    }
    written.remove_prefix(length);
    return code;
}

}  // namespace

void AppendEscaped(std::string& line, std::wstring_view text) {
    for (std::size_t index = 0; index < text.size(); ++index) {
        const wchar_t unit = text[index];
        if (NeedsMark(unit)) {
            AppendMarked(line, unit);
        } else if (IsHighSurrogate(unit) && index + 1 < text.size() && IsLowSurrogate(text[index + 1])) {
            AppendUtf8(line, 0x10000 + ((unit - 0xD800U) << 10) + (text[index + 1] - 0xDC00U));
            ++index;
        } else if (IsHighSurrogate(unit) || IsLowSurrogate(unit)) {
            AppendMarked(line, unit);
        } else {
            AppendUtf8(line, unit);
        }
    }
}

std::string Escaped(std::wstring_view text) {
    std::string written;
    written.reserve(text.size());
    AppendEscaped(written, text);
    return written;
}

std::wstring Unescaped(std::string_view written) {
    std::wstring text;
    text.reserve(written.size());
    while (!written.empty()) {
        if (const int unit = MarkedUnit(written); unit >= 0) {
            text += static_cast<wchar_t>(unit);
            written.remove_prefix(kMarkLength);
            continue;
        }
        const char32_t code = TakeCodePoint(written);
        if (code < 0x10000) {
            text += static_cast<wchar_t>(code);
        } else {
            text += static_cast<wchar_t>(0xD800 + ((code - 0x10000) >> 10));
            text += static_cast<wchar_t>(0xDC00 + ((code - 0x10000) & 0x3FF));
        }
    }
    return text;
}

}  // namespace tools::author
