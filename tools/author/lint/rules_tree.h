#pragma once

#include "script.h"

namespace tools::lint {

// False if there is none: nothing else of the script is read then.
bool CheckVersionList(const Script& script, Report& report);
void CheckListedVersions(const Script& script, Report& report);
void CheckVersionNotListed(const Script& script, Report& report);
void CheckSecondElement(const Script& script, Report& report);
void CheckNoSections(const Script& script, Report& report);
void CheckCommentBetweenSections(const Script& script, Report& report);
void CheckCommentInSection(const Script& script, Report& report);
void CheckSleepElement(const Script& script, Report& report);

}  // namespace tools::lint
