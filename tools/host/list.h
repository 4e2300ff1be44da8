#pragma once

#include "command_line.h"
#include "library.h"
#include "output.h"

namespace host {

// The command "list". Gives the exit code.
int RunList(const Options& options, const Library& library, Output& out);

}  // namespace host
