#pragma once

#include <string>
#include <vector>

#include "report.h"

namespace tools::lint {

// Checks files and product folders. What a file is follows from where it lies and what it holds: a script in a folder
// "intern" or "extern" is read as detection does, any other as a removal; of a library the embedded document is read.
// COM must be initialised. Throws Failure if a path is not there or the engine is not.
void CheckPaths(const std::vector<std::wstring>& paths, Report& report);

// Checks a document as one for removals. `name` is what findings call it.
void CheckRemoval(const std::wstring& name, Bytes document, Report& report);

}  // namespace tools::lint
