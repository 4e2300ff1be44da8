#include "common/utf8.h"

#include <windows.h>

#include <cstddef>

namespace tools {

namespace {

std::wstring Widen(std::string_view text, UINT codePage) {
    const int bytes = static_cast<int>(text.size());
    const int size = ::MultiByteToWideChar(codePage, 0, text.data(), bytes, nullptr, 0);
    std::wstring units(static_cast<std::size_t>(size), L'\0');
    ::MultiByteToWideChar(codePage, 0, text.data(), bytes, units.data(), size);
    return units;
}

}  // namespace

std::string ToUtf8(std::wstring_view text) {
    const int units = static_cast<int>(text.size());
    const int size = ::WideCharToMultiByte(CP_UTF8, 0, text.data(), units, nullptr, 0, nullptr, nullptr);
    std::string bytes(static_cast<std::size_t>(size), '\0');
    ::WideCharToMultiByte(CP_UTF8, 0, text.data(), units, bytes.data(), size, nullptr, nullptr);
    return bytes;
}

std::wstring FromUtf8(std::string_view text) {
    return Widen(text, CP_UTF8);
}

std::wstring FromAnsi(std::string_view text) {
    return Widen(text, CP_ACP);
}

}  // namespace tools
