#pragma once

#include "command_line.h"
#include "common/output.h"
#include "library.h"
#include "preview/plan.h"
#include "remove_plan.h"

namespace tools::host {

// The plan of a removal, with its findings. COM must be initialised.
preview::Plan MakePreview(const Options& options, const RemovalPlan& removal, const Library& library);

// The command "plan". Gives the exit code.
int RunPlan(const Options& options, Output& out);

}  // namespace tools::host
