#include "findings.h"

#include <algorithm>

#include "findings_passes.h"

namespace preview {

namespace {

void AddCodeFindings(Plan& plan) {
    for (NodeId node = 0; node < plan.items.Size(); ++node) {
        const Item& item = plan.items[node];
        if (!item.IsItem() || item.state != ItemState::Present) {
            continue;
        }
        if (item.kind == ItemKind::Tool) {
            AddFinding(plan, "runs-code", Severity::Note, node,
                       L"runs " + plan.items.Path(node) + L" " + plan.items.ValueName(node) +
                           L"; what that does is not known beforehand");
        } else if (item.kind == ItemKind::LibraryMethod) {
            AddFinding(plan, "runs-code", Severity::Note, node,
                       L"calls " + plan.items.ValueName(node) + L" of " + plan.items.Path(node) +
                           L"; what that does is not known beforehand");
        }
    }
}

}  // namespace

void AddFindings(Plan& plan, const std::wstring& folder) {
    const Effects effects(plan.items);
    AddRootFindings(plan, effects);
    AddPathFindings(plan, effects);
    AddProductFindings(plan, effects, folder);
    AddProgramFindings(plan, effects);
    AddCodeFindings(plan);
    std::stable_sort(plan.findings.begin(), plan.findings.end(),
                     [](const Finding& left, const Finding& right) { return left.severity > right.severity; });
}

}  // namespace preview
