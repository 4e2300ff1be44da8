#include "foundation/text.h"

#include <algorithm>
#include <cwctype>

namespace {

wchar_t FoldLatin(wchar_t unit) {
    return unit >= L'A' && unit <= L'Z' ? static_cast<wchar_t>(unit + (L'a' - L'A')) : unit;
}

}  // namespace

bool EqualsBlind(std::wstring_view left, std::wstring_view right) {
    return std::equal(left.begin(), left.end(), right.begin(), right.end(),
                      [](wchar_t a, wchar_t b) { return FoldLatin(a) == FoldLatin(b); });
}

std::wstring LowerCase(std::wstring text) {
    std::transform(text.begin(), text.end(), text.begin(),
                   [](wchar_t unit) { return static_cast<wchar_t>(std::towlower(unit)); });
    return text;
}
