// Which rules a script is checked by.

#include "rules_detection.h"
#include "rules_paths.h"
#include "rules_registry.h"
#include "rules_tree.h"
#include "rules_words.h"
#include "script.h"

namespace tools::lint {

namespace {

constexpr ScriptRule kScriptRules[] = {
    &CheckFrame,
    &CheckSections,
    &CheckUnknownElement,
    &CheckListedVersions,
    &CheckVersionNotListed,
    &CheckSecondElement,
    &CheckNoSections,
    &CheckCommentBetweenSections,
    &CheckCommentInSection,
    &CheckSleepElement,
    &CheckUnanchoredAppPath,
    &CheckSearchNeverRuns,
    &CheckViewLost,
};

constexpr ElementRule kElementRules[] = {
    &CheckUnknownAttribute,
    &CheckIgnoredAttribute,
    &CheckMissingAttribute,
    &CheckEmptyText,
    &CheckBadValue,
    &CheckFolderNames,
    &CheckHives,
    &CheckRelativePath,
    &CheckEnvironmentText,
    &CheckTrailingSeparator,
    &CheckParentFolder,
    &CheckWildcard,
    &CheckWholePath,

    &CheckProcessName,
    &CheckSystemProcess,
    &CheckSystemService,
    &CheckRestartRequired,
    &CheckDataStrEmptyPiece,
    &CheckDataStrPlace,
    &CheckValuePattern,
    &CheckProtectedKey,
};

constexpr ScriptRule kDetectionRules[] = {&CheckJudgement, &CheckNotJudged, &CheckShortcutInDetection};
constexpr ElementRule kDetectionElementRules[] = {&CheckDataStrNotSearched};

template <typename ScriptRules, typename ElementRules>
void Run(const ScriptRules& scriptRules, const ElementRules& elementRules, const Script& script, Report& report) {
    for (const ScriptRule rule : scriptRules) {
        rule(script, report);
    }
    script.ForEachElement([&](const Element& element) {
        for (const ElementRule rule : elementRules) {
            rule(script, element, report);
        }
    });
}

}  // namespace

void CheckScript(const Script& script, Report& report) {
    if (!CheckVersionList(script, report)) {
        return;
    }
    Run(kScriptRules, kElementRules, script, report);
    if (script.role == Role::Detection) {
        Run(kDetectionRules, kDetectionElementRules, script, report);
    }
}

}  // namespace tools::lint
