#pragma once

#include <string>

namespace tools {
class Output;
}

namespace tools::author {

struct DifferenceCounts {
    unsigned long added = 0;
    unsigned long gone = 0;
    unsigned long changed = 0;

    bool Any() const { return added + gone + changed > 0; }
};

// Writes what differs between two snapshots, a line for each: "new", "gone" or "changed", a tab, and the line of the
// snapshot; of what changed, what it held before and what it holds now. A difference of the lines that tell of the
// machine counts as well: the two were not taken alike then.
DifferenceCounts WriteDifferences(const std::wstring& before, const std::wstring& after, Output& out);

}  // namespace tools::author
