#pragma once

#include "script.h"

namespace tools::lint {

// Of files, folders and shortcuts.
void CheckRelativePath(const Script& script, const Element& element, Report& report);
void CheckEnvironmentText(const Script& script, const Element& element, Report& report);
void CheckTrailingSeparator(const Script& script, const Element& element, Report& report);
void CheckParentFolder(const Script& script, const Element& element, Report& report);
void CheckWildcard(const Script& script, const Element& element, Report& report);
void CheckWholePath(const Script& script, const Element& element, Report& report);
void CheckUnanchoredAppPath(const Script& script, Report& report);

// Of processes, services and the restart.
void CheckProcessName(const Script& script, const Element& element, Report& report);
void CheckSystemProcess(const Script& script, const Element& element, Report& report);
void CheckSystemService(const Script& script, const Element& element, Report& report);
void CheckRestartRequired(const Script& script, const Element& element, Report& report);

}  // namespace tools::lint
