#pragma once

#include <string>

#include "plan.h"

namespace preview {

// Adds to a plan what a person must know before it is carried out, the gravest first. `folder` is the library's, with
// the catalogues: whose products stay is asked of them. Looking changes nothing. COM must be initialised.
void AddFindings(Plan& plan, const std::wstring& folder);

}  // namespace preview
