#pragma once

#include <string>
#include <string_view>

// A value name with a star at its start, its end or both; a lone star counts as both. Stars inside are literal. Only
// the first occurrence of the text between the stars is looked at, case included.
class ValuePattern {
public:
    static bool IsPattern(const std::wstring& name) { return name.find(L'*') != std::wstring::npos; }

    // `name` outlives the pattern.
    explicit ValuePattern(const std::wstring& name);

    // False for a star that is only inside.
    bool IsValid() const { return m_form != Form::Invalid; }

    // text* begins the name, *text ends it, *text* stands anywhere: the rule of deletion and expansion.
    bool Matches(std::wstring_view name) const;

    // The rule of checking, which reads the one-sided forms the other way round: *text begins the name, text* ends it,
    // and *text* stands strictly inside.
    bool MatchesMirrored(std::wstring_view name) const;

private:
    enum class Form { Prefix, Suffix, Anywhere, Invalid };

    Form m_form = Form::Invalid;
    std::wstring_view m_text;
};
