#pragma once

#include "common/output.h"
#include "plan_summary.h"
#include "preview/plan.h"

namespace tools::host {

// The plan for people: the summary, then the findings, then what goes as a tree. Long lists are cut short unless `all`.
// The same without the tree, for the beginning of a removal.
void WritePlanHead(const preview::Plan& plan, const PlanSummary& summary, Output& out);
void WritePlanText(const preview::Plan& plan, const PlanSummary& summary, bool all, Output& out);

}  // namespace tools::host
