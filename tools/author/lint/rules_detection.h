#pragma once

#include "script.h"

namespace tools::lint {

// Of scripts that detection reads.
void CheckJudgement(const Script& script, Report& report);
void CheckNotJudged(const Script& script, Report& report);
void CheckDataStrNotSearched(const Script& script, const Element& element, Report& report);
void CheckShortcutInDetection(const Script& script, Report& report);

}  // namespace tools::lint
