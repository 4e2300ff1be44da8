#pragma once

#include <initializer_list>
#include <string>
#include <string_view>
#include <vector>

#include "document.h"
#include "rules.h"

namespace tools::lint {

struct Finding {
    const Rule* rule;
    std::wstring file;
    Position position;
    std::wstring sentence;
    std::wstring hint;  // empty for none
};

// A finding as a line for people.
std::wstring AsLine(const Finding& finding);

// The findings of a run, in the order of the documents and, within one, of their places.
class Report {
public:
    using Details = std::initializer_list<std::wstring>;

    void Add(RuleId rule, const Document& document, const Node& node, Details details = {});
    void Add(RuleId rule, const Document& document, const Node& node, std::wstring_view attribute, Details details);
    void AddAt(RuleId rule, const std::wstring& file, Position position, Details details = {});
    void AddFile(const std::wstring& file) { m_files.push_back(file); }

    // Sorts what was found and gives it.
    const std::vector<Finding>& Findings();
    const std::vector<std::wstring>& Files() const { return m_files; }
    std::size_t Count(Severity severity) const;

private:
    std::vector<std::wstring> m_files;  // that were looked at
    std::vector<Finding> m_findings;
};

}  // namespace tools::lint
