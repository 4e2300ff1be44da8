#pragma once

#include <string>
#include <vector>

#include "library.h"
#include "removal_watch.h"
#include "remove_plan.h"

namespace tools::host {

enum class TargetState {
    Removed,       // no longer found
    AfterRestart,  // still found, and deletions of this run wait for the restart
    Present,       // still found
};

struct RemovalResult {
    std::vector<TargetState> states;    // one per target of the plan
    std::vector<std::wstring> pending;  // paths left to the restart
    RemovalCounts counts = {};
    bool libraryFailed = false;
    bool restartRequired = false;

    int ExitCode() const;
};

// Runs the plan, then asks the library again what is installed.
RemovalResult CarryOut(const RemovalPlan& plan, const Library& library, const RemovalExports& exports,
                       RemovalView& view);

}  // namespace tools::host
