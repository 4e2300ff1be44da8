#include "removal.h"

#include <windows.h>
#include <oleauto.h>

#include <algorithm>
#include <memory>

#include "pending_deletions.h"
#include "removal_guard.h"

namespace tools::host {

namespace {

struct TextDeleter {
    void operator()(OLECHAR* text) const { ::SysFreeString(text); }
};

bool RunStep(const RemovalStep& step, const RemovalExports& exports, bool& restartRequired) {
    switch (step.scope) {
        case RemovalScope::AllInstalled:
            return exports.uninstallAllInstalled(step.type, &restartRequired, &RemovalWatch::Notify);
        case RemovalScope::ForceAll:
            return exports.uninstallForceAll(step.type, &restartRequired, &RemovalWatch::Notify);
        case RemovalScope::Names:
            break;
    }
    const std::unique_ptr<OLECHAR, TextDeleter> name(::SysAllocString(step.name.c_str()));
    ProductEntry entry = {};
    entry.name = name.get();
    entry.type = step.type;
    entry.force = step.force;
    return exports.uninstallProduct(&entry, &restartRequired, &RemovalWatch::Notify);
}

TargetState StateOf(const preview::Plan& plan, std::size_t product, const std::vector<Product>& installed,
                    const RemovalResult& result) {
    const bool found = std::any_of(installed.begin(), installed.end(), [&](const Product& each) {
        return each.type == plan.products[product].type && each.name == plan.products[product].name;
    });
    if (result.evidence->Count(product, Outcome::Left) != 0) {
        return TargetState::Present;
    }
    if (result.evidence->Count(product, Outcome::Waits) != 0 || (found && !result.pending.empty())) {
        return TargetState::AfterRestart;
    }
    return found ? TargetState::Present : TargetState::Removed;
}

void RunSteps(const RemovalPlan& plan, const RemovalExports& exports, RemovalView& view, RemovalResult& result) {
    const BreakRefusal refusal;
    const RemovalWatch watch(view, exports.getProgressPercent);
    for (const RemovalStep& step : plan.steps) {
        bool restart = false;  // left alone by a call that finds nothing to do
        if (!RunStep(step, exports, restart)) {
            result.libraryFailed = true;
        }
        result.restartRequired = result.restartRequired || restart;
    }
    result.counts = watch.Counts();
}

}  // namespace

int RemovalResult::ExitCode() const {
    const auto count = [this](Outcome outcome) { return evidence ? evidence->Count(outcome) : 0; };
    if (libraryFailed || count(Outcome::Left) != 0 ||
        std::count(states.begin(), states.end(), TargetState::Present) != 0) {
        return ERROR_INSTALL_FAILURE;
    }
    return restartRequired || count(Outcome::Waits) != 0 ? ERROR_SUCCESS_REBOOT_REQUIRED : ERROR_SUCCESS;
}

RemovalResult CarryOut(const RemovalPlan& removal, const preview::Plan& plan, const Library& library,
                       const RemovalExports& exports, const RemovalLog& log, RemovalView& view) {
    RemovalResult result;
    const std::vector<std::wstring> before = PendingDeletions();
    RunSteps(removal, exports, view, result);
    std::vector<std::wstring> after = PendingDeletions();
    if (after.size() != before.size()) {
        DropRepeatedDeletions();
        after = PendingDeletions();
    }
    if (result.restartRequired) {
        result.pending = NewPaths(before, after);
    }
    result.evidence.emplace(plan, after, log.Read());
    ULONG flags = 0;
    for (const RemovalStep& step : removal.steps) {
        flags |= step.type == UNINSTALL_TYPE_FAMILY ? PRODRM_FAMILY : PRODRM_FOREIGN;
    }
    const std::vector<Product> installed = library.InstalledProducts(flags);
    for (std::size_t product = 0; product < plan.products.size(); ++product) {
        result.states.push_back(StateOf(plan, product, installed, result));
    }
    return result;
}

}  // namespace tools::host
