#pragma once

#include "command_line.h"
#include "common/output.h"
#include "library.h"

namespace tools::host {

// The command "explain": watches the library's own classes judge one product. Gives the exit code.
int RunExplain(const Options& options, const Library& library, Output& out);

}  // namespace tools::host
