#pragma once

#include <cstddef>
#include <string>
#include <string_view>

namespace tools {

// Columns that a text takes on a console: wide characters take two, combining ones none.
std::size_t DisplayWidth(std::wstring_view text);

enum class Escape {
    Unshowable,  // control characters, marks that turn the direction of writing, what is no valid UTF-16
    NonAscii,    // these, and all that some consoles cannot show or take
};

// The text with \uXXXX in place of what is not to be shown, so that no name can steer a console, break a line or pass
// for another one. A text with such a sequence, its own ones included, has its backslashes doubled; every other one
// stays as it is. So no two texts look the same.
std::wstring Printable(std::wstring_view text, Escape escape = Escape::Unshowable);

// The text that Printable shows so, whatever it was told to escape.
std::wstring FromPrintable(std::wstring_view shown);

}  // namespace tools
