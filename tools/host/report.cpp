#include "report.h"

#include <windows.h>

#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <stdexcept>
#include <string_view>
#include <vector>

#include "plan_summary.h"

namespace tools::host {

namespace {

std::string_view Part(const wchar_t* name) {
    const HRSRC resource = ::FindResourceW(nullptr, name, RT_RCDATA);
    const HGLOBAL loaded = resource != nullptr ? ::LoadResource(nullptr, resource) : nullptr;
    if (loaded == nullptr) {
        throw std::runtime_error("a part of the report's page is missing in this program");
    }
    return {static_cast<const char*>(::LockResource(loaded)), ::SizeofResource(nullptr, resource)};
}

struct Range {
    char32_t first;
    char32_t last;
};

// Characters that steer a line or the direction of writing, in ascending order: they are shown by their number.
constexpr Range kSteering[] = {
    {0x00, 0x1F},     {0x7F, 0x9F},     {0xAD, 0xAD},     {0x61C, 0x61C},
    {0x200B, 0x200F}, {0x2028, 0x202E}, {0x2060, 0x2069}, {0xFEFF, 0xFEFF},
};

bool IsSteering(wchar_t unit) {
    return std::any_of(std::begin(kSteering), std::end(kSteering),
                       [&](const Range& range) { return range.first <= unit && unit <= range.last; });
}

void AppendShown(std::wstring& html, wchar_t unit) {
    switch (unit) {
        case L'<':
            html += L"&lt;";
            return;
        case L'>':
            html += L"&gt;";
            return;
        case L'&':
            html += L"&amp;";
            return;
        case L'"':
            html += L"&quot;";
            return;
        default:
            break;
    }
    if (!IsSteering(unit)) {
        html += unit;
        return;
    }
    wchar_t number[16] = {};
    ::wsprintfW(number, L"\x27E8U+%04X\x27E9", static_cast<unsigned>(unit));
    html += number;
}

// A text from the machine or the document, as the page may show it.
std::string Shown(const std::string& text) {
    std::wstring html;
    for (const wchar_t unit : FromUtf8(text)) {
        AppendShown(html, unit);
    }
    return ToUtf8(html);
}

std::string Shown(const Json& value) {
    return value.is_string() ? Shown(value.get_ref<const std::string&>()) : Shown(value.dump());
}

std::string Member(const Json& object, const char* name) {
    const auto found = object.find(name);
    return found != object.end() && !found->is_null() ? Shown(*found) : std::string();
}

bool IsRemoval(const Json& data) {
    return data.contains("outcome");
}

std::string WithBlanks(std::string name) {
    std::replace(name.begin(), name.end(), '_', ' ');
    return Shown(name);
}

// A member of the numbers: kinds of items have names for one and for many.
std::string LabelOf(const std::string& name, bool isOne) {
    for (auto kind = static_cast<std::size_t>(preview::ItemKind::File);
         kind <= static_cast<std::size_t>(preview::ItemKind::RestartEntry); ++kind) {
        const ItemKindName& row = NameOf(static_cast<preview::ItemKind>(kind));
        if (name == row.json) {
            return ToUtf8(isOne ? row.one : row.many);
        }
    }
    return WithBlanks(name);
}

std::string Facts(const Json& data) {
    std::string html;
    for (const char* group : {"machine", "document", "times", "version"}) {
        if (!data.contains(group)) {
            continue;
        }
        for (const auto& [name, value] : data.at(group).items()) {
            html +=
                "<dt>" + WithBlanks(group) + " " + WithBlanks(name) + "</dt><dd><bdi>" + Shown(value) + "</bdi></dd>\n";
        }
    }
    for (const Json& product : data.at("products")) {
        html += "<dt>product</dt><dd><bdi>" + Member(product, "name") + "</bdi> (" + Member(product, "catalogue") +
                (product.contains("state") ? ", " + Member(product, "state") : std::string()) + ")</dd>\n";
    }
    return html + "<dt>exit code</dt><dd>" + Member(data, "exit_code") + "</dd>\n";
}

std::string Counts(const Json& data) {
    std::string html;
    for (const char* group : {"summary", "outcome"}) {
        if (!data.contains(group)) {
            continue;
        }
        for (const auto& [name, value] : data.at(group).items()) {
            if (value.is_number() && value != 0) {
                html += "<li>" + Shown(value) + " " + LabelOf(name, value == 1) + "</li>\n";
            }
        }
    }
    return html;
}

// Where an item is, with the value's name.
std::string Place(const Json& item) {
    std::string place = "<bdi>" + Member(item, "path") + "</bdi>";
    if (item.contains("name")) {
        const std::string name = Member(item, "name");
        place += " : <bdi>" + (name.empty() ? "(default)" : name) + "</bdi>";
    }
    if (item.contains("view")) {
        place += " (" + Member(item, "view") + "-bit view)";
    }
    return place;
}

std::string Findings(const Json& data) {
    const Json& findings = data.at("findings");
    if (findings.empty()) {
        return "<p>None.</p>";
    }
    std::string html = "<ul class=\"findings\">\n";
    for (const Json& finding : findings) {
        const std::string severity = Member(finding, "severity");
        html += "<li class=\"" + severity + "\"><span class=\"mark\">" + severity + ": " + Member(finding, "code") +
                "</span> <bdi>" + Member(finding, "evidence") + "</bdi></li>\n";
    }
    return html + "</ul>";
}

std::string PlainItem(const Json& item) {
    std::string line = "<li>" + Member(item, "kind") + " " + Place(item) + ": " +
                       (item.contains("outcome") ? Member(item, "outcome") : Member(item, "state"));
    if (item.contains("size")) {
        line += ", " + Member(item, "size") + " bytes";
    }
    if (item.contains("reason")) {
        line += ", <bdi>" + Member(item, "reason") + "</bdi>";
    }
    return line + "</li>\n";
}

// Every item under its record, for readers without the script.
std::string PlainList(const Json& data) {
    const Json& records = data.at("records");
    std::vector<std::string> lists(records.size());
    for (const Json& item : data.at("items")) {
        lists.at(item.at("record").get<std::size_t>()) += PlainItem(item);
    }
    std::string html;
    for (std::size_t index = 0; index < lists.size(); ++index) {
        const Json& record = records[index];
        html += "<h3>" + Member(record, "operation") + " <bdi>" + Member(record, "text") + "</bdi></h3>\n";
        const std::string reason = Member(record, "reason");
        html += reason.empty() ? std::string() : "<p>" + Member(record, "state") + ": <bdi>" + reason + "</bdi></p>\n";
        html += lists[index].empty() ? std::string() : "<ul>\n" + lists[index] + "</ul>\n";
    }
    return html;
}

// In a page, nothing of the data ends its element or opens another one.
std::string EmbeddedData(const Json& data) {
    const std::string text = data.dump(-1, ' ', true, Json::error_handler_t::replace);
    std::string safe;
    safe.reserve(text.size());
    for (const char unit : text) {
        if (unit == '<') {
            safe += "\\u003c";
        } else {
            safe += unit;
        }
    }
    return safe;
}

std::string Fill(const std::string& mark, const Json& data) {
    if (mark == "TITLE") {
        return IsRemoval(data) ? "Removal report" : "Removal plan";
    }
    if (mark == "STYLE") {
        return std::string(Part(L"REPORT_STYLE"));
    }
    if (mark == "SCRIPT") {
        return std::string(Part(L"REPORT_SCRIPT"));
    }
    if (mark == "FACTS") {
        return Facts(data);
    }
    if (mark == "SUMMARY") {
        return Counts(data);
    }
    if (mark == "FINDINGS") {
        return Findings(data);
    }
    return mark == "PLAIN" ? PlainList(data) : EmbeddedData(data);
}

}  // namespace

std::string ReportPage(const Json& data) {
    const std::string_view page = Part(L"REPORT_PAGE");
    std::string html;
    std::size_t at = 0;
    // The marks stand between two @, which the page has no other use for.
    for (std::size_t begin = page.find('@'); begin != std::string_view::npos; begin = page.find('@', at)) {
        const std::size_t end = page.find('@', begin + 1);
        html += page.substr(at, begin - at);
        html += Fill(std::string(page.substr(begin + 1, end - begin - 1)), data);
        at = end + 1;
    }
    html += page.substr(at);
    return html;
}

}  // namespace tools::host
