#pragma once

#include <string>

#include "common/json.h"

namespace tools::host {

// The page for people: one HTML file, complete in itself, of what a plan or a removal is in JSON. UTF-8.
std::string ReportPage(const Json& data);

}  // namespace tools::host
