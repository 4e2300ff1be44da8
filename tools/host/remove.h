#pragma once

#include "command_line.h"
#include "common/output.h"

namespace tools::host {

// The command "remove". Gives the exit code.
int RunRemove(const Options& options, Output& out);

}  // namespace tools::host
