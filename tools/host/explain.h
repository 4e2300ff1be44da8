#pragma once

#include "command_line.h"
#include "common/output.h"

namespace tools::host {

// The command "explain": has the library judge its products and tells from the log of that run how it came to its
// verdict on one. Gives the exit code.
int RunExplain(const Options& options, Output& out);

}  // namespace tools::host
