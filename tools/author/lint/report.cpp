#include "report.h"

#include <algorithm>
#include <tuple>

#include "common/text.h"

namespace tools::lint {

namespace {

// Puts the details in the places of {0}, {1}, ...
std::wstring Fill(std::wstring text, Report::Details details) {
    std::size_t number = 0;
    for (const std::wstring& detail : details) {
        const std::wstring place = L"{" + std::to_wstring(number++) + L"}";
        for (std::size_t at = text.find(place); at != std::wstring::npos; at = text.find(place, at + detail.size())) {
            text.replace(at, place.size(), detail);
        }
    }
    return text;
}

}  // namespace

std::wstring AsLine(const Finding& finding) {
    std::wstring text = finding.file + L":" + std::to_wstring(finding.position.line) + L":" +
                        std::to_wstring(finding.position.column) + L": " + SeverityName(finding.rule->severity) +
                        L": " + finding.sentence + L" [" + finding.rule->code + L"]";
    if (!finding.hint.empty()) {
        text += L"; " + finding.hint;
    }
    return Printable(text) + L"\n";
}

void Report::Add(RuleId rule, const Document& document, const Node& node, Details details) {
    AddAt(rule, document.Name(), document.Of(node), details);
}

void Report::Add(RuleId rule, const Document& document, const Node& node, std::wstring_view attribute,
                 Details details) {
    AddAt(rule, document.Name(), document.Of(node, attribute), details);
}

void Report::AddAt(RuleId id, const std::wstring& file, Position position, Details details) {
    const Rule& rule = RuleOf(id);
    m_findings.push_back({&rule, file, position, Fill(rule.sentence, details), Fill(rule.hint, details)});
}

const std::vector<Finding>& Report::Findings() {
    const auto place = [this](const Finding& finding) {
        const auto file = std::find(m_files.begin(), m_files.end(), finding.file);
        return std::tuple(file - m_files.begin(), finding.position.line, finding.position.column);
    };
    std::stable_sort(m_findings.begin(), m_findings.end(),
                     [&](const Finding& left, const Finding& right) { return place(left) < place(right); });
    return m_findings;
}

std::size_t Report::Count(Severity severity) const {
    return static_cast<std::size_t>(
        std::count_if(m_findings.begin(), m_findings.end(),
                      [severity](const Finding& finding) { return finding.rule->severity == severity; }));
}

}  // namespace tools::lint
