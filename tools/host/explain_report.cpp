#include "explain_report.h"

#include <cstddef>
#include <utility>

#include "common/json.h"
#include "common/text.h"

namespace tools::host {

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
    {Presence::Unclear, "unclear", L"unclear   "},
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
            {"score", OrNull(element.score)},
            {"mandatory", OrNull(element.mandatory)},
            {"reasons", Texts(element.reasons)}};
}

Json ToJson(const JudgedSection& section) {
    Json elements = Json::array();
    for (const JudgedElement& element : section.elements) {
        elements.push_back(ToJson(element));
    }
    return {{"operation", ToUtf8(section.operation)},
            {"passed", section.Passed()},
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
            {"installed", OrNull(version.installed)},
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
    if (element.score) {
        text += L"  score " + std::to_wstring(*element.score);
    }
    if (element.mandatory.value_or(false)) {
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
    return (section.Passed() ? L"passed, score " : L"failed, score ") + std::to_wstring(*section.score) + L", " +
           minimum;
}

void Add(Lines& lines, const JudgedVersion& version) {
    lines.Add(1, L"version " + version.name + (version.installed.value_or(false) ? L": found" : L": not found"));
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

void AddMarks(Lines& lines, const Explanation& explanation) {
    lines.Add(0, L"Registry");
    for (const Version& version : explanation.product.versions) {
        lines.Add(1, L"found      " + version.key);
    }
    for (const MissingMark& mark : explanation.judgement.missing) {
        lines.Add(1, L"not found  " + mark.name + L" (error " + mark.error + L")");
    }
    if (explanation.product.versions.empty() && explanation.judgement.missing.empty()) {
        lines.Add(1, L"nothing to look for");
    }
}

}  // namespace

std::wstring ExplanationText(const Explanation& explanation) {
    const auto& [product, judgement] = explanation;
    Lines lines;
    lines.Add(0, Quoted(product.name) + L" (" + CatalogueName(product.type) + L") " +
                     (judgement.installed ? L"counts as installed." : L"does not count as installed."));
    AddMarks(lines, explanation);
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
    Json found = Json::array();
    for (const Version& version : product.versions) {
        found.push_back(ToUtf8(version.key));
    }
    Json missing = Json::array();
    for (const MissingMark& mark : judgement.missing) {
        missing.push_back({{"name", ToUtf8(mark.name)}, {"error", ToUtf8(mark.error)}});
    }
    Json versions = Json::array();
    for (const JudgedVersion& version : judgement.versions) {
        versions.push_back(ToJson(version));
    }
    const Json json = {{"name", ToUtf8(product.name)},
                       {"catalogue", ToUtf8(CatalogueName(product.type))},
                       {"installed", judgement.installed},
                       {"registry", {{"found", std::move(found)}, {"missing", std::move(missing)}}},
                       {"script", ToUtf8(judgement.script)},
                       {"versions", std::move(versions)},
                       {"messages", Texts(judgement.messages)}};
    return ToText(json) + L"\n";
}

}  // namespace tools::host
