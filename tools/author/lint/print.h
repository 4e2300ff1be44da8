#pragma once

#include <string>

#include "report.h"

namespace tools::lint {

// The findings for people, one or two lines each, and a last line with their number.
std::wstring AsText(Report& report);

// The same as JSON, described in docs/lint.md.
std::wstring AsJson(Report& report);

// The same as SARIF 2.1.0, for systems that show findings beside a document.
std::wstring AsSarif(Report& report);

}  // namespace tools::lint
