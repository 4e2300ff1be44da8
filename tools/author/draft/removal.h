#pragma once

#include <set>
#include <string>
#include <utility>
#include <vector>

#include "author/draft/difference.h"

namespace tools::author {

// An operation element of a script: its attributes in their order.
using Element = std::vector<std::pair<const wchar_t*, std::wstring>>;

// Elements of one operation.
struct Section {
    const wchar_t* name;
    const wchar_t* operation;
    std::vector<Element> elements;
};

// What a removal leaves, and why.
struct Kept {
    const wchar_t* reason;
    Thing thing;
};

struct Removal {
    std::vector<Section> sections;  // in the order in which a removal runs them; none is empty
    std::vector<Kept> kept;
    std::vector<std::wstring> notes;  // what an author should know of the elements
};

struct RemovalOptions {
    std::wstring productName;
    std::wstring maker;               // as the product's entry in the list of programs says; may be empty
    std::set<std::wstring> owned;     // folders and keys, in lower case, that no other product of the maker uses
    std::set<std::wstring> programs;  // names of programs, in lower case, that were on the machine before
};

// The least document that takes away what is new and leaves what was there before or what others may share.
Removal PlanRemoval(const Difference& difference, const RemovalOptions& options);

}  // namespace tools::author
