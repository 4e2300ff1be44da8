#pragma once

#include "common/json.h"
#include "common/output.h"
#include "plan_summary.h"
#include "preview/plan.h"

namespace tools::host {

// The whole plan as one JSON object, written item by item.
void WritePlanJson(const preview::Plan& plan, const PlanSummary& summary, Output& out);

// Its parts.
Json MachineJson();
Json ToJson(const preview::Plan& plan, const preview::Record& record);
Json ToJson(const preview::Plan& plan, preview::NodeId item);
Json ToJson(const preview::Plan& plan, const preview::Finding& finding);
Json ToJson(const PlanSummary& summary);

}  // namespace tools::host
