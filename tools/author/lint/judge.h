#pragma once

#include <functional>
#include <vector>

#include "script.h"

namespace tools::lint {

// The judgement by score, as far as a script alone tells it.

enum class Verdict { Open, AlwaysPasses, NeverPasses };

Verdict Judge(const Section& section);

// False for the sections that detection leaves out.
bool IsJudged(const Section& section);
std::vector<const Section*> JudgedSections(const Version& version);

// True for operations whose elements count as there whatever the machine holds.
bool CountsAlways(const Section& section);
bool IsMandatory(const Element& element);
// As the library reads a number; attribute names in any case of letters.
int NumberOf(const Node& node, std::wstring_view attribute, int otherwise);
// Every judged section must pass, where one is enough otherwise.
bool NeedsAll(const Version& version);

// An element that is there and makes the version count as detected when nothing is there but what `isThere` says; null
// if the version is not detected then, or by no element at all.
const Element* StillDetectedBy(const Version& version, const std::function<bool(const Element&)>& isThere);

}  // namespace tools::lint
