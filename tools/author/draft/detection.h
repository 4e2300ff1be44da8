#pragma once

#include <optional>
#include <string>
#include <vector>

#include "author/draft/places.h"
#include "author/draft/removal.h"
#include "author/draft/uninstall_entry.h"

namespace tools::author {

// A section that judges: each element with its score, passed from the minimum on.
struct JudgingSection {
    Section section;
    std::vector<int> scores;
    int minimum = 1;
};

// By what a product is recognised. One section that passes is enough; each asks for so much that what someone else
// has of the product's does not pass it.
std::vector<JudgingSection> PlanDetection(const Difference& difference, const Removal& removal);

// The same from the product's entry in the list of programs alone.
std::vector<JudgingSection> PlanDetection(const UninstallEntry& entry, const Machine& machine);

}  // namespace tools::author
