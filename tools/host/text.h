#pragma once

#include <cstddef>
#include <string>
#include <string_view>

namespace host {

// What is no valid UTF-16 or UTF-8 comes out as U+FFFD.
std::string ToUtf8(std::wstring_view text);
std::wstring FromUtf8(std::string_view text);

// Columns that a text takes on a console: wide characters take two, combining ones none.
std::size_t DisplayWidth(std::wstring_view text);

// The text with U+FFFD for each control character, so that no name can steer a console or break a line.
std::wstring Printable(std::wstring_view text);

}  // namespace host
