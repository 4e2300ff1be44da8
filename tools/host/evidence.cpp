#include "evidence.h"

#include <algorithm>

#include "look.h"
#include "preview/findings_places.h"

namespace tools::host {

namespace {

using preview::Item;
using preview::ItemKind;
using preview::ItemState;
using preview::NodeId;

bool IsFileKind(ItemKind kind) {
    return kind == ItemKind::File || kind == ItemKind::Folder || kind == ItemKind::Shortcut ||
           kind == ItemKind::RestartEntry;
}

bool IsCode(ItemKind kind) {
    return kind == ItemKind::Tool || kind == ItemKind::LibraryMethod;
}

std::vector<std::wstring> Folded(const std::vector<std::wstring>& paths) {
    std::vector<std::wstring> folded;
    std::transform(paths.begin(), paths.end(), std::back_inserter(folded), preview::FoldedPath);
    std::sort(folded.begin(), folded.end());
    return folded;
}

}  // namespace

Evidence::Evidence(const preview::Plan& plan, const std::vector<std::wstring>& pending, const Complaints& complaints)
    : m_plan(plan), m_outcomes(plan.items.Size(), Outcome::Absent), m_isGone(plan.items.Size(), false) {
    const std::vector<std::wstring> folded = Folded(pending);
    // What an item lies in comes before it.
    for (NodeId node = 0; node < plan.items.Size(); ++node) {
        if (!plan.items[node].IsItem()) {
            continue;
        }
        m_outcomes[node] = Look(node, folded);
        ++m_counts[static_cast<std::size_t>(m_outcomes[node])];
        if (m_outcomes[node] == Outcome::Left) {
            m_reasons.emplace(node, ReasonFor(node, complaints));
        }
    }
}

Outcome Evidence::Look(NodeId node, const std::vector<std::wstring>& pending) {
    const Item& item = m_plan.items[node];
    const bool wasThere = item.state != ItemState::Missing;
    if (IsCode(item.kind)) {
        return wasThere ? Outcome::Ran : Outcome::Absent;
    }
    const Outcome gone = wasThere ? Outcome::Removed : Outcome::Absent;
    // With a folder or key, all that was in it is gone.
    if (item.parent != preview::kNoNode && m_isGone[item.parent]) {
        m_isGone[node] = true;
        return gone;
    }
    const std::wstring path = m_plan.items.Path(node);
    if ((!wasThere && item.kind == ItemKind::Process) ||
        !IsThere(item.kind, item.view, path, m_plan.items.ValueName(node), item.size)) {
        m_isGone[node] = IsFileKind(item.kind) || item.kind == ItemKind::Key;
        return gone;
    }
    const bool waits =
        IsFileKind(item.kind) && std::binary_search(pending.begin(), pending.end(), preview::FoldedPath(path));
    return waits ? Outcome::Waits : Outcome::Left;
}

std::wstring Evidence::ReasonFor(NodeId node, const Complaints& complaints) const {
    const Item& item = m_plan.items[node];
    const std::wstring name = m_plan.items.ValueName(node);
    std::wstring reason = complaints.About(m_plan.items.Path(node));
    if (reason.empty() && !name.empty()) {
        reason = complaints.About(name);
    }
    if (!reason.empty()) {
        return reason;
    }
    if (item.state == ItemState::Missing) {
        return L"it was not there before the removal";
    }
    return item.state == ItemState::Kept ? L"what the document names could not be reached"
                                         : L"the library gives no reason";
}

std::wstring Evidence::Reason(NodeId node) const {
    const auto found = m_reasons.find(node);
    return found != m_reasons.end() ? found->second : std::wstring();
}

std::size_t Evidence::Count(std::size_t product, Outcome outcome) const {
    std::size_t count = 0;
    for (NodeId node = 0; node < m_plan.items.Size(); ++node) {
        const Item& item = m_plan.items[node];
        if (item.IsItem() && m_outcomes[node] == outcome && m_plan.records[item.record].product == product) {
            ++count;
        }
    }
    return count;
}

}  // namespace tools::host
