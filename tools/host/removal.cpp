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
    if (libraryFailed || std::count(states.begin(), states.end(), TargetState::Present) != 0) {
        return ERROR_INSTALL_FAILURE;
    }
    return restartRequired ? ERROR_SUCCESS_REBOOT_REQUIRED : ERROR_SUCCESS;
}

RemovalResult CarryOut(const RemovalPlan& plan, const Library& library, const RemovalExports& exports,
                       RemovalView& view) {
    RemovalResult result;
    const std::vector<std::wstring> before = PendingDeletions();
    RunSteps(plan, exports, view, result);
    if (result.restartRequired) {
        result.pending = NewPaths(before, PendingDeletions());
    }
    ULONG flags = 0;
    for (const RemovalStep& step : plan.steps) {
        flags |= step.type == UNINSTALL_TYPE_FAMILY ? PRODRM_FAMILY : PRODRM_FOREIGN;
    }
    const std::vector<Product> installed = library.InstalledProducts(flags);
    for (const RemovalTarget& target : plan.targets) {
        const bool found = std::any_of(installed.begin(), installed.end(), [&](const Product& product) {
            return product.type == target.product.type && product.name == target.product.name;
        });
        const TargetState state = result.pending.empty() ? TargetState::Present : TargetState::AfterRestart;
        result.states.push_back(found ? state : TargetState::Removed);
    }
    return result;
}

}  // namespace tools::host
