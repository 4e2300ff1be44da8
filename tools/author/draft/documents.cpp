#include "author/draft/documents.h"

#include <algorithm>
#include <map>

#include "common/utf8.h"
#include "foundation/text.h"

namespace tools::author {

namespace {

constexpr std::size_t kShownPerReason = 200;
constexpr std::size_t kCommentColumns = 118;

std::string Attribute(const std::string& name, const std::wstring& value) {
    std::string text = " " + name + "=\"";
    for (const char c : ToUtf8(value)) {
        switch (c) {
            case '&':
                text += "&amp;";
                break;
            case '<':
                text += "&lt;";
                break;
            case '"':
                text += "&quot;";
                break;
            default:
                text += c;
        }
    }
    return text + "\"";
}

// No comment may hold two hyphens in a row, or end with one.
std::string Comment(std::string_view text) {
    std::string comment;
    for (const char c : text) {
        comment += c == '-' && comment.ends_with('-') ? " -" : std::string(1, c);
    }
    return comment;
}

// Words in lines of bounded length, each behind `indent`. A blank that a path holds may end a line as well.
std::string Wrapped(const std::string& text, const std::string& indent) {
    std::string wrapped = indent;
    std::size_t column = indent.size();
    for (std::size_t begin = 0; begin < text.size();) {
        const std::size_t end = std::min(text.find(' ', begin), text.size());
        if (column + end - begin > kCommentColumns && column > indent.size()) {
            wrapped += "\n" + indent;
            column = indent.size();
        }
        wrapped += text.substr(begin, end + 1 - begin);
        column += end + 1 - begin;
        begin = end + 1;
    }
    while (wrapped.ends_with(' ')) {
        wrapped.pop_back();
    }
    return wrapped + "\n";
}

std::string ElementText(const Element& element, const std::string& more) {
    std::string text = "                <item";
    for (const auto& [name, value] : element) {
        text += Attribute(ToUtf8(name), value);
    }
    return text + more + "/>\n";
}

std::string SectionText(const Section& section, const std::string& more, const std::vector<int>& scores) {
    const std::string name = ToUtf8(section.name);
    std::string text = "            <" + name + Attribute("op_code", section.operation) + more + ">\n";
    for (std::size_t index = 0; index < section.elements.size(); ++index) {
        const int score = scores.empty() ? 1 : scores[index];
        text += ElementText(section.elements[index], score == 1 ? "" : Attribute("score", std::to_wstring(score)));
    }
    return text + "            </" + name + ">\n";
}

// A document of one version.
std::string DocumentText(const std::string& heading, const std::string& mode, const std::string& sections,
                         const std::string& behind) {
    return "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<!--\n" + heading + "-->\n" +
           "<uninstall_information>\n    <version_list><v1/></version_list>\n    <v1" + mode + ">\n        <win_nt>\n" +
           sections + "        </win_nt>\n    </v1>\n" + behind + "</uninstall_information>\n";
}

// Things by the reason for which they stay.
std::string KeptText(const Removal& removal) {
    std::map<std::string, std::vector<const Thing*>> byReason;
    for (const Kept& kept : removal.kept) {
        byReason[ToUtf8(kept.reason)].push_back(&kept.thing);
    }
    std::string text;
    for (const auto& [reason, things] : byReason) {
        text += "    <!-- Stays: " + Comment(reason) + ".\n";
        for (std::size_t index = 0; index < std::min(things.size(), kShownPerReason); ++index) {
            const Thing& thing = *things[index];
            std::string line = thing.identity + (thing.facts.empty() ? "" : "  =  " + thing.facts);
            if (!thing.oldFacts.empty()) {
                line += "  (before: " + thing.oldFacts + ")";
            }
            std::replace(line.begin(), line.end(), '\t', ' ');
            text += "         " + Comment(line) + "\n";
        }
        if (things.size() > kShownPerReason) {
            text += "         and " + std::to_string(things.size() - kShownPerReason) + " more\n";
        }
        text += "    -->\n";
    }
    return text;
}

}  // namespace

std::string CatalogueText(const std::wstring& productName, const std::wstring& scriptFile,
                          const std::optional<UninstallEntry>& entry) {
    std::string text = "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<uninstall_information>\n    <product" +
                       Attribute("name", productName) + Attribute("file", scriptFile);
    if (!entry || !entry->IsOfMachine()) {
        return text + "/>\n</uninstall_information>\n";
    }
    const std::wstring name = productName + (entry->displayVersion.empty() ? L"" : L" " + entry->displayVersion);
    text += ">\n        <version" + Attribute("name", name) + Attribute("id", entry->keyName) + "/>\n";
    // The key of another version bears another identifier, but perhaps the same display name.
    if (entry->keyName.starts_with(L'{') && !entry->displayName.empty()) {
        text += "        <version" + Attribute("name", entry->displayName) + Attribute("prodName", entry->displayName) +
                "/>\n";
    }
    return text + "    </product>\n</uninstall_information>\n";
}

std::string DetectionText(const std::vector<JudgingSection>& sections) {
    std::string text;
    for (const JudgingSection& judging : sections) {
        text +=
            SectionText(judging.section, Attribute("minimum_score", std::to_wstring(judging.minimum)), judging.scores);
    }
    const std::string heading =
        Wrapped("Detection: one section that passes is enough, and each asks for more than half of its marks.", "    ");
    return DocumentText(heading, Attribute("mandatory_sections", L"any"), text, "");
}

std::string RemovalText(const std::wstring& productName, const Removal& removal) {
    std::string sections;
    for (const Section& section : removal.sections) {
        sections += SectionText(section, "", {});
    }
    std::string heading = Wrapped("Removal of " + Comment(ToUtf8(productName)) +
                                      ", drafted from two snapshots. Read what stays and why, below the version.",
                                  "    ");
    for (const std::wstring& note : removal.notes) {
        heading += Wrapped("* " + Comment(ToUtf8(note)), "    ");
    }
    return DocumentText(heading, "", sections, KeptText(removal));
}

std::wstring ScriptFileName(const std::wstring& productName) {
    std::wstring name = LowerCase(productName);
    for (wchar_t& c : name) {
        if (c < 0x80 && !((c >= L'a' && c <= L'z') || (c >= L'0' && c <= L'9') || c == L'.')) {
            c = L'-';
        }
    }
    name.erase(0, name.find_first_not_of(L"-."));
    name.erase(name.find_last_not_of(L"-.") + 1);
    return (name.empty() ? L"product" : name) + L".xml";
}

}  // namespace tools::author
