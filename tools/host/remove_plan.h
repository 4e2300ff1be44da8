#pragma once

#include <prodrm.h>

#include <string>
#include <vector>

#include "command_line.h"
#include "library.h"

namespace tools::host {

// One call of the library.
struct RemovalStep {
    RemovalScope scope;
    UninstallType type;
    std::wstring name;  // of a single product
    bool force;         // of a single product: installed or not
};

// What a removal is about to ask of the library, in order.
struct RemovalPlan {
    std::vector<RemovalStep> steps;
};

// Throws a Failure with ERROR_UNKNOWN_PRODUCT if a product is unknown, or not installed and not forced.
RemovalPlan MakePlan(const Options& options, const Library& library);

}  // namespace tools::host
