// Rules about the judgement of a script by score.

#include "rules_detection.h"

#include <algorithm>

#include "judge.h"
#include "script/vocabulary.h"

namespace tools::lint {

namespace {

using namespace attribute;

// A section that a finding of its own tells about does not need another one.
bool IsBroken(const Section& section) {
    return section.breaker != nullptr || !section.kind;
}

void JudgeAll(const Script& script, const Version& version, const std::vector<const Section*>& judged, Report& report) {
    bool open = false;
    for (const Section* const section : judged) {
        const Verdict verdict = Judge(*section);
        open = open || verdict != Verdict::AlwaysPasses;
        if (verdict == Verdict::NeverPasses && !IsBroken(*section)) {
            report.Add(RuleId::NeverDetected, script.document, *section->node,
                       {L"the section cannot reach its minimum_score, and every section must pass",
                        L"lower minimum_score, or raise the scores"});
        }
    }
    if (!open) {
        report.Add(RuleId::AlwaysDetected, script.document, *version.node, {L"every section of the version"});
    }
}

void JudgeAny(const Script& script, const Version& version, const std::vector<const Section*>& judged, Report& report) {
    bool open = false;
    for (const Section* const section : judged) {
        const Verdict verdict = Judge(*section);
        open = open || verdict != Verdict::NeverPasses || IsBroken(*section);
        if (verdict == Verdict::AlwaysPasses) {
            report.Add(RuleId::AlwaysDetected, script.document, *section->node, {L"the section"});
        }
    }
    if (!open) {
        report.Add(RuleId::NeverDetected, script.document, *version.node,
                   {L"no section can reach its minimum_score", L"lower minimum_score, or raise the scores"});
    }
}

}  // namespace

void CheckJudgement(const Script& script, Report& report) {
    bool any = false;
    for (const Version& version : script.versions) {
        any = any || version.walked;
        const std::vector<const Section*> judged = JudgedSections(version);
        if (!version.walked || version.sectionsNode == nullptr) {
            continue;
        }
        if (judged.empty()) {
            report.Add(RuleId::NeverDetected, script.document, *version.node,
                       {L"the version has no section that detection judges",
                        L"detect by files, folders, keys, values or services"});
        } else if (NeedsAll(version)) {
            JudgeAll(script, version, judged, report);
        } else {
            JudgeAny(script, version, judged, report);
        }
    }
    if (!any && script.versions.empty()) {
        report.Add(RuleId::NeverDetected, script.document, script.root,
                   {L"the script has no version", L"add a version and list it"});
    }
}

// What an author expects to count and does not.
void CheckNotJudged(const Script& script, Report& report) {
    for (const Version& version : script.versions) {
        for (const Section& section : version.sections) {
            const bool leftOut = !IsJudged(section);
            if (!leftOut && !(CountsAlways(section) && NeedsAll(version))) {
                continue;
            }
            const std::wstring operation = section.opCode;
            if (section.node->Find(kMinimumScore) != nullptr) {
                report.Add(RuleId::NotJudged, script.document, *section.node, kMinimumScore,
                           {operation, kMinimumScore});
            }
            for (const Element& element : section.elements) {
                if (IsMandatory(element)) {
                    report.Add(RuleId::NotJudged, script.document, *element.node, kMandatory, {operation, kMandatory});
                }
            }
        }
    }
}

void CheckDataStrNotSearched(const Script& script, const Element& element, Report& report) {
    const std::wstring* const data = element.Find(kDataStr);
    if (element.Is(OPERATION_DEL_REGKEY) && data != nullptr && data->find(L';') == std::wstring::npos) {
        report.Add(RuleId::DataStrNotSearched, script.document, *element.node, kDataStr, {});
    }
}

void CheckShortcutInDetection(const Script& script, Report& report) {
    script.ForEachElement([&](const Element& element) {
        const std::wstring* const path = element.Find(kPath);
        const bool counts = NumberOf(*element.section->node, kMinimumScore, 0) > 0 || IsMandatory(element);
        if (element.Is(OPERATION_DEL_SHORTCUT) && counts && path != nullptr && !LowerCase(*path).ends_with(L".lnk")) {
            report.Add(RuleId::ShortcutInDetection, script.document, *element.node, kPath, {});
        }
    });
}

}  // namespace tools::lint
