#pragma once

#include "script.h"

namespace tools::lint {

void CheckDataStrEmptyPiece(const Script& script, const Element& element, Report& report);
void CheckDataStrPlace(const Script& script, const Element& element, Report& report);
void CheckValuePattern(const Script& script, const Element& element, Report& report);
void CheckProtectedKey(const Script& script, const Element& element, Report& report);

// Of the whole script: what is done to the registry is sorted and thinned before it runs.
void CheckSearchNeverRuns(const Script& script, Report& report);
void CheckViewLost(const Script& script, Report& report);

}  // namespace tools::lint
