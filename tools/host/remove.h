#pragma once

#include "command_line.h"
#include "common/output.h"
#include "library.h"

namespace tools::host {

// The command "remove". Gives the exit code.
int RunRemove(const Options& options, const Library& library, Output& out);

}  // namespace tools::host
