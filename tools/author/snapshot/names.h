#pragma once

#include <string>
#include <string_view>

namespace tools::author {

// Names and data as they stand in a snapshot: UTF-8, in which a control character, an unpaired surrogate and the mark
// itself are written as "`" and four hexadecimal digits. No two texts are written alike.
void AppendEscaped(std::string& line, std::wstring_view text);
std::string Escaped(std::wstring_view text);

// The text that was written so. What was never escaped so comes out as it stands.
std::wstring Unescaped(std::string_view written);

}  // namespace tools::author
