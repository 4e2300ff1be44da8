#pragma once

#include <optional>
#include <string>
#include <vector>

#include "evidence.h"
#include "library.h"
#include "preview/plan.h"
#include "removal_log.h"
#include "removal_watch.h"
#include "remove_plan.h"

namespace tools::host {

enum class TargetState {
    Removed,       // no longer found, and nothing of it is left
    AfterRestart,  // what is still found or there goes with the restart
    Present,       // still found, or something of it is left for good
};

struct RemovalResult {
    std::vector<TargetState> states;    // one per product of the plan
    std::vector<std::wstring> pending;  // paths left to the restart by this run
    RemovalCounts counts = {};
    bool libraryFailed = false;
    bool restartRequired = false;
    std::optional<Evidence> evidence;

    int ExitCode() const;
};

// Carries out the removal, then asks the library again what is installed and looks at every item of the plan again.
RemovalResult CarryOut(const RemovalPlan& removal, const preview::Plan& plan, const Library& library,
                       const RemovalExports& exports, const RemovalLog& log, RemovalView& view);

}  // namespace tools::host
