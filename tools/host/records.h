#pragma once

#include <windows.h>

#include <optional>

#include "command_line.h"
#include "kept_file.h"
#include "plan_summary.h"
#include "preview/plan.h"
#include "removal.h"

namespace tools::host {

// The receipt and the page of a run, where they are asked for.
class Records {
public:
    // Throws a Failure if one of them cannot be written.
    explicit Records(const Options& options);

    // What goes with the removal is no place for its records. Throws a Failure.
    void RequireThatTheyStay(const preview::Plan& plan) const;
    // Without a result there is a page alone, of the plan.
    void Write(const preview::Plan& plan, const PlanSummary& summary, const RemovalResult* result);

private:
    SYSTEMTIME m_began = {};
    std::optional<KeptFile> m_receipt;
    std::optional<KeptFile> m_report;
};

}  // namespace tools::host
