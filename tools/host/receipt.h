#pragma once

#include <windows.h>

#include "common/json.h"
#include "plan_summary.h"
#include "preview/plan.h"
#include "removal.h"

namespace tools::host {

// A whole plan in JSON, in memory: for the page and the receipt. With a result, what became of it and of each item.
// `began` is when the run began.
Json WholeJson(const preview::Plan& plan, const PlanSummary& summary, const RemovalResult* result,
               const SYSTEMTIME& began);

// How many items came to what.
Json OutcomeJson(const Evidence& evidence);
// Each product with its state, in the order of the plan.
Json ProductsJson(const preview::Plan& plan, const RemovalResult* result);

// "2026-01-31T12:00:00Z".
std::string TimeText(const SYSTEMTIME& time);

// In JSON and for people.
struct TargetStateName {
    const char* json;
    const wchar_t* text;
};
const TargetStateName& NameOf(TargetState state);

}  // namespace tools::host
