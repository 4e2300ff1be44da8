#pragma once

#include <string>
#include <string_view>

namespace tools {

// What is no valid UTF-16 or UTF-8 comes out as U+FFFD.
std::string ToUtf8(std::wstring_view text);
std::wstring FromUtf8(std::string_view text);

// From the code page of the system.
std::wstring FromAnsi(std::string_view text);

}  // namespace tools
