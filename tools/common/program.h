#pragma once

#include <string>
#include <vector>

#include "common/output.h"

namespace tools {

// What a tool does, with the arguments behind its name; gives the exit code. Results go to `out`.
using ToolBody = int (*)(const std::vector<std::wstring>& arguments, Output& out);

// Runs a tool to its exit code, whatever happens: a Failure, memory that runs out, an output that cannot be written
// and a crash are told on the standard error in one line after the tool's name, and no dialog waits for somebody.
// Called once, by wmain.
int RunTool(const char* name, int count, wchar_t** arguments, ToolBody body);

}  // namespace tools
