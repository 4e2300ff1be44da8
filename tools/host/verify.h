#pragma once

#include "command_line.h"
#include "common/output.h"
#include "library.h"

namespace tools::host {

// The command "verify": looks again at what a receipt names. Gives the exit code of the state found.
int RunVerify(const Options& options, const Library& library, Output& out);

}  // namespace tools::host
