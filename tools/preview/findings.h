#pragma once

#include <string>
#include <vector>

#include "plan.h"

namespace preview {

// Adds to a plan what a person must know before it is carried out, the gravest first. `folder` is the library's, with
// the catalogues: whose products stay is asked of them. Looking changes nothing. COM must be initialised.
void AddFindings(Plan& plan, const std::wstring& folder);

// A path that goes at the next restart, and an installed product that uses it by its own script: installed again after
// a removal, it would lose the file then.
struct EndangeredPath {
    std::wstring path;
    std::wstring product;
};
// Of the paths that wait for the restart, those that are there. COM must be initialised.
std::vector<EndangeredPath> EndangeredByRestart(const std::wstring& folder, const std::vector<std::wstring>& pending);

}  // namespace preview
