#include "plan_summary.h"

#include <windows.h>

#include <algorithm>
#include <iterator>

namespace tools::host {

using preview::Item;
using preview::ItemKind;
using preview::ItemState;

namespace {

// clang-format off
constexpr ItemKindName kKindNames[] = {
    {"place",          L"place",           L"places"},
    {"file",           L"file",            L"files"},
    {"folder",         L"folder",          L"folders"},
    {"shortcut",       L"shortcut",        L"shortcuts"},
    {"key",            L"key",             L"keys"},
    {"value",          L"value",           L"values"},
    {"process",        L"program to end",  L"programs to end"},
    {"service",        L"service",         L"services"},
    {"tool",           L"tool to run",     L"tools to run"},
    {"library_method", L"method to call",  L"methods to call"},
    {"restart_entry",  L"restart entry",   L"restart entries"},
};
// clang-format on

static_assert(std::size(kKindNames) == static_cast<std::size_t>(ItemKind::RestartEntry) + 1);

constexpr const char* kStateNames[] = {"present", "missing", "waiting", "kept"};
constexpr const char* kSeverityNames[] = {"note", "warn", "stop"};
constexpr const char* kRecordStateNames[] = {"runs", "covered", "not_carried_out"};

}  // namespace

const ItemKindName& NameOf(ItemKind kind) {
    return kKindNames[static_cast<std::size_t>(kind)];
}

const char* NameOf(ItemState state) {
    return kStateNames[static_cast<std::size_t>(state)];
}

const char* NameOf(preview::Severity severity) {
    return kSeverityNames[static_cast<std::size_t>(severity)];
}

const char* NameOf(preview::RecordState state) {
    return kRecordStateNames[static_cast<std::size_t>(state)];
}

PlanSummary Summarize(const preview::Plan& plan) {
    PlanSummary summary;
    for (preview::NodeId node = 0; node < plan.items.Size(); ++node) {
        const Item& item = plan.items[node];
        if (!item.IsItem()) {
            continue;
        }
        summary.pending += item.isPending ? 1U : 0U;
        switch (item.state) {
            case ItemState::Present:
                ++summary.present[static_cast<std::size_t>(item.kind)];
                summary.bytes += item.kind == ItemKind::File || item.kind == ItemKind::Shortcut ? item.size : 0;
                break;
            case ItemState::Missing:
                ++summary.missing;
                break;
            case ItemState::Waiting:
                ++summary.waiting;
                break;
            case ItemState::Kept:
                ++summary.kept;
                break;
        }
    }
    summary.restart = plan.restartAsked || summary.waiting != 0;
    summary.stopped = std::any_of(plan.findings.begin(), plan.findings.end(), [](const preview::Finding& finding) {
        return finding.severity == preview::Severity::Stop;
    });
    return summary;
}

int PlanSummary::ExitCode() const {
    return stopped ? ERROR_INSTALL_PACKAGE_REJECTED : ERROR_SUCCESS;
}

}  // namespace tools::host
