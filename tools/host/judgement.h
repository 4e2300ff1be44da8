#pragma once

#include <optional>
#include <string>
#include <vector>

#include "log_lines.h"

namespace tools::host {

// How the library judged whether a product is installed, as it told in its log.

enum class Presence {
    NotJudged,  // no operation, or the section was broken off here
    Found,
    NotFound,
    Unclear,  // the log does not tell
};

struct JudgedElement {
    std::wstring attributes;
    Presence presence = Presence::NotJudged;
    std::optional<long> score;      // from the script
    std::optional<bool> mandatory;  // from the script
    std::vector<std::wstring> reasons;
};

struct JudgedSection {
    std::wstring operation;
    long minimum = 0;
    std::optional<long> score;  // none: the section was broken off
    bool mandatoryFailed = false;
    std::vector<JudgedElement> elements;
    std::vector<std::wstring> messages;

    bool Passed() const { return score && *score >= minimum; }
};

struct JudgedVersion {
    std::wstring name;
    std::optional<bool> installed;
    std::wstring appPath;
    std::wstring mandatorySections;  // from the script
    std::vector<JudgedSection> sections;
    std::vector<std::wstring> messages;
};

// A registry key or value that was looked for in vain.
struct MissingMark {
    std::wstring name;
    std::wstring error;

    bool operator==(const MissingMark&) const = default;
};

struct Judgement {
    bool installed = false;
    std::vector<MissingMark> missing;
    std::wstring script;  // empty: none was asked
    std::vector<JudgedVersion> versions;
    std::vector<std::wstring> messages;
};

// The judgement of the product `name`; none if the lines do not hold it.
std::optional<Judgement> ReadJudgement(const std::vector<LogLine>& lines, const std::wstring& name);

// Takes scores, mandatory elements and modes over from the script, and settles with their help what the log leaves
// unclear. Does nothing if the script cannot be read.
void AddScriptFacts(Judgement& judgement);

}  // namespace tools::host
