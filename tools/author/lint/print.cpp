#include "print.h"

#include "common/json.h"
#include "common/utf8.h"

namespace tools::lint {

namespace {

std::wstring Counted(std::size_t count, const wchar_t* thing) {
    return std::to_wstring(count) + L" " + thing + (count == 1 ? L"" : L"s");
}

Json ToJson(const Finding& finding) {
    Json json = {
        {"file", ToUtf8(finding.file)},
        {"line", finding.position.line},
        {"column", finding.position.column},
        {"code", ToUtf8(finding.rule->code)},
        {"severity", ToUtf8(SeverityName(finding.rule->severity))},
        {"sentence", ToUtf8(finding.sentence)},
    };
    if (!finding.hint.empty()) {
        json["hint"] = ToUtf8(finding.hint);
    }
    return json;
}

// A file's name as a URI reference; a whole path becomes a file URI.
std::string ToUri(const std::wstring& file) {
    std::string uri = file.size() > 1 && file[1] == L':' ? "file:///" : "";
    for (const char byte : ToUtf8(file)) {
        constexpr std::string_view kPlain = "-._~/:";
        constexpr char kDigits[] = "0123456789ABCDEF";
        const auto value = static_cast<unsigned char>(byte);
        if (byte == '\\') {
            uri += '/';
        } else if (value < 0x80 && (::isalnum(value) != 0 || kPlain.find(byte) != std::string_view::npos)) {
            uri += byte;
        } else {
            uri += {'%', kDigits[value >> 4], kDigits[value & 15]};
        }
    }
    return uri;
}

// The sentence of a rule without a finding: dots in the place of each detail.
std::string InGeneral(std::wstring sentence) {
    for (std::size_t at = sentence.find(L'{'); at != std::wstring::npos; at = sentence.find(L'{', at)) {
        sentence.replace(at, sentence.find(L'}', at) + 1 - at, L"...");
    }
    return ToUtf8(sentence);
}

Json SarifRules() {
    Json rules = Json::array();
    for (const Rule& rule : AllRules()) {
        rules.push_back({{"id", ToUtf8(rule.code)},
                         {"shortDescription", {{"text", InGeneral(rule.sentence)}}},
                         {"defaultConfiguration", {{"level", ToUtf8(SeverityName(rule.severity))}}}});
    }
    return rules;
}

Json SarifResult(const Finding& finding) {
    const std::wstring hint = finding.hint.empty() ? L"" : L"; " + finding.hint;
    return {{"ruleId", ToUtf8(finding.rule->code)},
            {"ruleIndex", finding.rule - AllRules().data()},
            {"level", ToUtf8(SeverityName(finding.rule->severity))},
            {"message", {{"text", ToUtf8(finding.sentence + hint)}}},
            {"locations",
             {{{"physicalLocation",
                {{"artifactLocation", {{"uri", ToUri(finding.file)}}},
                 {"region", {{"startLine", finding.position.line}, {"startColumn", finding.position.column}}}}}}}}};
}

}  // namespace

std::wstring AsText(Report& report) {
    std::wstring text;
    for (const Finding& finding : report.Findings()) {
        text += AsLine(finding);
    }
    return text + Counted(report.Files().size(), L"document") + L": " +
           Counted(report.Count(Severity::Error), L"error") + L", " +
           Counted(report.Count(Severity::Warning), L"warning") + L"\n";
}

std::wstring AsJson(Report& report) {
    Json json = {{"documents", Json::array()}, {"findings", Json::array()}};
    for (const std::wstring& file : report.Files()) {
        json["documents"].push_back(ToUtf8(file));
    }
    for (const Finding& finding : report.Findings()) {
        json["findings"].push_back(ToJson(finding));
    }
    json["errors"] = report.Count(Severity::Error);
    json["warnings"] = report.Count(Severity::Warning);
    return ToText(json) + L"\n";
}

std::wstring AsSarif(Report& report) {
    Json results = Json::array();
    for (const Finding& finding : report.Findings()) {
        results.push_back(SarifResult(finding));
    }
    const Json driver = {{"name", "prodrm-author lint"}, {"version", PRODRM_VERSION}, {"rules", SarifRules()}};
    const Json sarif = {
        {"$schema", "https://json.schemastore.org/sarif-2.1.0.json"},
        {"version", "2.1.0"},
        {"runs", {{{"tool", {{"driver", driver}}}, {"columnKind", "utf16CodeUnits"}, {"results", results}}}}};
    return ToText(sarif) + L"\n";
}

}  // namespace tools::lint
