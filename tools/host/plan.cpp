#include "plan.h"

#include <windows.h>

#include <algorithm>

#include "common/com_scope.h"
#include "common/modules.h"
#include "document.h"
#include "log_control.h"
#include "pending_deletions.h"
#include "plan_json.h"
#include "plan_summary.h"
#include "plan_text.h"
#include "preview/findings.h"
#include "preview/holders.h"
#include "records.h"

namespace tools::host {

namespace {

preview::RemovalCall CallOf(const RemovalStep& step) {
    using Scope = preview::RemovalCall::Scope;
    const Scope scope = step.scope == RemovalScope::Names          ? Scope::Product
                        : step.scope == RemovalScope::AllInstalled ? Scope::AllInstalled
                                                                   : Scope::ForceAll;
    return {scope, step.type, step.name, step.force};
}

}  // namespace

preview::Plan MakePreview(const Options& options, const RemovalPlan& removal, const Library& library) {
    library.CheckBuild();
    std::vector<preview::RemovalCall> calls;
    std::transform(removal.steps.begin(), removal.steps.end(), std::back_inserter(calls), CallOf);
    preview::Plan plan = preview::MakePlan(calls, library.Module());
    preview::AddHolders(plan);
    preview::AddFindings(plan, library.Folder());
    MarkPendingItems(plan);
    if (!options.document.empty()) {
        plan.document.file = options.document;  // what is packed into the copy of the library
    }
    return plan;
}

int RunPlan(const Options& options, Output& out) {
    const LogControl log(options.log);
    const ComScope com;
    Records records(options);
    const PlannedLibrary library(options);
    const preview::Plan plan = MakePreview(options, MakePlan(options, library.Get()), library.Get());
    const PlanSummary summary = Summarize(plan);
    records.Write(plan, summary, nullptr);
    if (options.json) {
        WritePlanJson(plan, summary, out);
    } else {
        WritePlanText(plan, summary, options.all, out);
    }
    return summary.ExitCode();
}

}  // namespace tools::host
