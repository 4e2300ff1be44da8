#pragma once

#include <string>
#include <vector>

#include "preview/plan.h"

namespace tools::host {

// Paths that the system deletes at its next start, in their order, as any program has handed them in.
std::vector<std::wstring> PendingDeletions();

// Leaves each of those deletions but once in the system's list, as the last of its like.
void DropRepeatedDeletions();

// Marks the items of a plan that stand among those deletions already.
void MarkPendingItems(preview::Plan& plan);

// The paths of `after` that `before` does not account for; a path counts as often as it stands there.
std::vector<std::wstring> NewPaths(const std::vector<std::wstring>& before, const std::vector<std::wstring>& after);

}  // namespace tools::host
