#pragma once

#include "command_line.h"
#include "library.h"
#include "output.h"

namespace host {

// The command "remove". Gives the exit code.
int RunRemove(const Options& options, const Library& library, Output& out);

}  // namespace host
