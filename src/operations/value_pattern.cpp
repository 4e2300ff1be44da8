#include "operations/value_pattern.h"

namespace {

// What the rules ask of the first occurrence of a text in a name.
struct Occurrence {
    Occurrence(std::wstring_view name, std::wstring_view text) {
        const std::size_t at = name.find(text);
        found = at != std::wstring_view::npos;
        begins = at == 0;
        ends = found && name.size() - at == text.size();
    }

    bool found;
    bool begins;
    bool ends;
};

}  // namespace

ValuePattern::ValuePattern(const std::wstring& name) : m_text(name) {
    const bool starFirst = m_text.starts_with(L'*');
    const bool starLast = m_text.ends_with(L'*');
    if (starFirst) {
        m_text.remove_prefix(1);
    }
    if (m_text.ends_with(L'*')) {
        m_text.remove_suffix(1);
    }
    if (starFirst || starLast) {
        m_form = starFirst && starLast ? Form::Anywhere : starLast ? Form::Prefix : Form::Suffix;
    }
}

bool ValuePattern::Matches(std::wstring_view name) const {
    const Occurrence text(name, m_text);
    switch (m_form) {
        case Form::Prefix:
            return text.begins;
        case Form::Suffix:
            return text.ends;
        case Form::Anywhere:
            return text.found;
        case Form::Invalid:
            break;
    }
    return false;
}

bool ValuePattern::MatchesMirrored(std::wstring_view name) const {
    const Occurrence text(name, m_text);
    switch (m_form) {
        case Form::Prefix:
            return text.ends;
        case Form::Suffix:
            return text.begins;
        case Form::Anywhere:
            return text.found && !text.begins && !text.ends;
        case Form::Invalid:
            break;
    }
    return false;
}
