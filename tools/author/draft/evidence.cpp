#include "author/draft/evidence.h"

#include <algorithm>

#include "author/draft/places.h"
#include "author/snapshot/names.h"
#include "foundation/text.h"

namespace tools::author {

namespace {

constexpr std::size_t kShortestWord = 5;  // a shorter one is found everywhere

std::string Lower(std::string_view written) {
    return Escaped(LowerCase(Unescaped(written)));
}

// {01234567-89ab-cdef-0123-456789abcdef}, or its 32 digits as the installer writes them.
bool IsIdentifier(const std::wstring& name) {
    const auto isDigit = [](wchar_t c) {
        return (c >= L'0' && c <= L'9') || (c >= L'a' && c <= L'f') || (c >= L'A' && c <= L'F');
    };
    if (name.size() == 38 && name.front() == L'{' && name.back() == L'}') {
        return std::count(name.begin(), name.end(), L'-') == 4;
    }
    return name.size() == 32 && std::all_of(name.begin(), name.end(), isDigit);
}

bool IsProgram(const std::wstring& lowerName) {
    constexpr const wchar_t* kEndings[] = {L".exe", L".dll", L".ocx", L".sys", L".cpl", L".ttf", L".otf", L".chm"};
    return std::any_of(std::begin(kEndings), std::end(kEndings),
                       [&](const wchar_t* ending) { return lowerName.ends_with(ending); });
}

}  // namespace

Evidence::Evidence(const Difference& difference, const Territory& territory, const std::wstring& productName) {
    const auto add = [this](const std::wstring& word) {
        if (word.size() >= kShortestWord) {
            m_words.push_back(Escaped(LowerCase(word)));
        }
    };
    add(productName);
    for (const Thing& thing : difference.added) {
        if (thing.IsValue()) {
            continue;
        }
        const std::wstring path = thing.Path();
        const std::wstring name = LastName(path);
        const bool isWord = thing.IsRegistry() ? IsIdentifier(name) && territory.HoldsProducts(Parent(path))
                                               : !thing.IsContainer() && IsProgram(LowerCase(name));
        if (isWord) {
            add(name);
        } else if (!thing.IsRegistry() && thing.IsContainer() && !territory.IsShared(path)) {
            add(path);
        }
    }
    std::sort(m_words.begin(), m_words.end());
    m_words.erase(std::unique(m_words.begin(), m_words.end()), m_words.end());
}

bool Evidence::Speaks(const Thing& thing) const {
    std::string_view identity = thing.identity;
    if (thing.IsContainer()) {
        identity.remove_suffix(1);
    }
    const std::string text = Lower(identity.substr(identity.find_last_of("\\\t") + 1)) + "\t" + Lower(thing.facts) +
                             (thing.IsValue() ? "\t" + Lower(identity.substr(identity.find('\t') + 1)) : "");
    return std::any_of(m_words.begin(), m_words.end(),
                       [&](const std::string& word) { return text.find(word) != std::string::npos; });
}

}  // namespace tools::author
