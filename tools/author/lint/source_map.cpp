#include "source_map.h"

#include <windows.h>

#include <algorithm>
#include <cwctype>

namespace tools::lint {

namespace {

constexpr UINT kWesternCodePage = 1252;

std::wstring Convert(UINT codePage, DWORD flags, const Bytes& bytes, std::size_t from) {
    const char* const text = reinterpret_cast<const char*>(bytes.data() + from);
    const int size = static_cast<int>(bytes.size() - from);
    const int units = size > 0 ? ::MultiByteToWideChar(codePage, flags, text, size, nullptr, 0) : 0;
    std::wstring wide(static_cast<std::size_t>(units), L'\0');
    ::MultiByteToWideChar(codePage, flags, text, size, wide.data(), units);
    return wide;
}

// Good enough to count lines and columns: any encoding of one byte for a character will do for any other.
std::wstring Decode(const Bytes& bytes) {
    if (bytes.size() >= 2 && bytes[0] == 0xFF && bytes[1] == 0xFE) {
        return std::wstring(reinterpret_cast<const wchar_t*>(bytes.data() + 2), bytes.size() / 2 - 1);
    }
    const bool marked = bytes.size() >= 3 && bytes[0] == 0xEF && bytes[1] == 0xBB && bytes[2] == 0xBF;
    const std::wstring text = Convert(CP_UTF8, MB_ERR_INVALID_CHARS, bytes, marked ? 3 : 0);
    return text.empty() ? Convert(kWesternCodePage, 0, bytes, 0) : text;
}

bool IsNameEnd(wchar_t unit) {
    return unit == L'=' || std::iswspace(unit) != 0;
}

}  // namespace

SourceMap::SourceMap(const Bytes& document) : m_text(Decode(document)), m_lines({0}) {
    for (std::size_t at = 0; at < m_text.size(); ++at) {
        const bool pair = m_text[at] == L'\r' && at + 1 < m_text.size() && m_text[at + 1] == L'\n';
        if (m_text[at] == L'\n' || (m_text[at] == L'\r' && !pair)) {
            m_lines.push_back(at + 1);
        }
    }
    FindMarks();
}

// Behind the ">" that is in no quotes. A document type may hold declarations in brackets.
std::size_t SourceMap::TagEnd(std::size_t begin) const {
    wchar_t quote = L'\0';
    int brackets = 0;
    for (std::size_t at = begin; at < m_text.size(); ++at) {
        const wchar_t unit = m_text[at];
        if (quote != L'\0') {
            quote = unit == quote ? L'\0' : quote;
        } else if (unit == L'"' || unit == L'\'') {
            quote = unit;
        } else if (unit == L'[' || unit == L']') {
            brackets += unit == L'[' ? 1 : -1;
        } else if (unit == L'>' && brackets == 0) {
            return at + 1;
        }
    }
    return m_text.size();
}

void SourceMap::FindMarks() {
    const auto behind = [this](std::size_t at, std::wstring_view end) {
        const std::size_t found = m_text.find(end, at);
        return found != std::wstring::npos ? found + end.size() : m_text.size();
    };
    std::size_t next = 0;
    for (std::size_t at = 0; (at = m_text.find(L'<', next)) != std::wstring::npos;) {
        if (StartsAt(at, L"<!--")) {
            next = behind(at, L"-->");
            m_marks.push_back({at, next});
        } else if (StartsAt(at, L"<![CDATA[")) {
            next = behind(at, L"]]>");
        } else if (StartsAt(at, L"<?")) {
            next = behind(at, L"?>");
        } else {
            next = TagEnd(at);
            if (!StartsAt(at, L"<!")) {
                m_marks.push_back({at, next});
            }
            if (next >= 2 && m_text[next - 2] == L'/') {
                m_marks.push_back({next, next});
            }
        }
    }
}

const SourceMap::Mark* SourceMap::MarkOf(const Node& node) const {
    if (node.marks >= m_marks.size()) {
        return nullptr;
    }
    const Mark& mark = m_marks[node.marks];
    const std::wstring begin = node.kind == NodeKind::Element ? L"<" + node.name : L"<!--";
    return StartsAt(mark.begin, begin) ? &mark : nullptr;
}

Position SourceMap::Of(const Node& node) const {
    if (node.kind == NodeKind::Element || node.kind == NodeKind::Comment) {
        const Mark* const mark = MarkOf(node);
        return mark != nullptr ? At(mark->begin) : node.seen;
    }
    const std::size_t from = node.marks > 0 && node.marks <= m_marks.size() ? m_marks[node.marks - 1].end : 0;
    const auto begin = std::find_if(m_text.begin() + static_cast<std::ptrdiff_t>(from), m_text.end(),
                                    [](wchar_t unit) { return std::iswspace(unit) == 0; });
    return At(static_cast<std::size_t>(begin - m_text.begin()));
}

Position SourceMap::Of(const Node& node, std::wstring_view attribute) const {
    const Mark* const mark = MarkOf(node);
    if (mark == nullptr || !node.IsElement()) {
        return Of(node);
    }
    wchar_t quote = L'\0';
    for (std::size_t at = mark->begin + 1; at < mark->end; ++at) {
        const wchar_t unit = m_text[at];
        if (quote != L'\0') {
            quote = unit == quote ? L'\0' : quote;
        } else if (unit == L'"' || unit == L'\'') {
            quote = unit;
        } else if (std::iswspace(m_text[at - 1]) != 0 && StartsAt(at, attribute) &&
                   IsNameEnd(m_text[at + attribute.size()])) {
            return At(at);
        }
    }
    return At(mark->begin);
}

Position SourceMap::At(std::size_t offset) const {
    const auto line = std::upper_bound(m_lines.begin(), m_lines.end(), offset) - 1;
    return {static_cast<unsigned>(line - m_lines.begin()) + 1, static_cast<unsigned>(offset - *line) + 1};
}

}  // namespace tools::lint
