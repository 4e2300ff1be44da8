#pragma once

#include <string>
#include <string_view>

// Equal without regard to the case of the letters A to Z; every other character compares exactly.
bool EqualsBlind(std::wstring_view left, std::wstring_view right);

// Lower case unit by unit, by the C runtime's rules.
std::wstring LowerCase(std::wstring text);
