#include "line.h"

#include <cstring>
#include <cwchar>
#include <new>

#include "clock.h"

namespace tools::logwriter {

namespace {

// Most bytes that one UTF-16 unit takes: a pair of units takes four bytes.
constexpr std::size_t kBytesPerUnit = 3;

// Longer fields are refused like a lack of memory: their size in bytes would leave 32 bits.
constexpr std::size_t kMostUnits = 0x10000000;

constexpr char32_t kReplacement = 0xFFFD;
constexpr char32_t kControlPictures = 0x2400;  // the signs of the characters 0 to 0x1F, in their order
constexpr char32_t kDeletePicture = 0x2421;
constexpr char32_t kNewLinePicture = 0x2424;

constexpr bool IsHighSurrogate(wchar_t unit) {
    return unit >= 0xD800 && unit < 0xDC00;
}

constexpr bool IsLowSurrogate(wchar_t unit) {
    return unit >= 0xDC00 && unit < 0xE000;
}

// The character at `at`, which moves behind it.
char32_t Next(const wchar_t*& at, const wchar_t* end) {
    const wchar_t unit = *at++;
    if (IsLowSurrogate(unit)) {
        return kReplacement;
    }
    if (!IsHighSurrogate(unit)) {
        return unit;
    }
    if (at == end || !IsLowSurrogate(*at)) {
        return kReplacement;
    }
    const char32_t low = *at++ - 0xDC00U;
    return 0x10000 + ((unit - 0xD800U) << 10) + low;
}

constexpr char32_t Visible(char32_t character) {
    if (character < 0x20) {
        return kControlPictures + character;
    }
    if (character == 0x7F) {
        return kDeletePicture;
    }
    if (character >= 0x80 && character < 0xA0) {
        return character == 0x85 ? kNewLinePicture : kReplacement;
    }
    return character == 0x2028 || character == 0x2029 ? kNewLinePicture : character;
}

char* PutUtf8(char* at, char32_t character) {
    const auto put = [&at](char32_t byte) { *at++ = static_cast<char>(byte); };
    const auto tail = [&](unsigned shift) { put(0x80 | (character >> shift & 0x3F)); };
    if (character < 0x80) {
        put(character);
    } else if (character < 0x800) {
        put(0xC0 | character >> 6);
        tail(0);
    } else if (character < 0x10000) {
        put(0xE0 | character >> 12);
        tail(6);
        tail(0);
    } else {
        put(0xF0 | character >> 18);
        tail(12);
        tail(6);
        tail(0);
    }
    return at;
}

}  // namespace

Line::Line(std::string_view level, std::wstring_view module, std::wstring_view function) {
    m_size = kStampChars;
    Put("\t");
    PutNumber(::GetCurrentProcessId());
    Put(":");
    PutNumber(::GetCurrentThreadId());
    Put("\t");
    Put(level);
    Put("\t");
    PutText(module);
    Put("\t");
    PutText(function);
    Put("\t");
}

void Line::Put(std::string_view bytes) {
    m_bytes.Reserve(m_size + bytes.size(), m_size);
    std::memcpy(m_bytes.Data() + m_size, bytes.data(), bytes.size());
    m_size += bytes.size();
}

void Line::PutText(std::wstring_view text) {
    if (text.size() > kMostUnits) {
        throw std::bad_alloc();
    }
    m_bytes.Reserve(m_size + text.size() * kBytesPerUnit, m_size);
    char* at = m_bytes.Data() + m_size;
    const wchar_t* const end = text.data() + text.size();
    for (const wchar_t* from = text.data(); from != end;) {
        at = PutUtf8(at, Visible(Next(from, end)));
    }
    m_size = static_cast<std::size_t>(at - m_bytes.Data());
}

void Line::PutNumber(DWORD value) {
    std::size_t digits = 1;
    for (DWORD rest = value / 10; rest != 0; rest /= 10) {
        ++digits;
    }
    char text[10];
    PutDigits(text, static_cast<unsigned>(value), digits);
    Put({text, digits});
}

void Line::Text(std::wstring_view text) {
    // A format that ends its own line is common; the break would only be a sign at the end of each line.
    while (!text.empty() && (text.back() == L'\n' || text.back() == L'\r')) {
        text.remove_suffix(1);
    }
    PutText(text);
    Put("\r\n");
}

bool Line::FormattedText(const wchar_t* format, va_list arguments) {
    Buffer<wchar_t, 1024> text;
    va_list again;
    va_copy(again, arguments);
    // The C runtime of the system, whose "%s" reads wide text. It answers -1 both to a text without room for its
    // terminator and to a format that it refuses.
    int length = ::_vsnwprintf(text.Data(), text.Capacity(), format, arguments);
    if (length < 0 || static_cast<std::size_t>(length) == text.Capacity()) {
        va_list counted;
        va_copy(counted, again);
        length = ::_vscwprintf(format, counted);
        va_end(counted);
        if (length >= 0) {
            text.Reserve(static_cast<std::size_t>(length) + 1, 0);
            length = ::_vsnwprintf(text.Data(), text.Capacity(), format, again);
        }
    }
    va_end(again);
    if (length < 0) {
        return false;
    }
    Text({text.Data(), static_cast<std::size_t>(length)});
    return true;
}

void Line::Stamp(Clock& clock) {
    clock.Stamp(m_bytes.Data());
}

}  // namespace tools::logwriter
