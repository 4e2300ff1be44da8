#pragma once

#include <cstddef>
#include <string>
#include <string_view>

namespace tools {

// Columns that a text takes on a console: wide characters take two, combining ones none.
std::size_t DisplayWidth(std::wstring_view text);

// The text with U+FFFD for each control character, so that no name can steer a console or break a line.
std::wstring Printable(std::wstring_view text);

}  // namespace tools
