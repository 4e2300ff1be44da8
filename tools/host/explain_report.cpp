#include "explain_report.h"

#include <cstddef>
#include <utility>

#include "common/json.h"
#include "common/text.h"

namespace tools::host {

using preview::JudgedElement;
using preview::JudgedMark;
using preview::JudgedSection;
using preview::JudgedVersion;
using preview::Presence;

namespace {

struct PresenceName {
    Presence presence;
    const char* json;
    const wchar_t* text;
};

constexpr PresenceName kPresenceNames[] = {
    {Presence::NotJudged, "not_judged", L"not judged"},
    {Presence::Found, "found", L"found     "},
    {Presence::NotFound, "not_found", L"not found "},
};

const PresenceName& NameOf(Presence presence) {
    return kPresenceNames[static_cast<std::size_t>(presence)];
}

Json Texts(const std::vector<std::wstring>& texts) {
    Json list = Json::array();
    for (const std::wstring& text : texts) {
        list.push_back(ToUtf8(text));
    }
    return list;
}

template <typename Value>
Json OrNull(const std::optional<Value>& value) {
    return value ? Json(*value) : Json(nullptr);
}

Json ToJson(const JudgedElement& element) {
    return {{"attributes", ToUtf8(element.attributes)},
            {"presence", NameOf(element.presence).json},
            {"score", element.score},
            {"mandatory", element.mandatory},
            {"reasons", Texts(element.reasons)}};
}

Json ToJson(const JudgedSection& section) {
    Json elements = Json::array();
    for (const JudgedElement& element : section.elements) {
        elements.push_back(ToJson(element));
    }
    return {{"operation", ToUtf8(section.operation)},
            {"passed", section.passed},
            {"score", OrNull(section.score)},
            {"minimum", section.minimum},
            {"mandatory_failed", section.mandatoryFailed},
            {"elements", std::move(elements)},
            {"messages", Texts(section.messages)}};
}

Json ToJson(const JudgedVersion& version) {
    Json sections = Json::array();
    for (const JudgedSection& section : version.sections) {
        sections.push_back(ToJson(section));
    }
    return {{"name", ToUtf8(version.name)},
            {"installed", version.installed},
            {"application_path", ToUtf8(version.appPath)},
            {"mandatory_sections", ToUtf8(version.mandatorySections)},
            {"sections", std::move(sections)},
            {"messages", Texts(version.messages)}};
}

// Lines of a report, indented by two columns a level.
class Lines {
public:
    void Add(unsigned level, const std::wstring& text) {
        m_text.append(std::size_t{2} * level, L' ');
        m_text += Printable(text) + L"\n";
    }
    void AddAll(unsigned level, const std::vector<std::wstring>& texts) {
        for (const std::wstring& text : texts) {
            Add(level, text);
        }
    }
    std::wstring Take() { return std::move(m_text); }

private:
    std::wstring m_text;
};

void Add(Lines& lines, const JudgedElement& element) {
    std::wstring text = NameOf(element.presence).text;
    if (element.presence != Presence::NotJudged) {
        text += L"  score " + std::to_wstring(element.score);
    }
    if (element.mandatory) {
        text += L", mandatory";
    }
    lines.Add(3, text + L"  " + element.attributes);
    lines.AddAll(5, element.reasons);
}

std::wstring Verdict(const JudgedSection& section) {
    const std::wstring minimum = L"minimum " + std::to_wstring(section.minimum);
    if (section.mandatoryFailed) {
        return L"failed, a mandatory element is missing (" + minimum + L")";
    }
    if (!section.score) {
        return L"failed, broken off (" + minimum + L")";
    }
    return (section.passed ? L"passed, score " : L"failed, score ") + std::to_wstring(*section.score) + L", " + minimum;
}

void Add(Lines& lines, const JudgedVersion& version) {
    lines.Add(1, L"version " + version.name + (version.installed ? L": found" : L": not found"));
    lines.Add(2, L"application path: " + (version.appPath.empty() ? L"none" : version.appPath));
    if (!version.sections.empty()) {
        lines.Add(2, version.mandatorySections == L"all" ? L"every section must pass; judging ends with a failed one"
                                                         : L"one section must pass");
    }
    lines.AddAll(2, version.messages);
    for (const JudgedSection& section : version.sections) {
        lines.Add(2, section.operation + L": " + Verdict(section));
        lines.AddAll(3, section.messages);
        for (const JudgedElement& element : section.elements) {
            Add(lines, element);
        }
    }
}

const wchar_t* ViewText(const JudgedMark& mark) {
    return mark.view == preview::View::Bits64 ? L"64-bit view" : L"32-bit view";
}

void AddMarks(Lines& lines, const std::vector<JudgedMark>& marks) {
    lines.Add(0, L"Registry");
    for (const JudgedMark& mark : marks) {
        const std::wstring key = mark.key.empty() ? L"no key: the product's name is not in the list of programs"
                                                  : mark.key + L" (" + ViewText(mark) + L")";
        lines.Add(1, (mark.found ? L"found      " : L"not found  ") + key +
                         (mark.value.empty() ? L"" : L", value " + Quoted(mark.value)));
    }
    if (marks.empty()) {
        lines.Add(1, L"nothing to look for");
    }
}

Json ToJson(const JudgedMark& mark) {
    return {{"key", ToUtf8(mark.key)},
            {"value", ToUtf8(mark.value)},
            {"view", mark.view == preview::View::Bits64 ? 64 : 32},
            {"found", mark.found}};
}

}  // namespace

std::wstring ExplanationText(const Explanation& explanation) {
    const auto& [product, judgement] = explanation;
    Lines lines;
    lines.Add(0, Quoted(product.name) + L" (" + CatalogueName(product.type) + L") " +
                     (judgement.installed ? L"counts as installed." : L"does not count as installed."));
    AddMarks(lines, judgement.marks);
    if (!judgement.script.empty()) {
        lines.Add(0, L"Script " + judgement.script);
    }
    lines.AddAll(1, judgement.messages);
    for (const JudgedVersion& version : judgement.versions) {
        Add(lines, version);
    }
    return lines.Take();
}

std::wstring ExplanationJson(const Explanation& explanation) {
    const auto& [product, judgement] = explanation;
    Json marks = Json::array();
    for (const JudgedMark& mark : judgement.marks) {
        marks.push_back(ToJson(mark));
    }
    Json versions = Json::array();
    for (const JudgedVersion& version : judgement.versions) {
        versions.push_back(ToJson(version));
    }
    const Json json = {{"name", ToUtf8(product.name)},         {"catalogue", ToUtf8(CatalogueName(product.type))},
                       {"installed", judgement.installed},     {"registry", std::move(marks)},
                       {"script", ToUtf8(judgement.script)},   {"versions", std::move(versions)},
                       {"messages", Texts(judgement.messages)}};
    return ToText(json) + L"\n";
}

}  // namespace tools::host
