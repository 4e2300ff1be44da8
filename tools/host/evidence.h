#pragma once

#include <cstddef>
#include <cstdint>
#include <map>
#include <string>
#include <vector>

#include "preview/plan.h"
#include "removal_log.h"

namespace tools::host {

// What became of an item.
enum class Outcome : std::uint8_t {
    Removed,  // was there and is gone; a service: is disabled
    Waits,    // is there, and goes with the restart
    Absent,   // was not there, and is not
    Left,     // is there and waits for nothing
    Ran,      // a tool or library method: what it did is not known
};

inline constexpr std::size_t kOutcomes = 5;

// For people, and in JSON, in the order of the values.
inline constexpr const wchar_t* kOutcomeTexts[kOutcomes] = {L"removed", L"waits for the restart", L"was not there",
                                                            L"left", L"was run"};
inline constexpr const char* kOutcomeNames[kOutcomes] = {"removed", "waits", "absent", "left", "ran"};

// The items of a plan, each looked at again.
class Evidence {
public:
    // `pending` are the deletions that the system keeps for its restart. The plan outlives the object.
    Evidence(const preview::Plan& plan, const std::vector<std::wstring>& pending, const Complaints& complaints);

    Outcome Of(preview::NodeId node) const { return m_outcomes[node]; }
    // Why an item is left or waits; empty for the others.
    std::wstring Reason(preview::NodeId node) const;

    std::size_t Count(Outcome outcome) const { return m_counts[static_cast<std::size_t>(outcome)]; }
    // Of the items of one product of the plan.
    std::size_t Count(std::size_t product, Outcome outcome) const;

private:
    Outcome Look(preview::NodeId node, const std::vector<std::wstring>& pending);
    std::wstring ReasonFor(preview::NodeId node, const Complaints& complaints) const;

    const preview::Plan& m_plan;
    std::vector<Outcome> m_outcomes;
    std::vector<bool> m_isGone;  // known not to be there
    std::size_t m_counts[kOutcomes] = {};
    std::map<preview::NodeId, std::wstring> m_reasons;
};

}  // namespace tools::host
