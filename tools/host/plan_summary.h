#pragma once

#include <array>
#include <cstddef>
#include <cstdint>

#include "preview/plan.h"

namespace tools::host {

// What a plan comes to, in numbers.
struct PlanSummary {
    // By kind of item: what goes now, or runs.
    std::array<std::size_t, static_cast<std::size_t>(preview::ItemKind::RestartEntry) + 1> present = {};
    std::uint64_t bytes = 0;  // of files that go
    std::size_t missing = 0;
    std::size_t waiting = 0;
    std::size_t kept = 0;
    std::size_t pending = 0;  // of all, those in the system's list of deletions at the restart already
    bool restart = false;     // asked for by the document, or by what waits
    bool stopped = false;     // by a finding

    std::size_t operator[](preview::ItemKind kind) const { return present[static_cast<std::size_t>(kind)]; }
    int ExitCode() const;
};

PlanSummary Summarize(const preview::Plan& plan);

// As in scripts and JSON; the row of a kind is its number.
struct ItemKindName {
    const char* json;
    const wchar_t* one;
    const wchar_t* many;
};
const ItemKindName& NameOf(preview::ItemKind kind);

const char* NameOf(preview::ItemState state);
const char* NameOf(preview::Severity severity);
const char* NameOf(preview::RecordState state);

}  // namespace tools::host
