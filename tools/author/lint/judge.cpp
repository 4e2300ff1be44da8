#include "judge.h"

#include <algorithm>

#include "script/vocabulary.h"

namespace tools::lint {

namespace {

using namespace attribute;

constexpr wchar_t kLeftOut[] = L"exec_tool";  // in these very letters

// The score of a section when the elements that `isThere` names are there; false if it does not pass.
bool Passes(const Section& section, const std::function<bool(const Element&)>& isThere) {
    int score = 0;
    for (const Element& element : section.elements) {
        const bool counts = CountsAlways(section) || (section.kind && isThere(element));
        if (!counts && IsMandatory(element)) {
            return false;
        }
        score += counts ? NumberOf(*element.node, kScore, 1) : 0;
    }
    return section.breaker == nullptr && score >= NumberOf(*section.node, kMinimumScore, 0);
}

}  // namespace

int NumberOf(const Node& node, std::wstring_view attribute, int otherwise) {
    for (const Attribute& candidate : node.attributes) {
        if (EqualsBlind(candidate.name, attribute)) {
            return ::_wtoi(candidate.value.c_str());
        }
    }
    return otherwise;
}

bool IsMandatory(const Element& element) {
    const auto& attributes = element.node->attributes;
    return std::any_of(attributes.begin(), attributes.end(), [](const Attribute& attribute) {
        return EqualsBlind(attribute.name, kMandatory) && IsYes(&attribute.value);
    });
}

// Their handlers do nothing in detection and answer yes.
bool CountsAlways(const Section& section) {
    return section.kind &&
           (*section.kind == OPERATION_KILL_PROCESS || *section.kind == OPERATION_EXEC_TOOL ||
            *section.kind == OPERATION_DISABLEANDSTOP_DRIVER || *section.kind == OPERATION_DISABLEANDSTOP_SERVICE);
}

Verdict Judge(const Section& section) {
    const bool always = CountsAlways(section);
    const bool never = !section.kind.has_value();
    if (section.breaker != nullptr || section.node->Find(kOpCode) == nullptr) {
        return Verdict::NeverPasses;
    }
    long long least = 0;
    long long most = 0;
    bool required = false;
    for (const Element& element : section.elements) {
        const int score = never ? 0 : NumberOf(*element.node, kScore, 1);
        least += always ? score : std::min(score, 0);
        most += always ? score : std::max(score, 0);
        required = required || (!always && IsMandatory(element));
    }
    const int minimum = NumberOf(*section.node, kMinimumScore, 0);
    if (most < minimum || (never && required)) {
        return Verdict::NeverPasses;
    }
    return least >= minimum && !required ? Verdict::AlwaysPasses : Verdict::Open;
}

bool IsJudged(const Section& section) {
    return section.opCode != kLeftOut;
}

bool NeedsAll(const Version& version) {
    return IsExactly(version.node->Find(kMandatorySections), L"all");
}

std::vector<const Section*> JudgedSections(const Version& version) {
    std::vector<const Section*> judged;
    for (const Section& section : version.sections) {
        if (IsJudged(section)) {
            judged.push_back(&section);
        }
    }
    return judged;
}

const Element* StillDetectedBy(const Version& version, const std::function<bool(const Element&)>& isThere) {
    const Element* by = nullptr;
    for (const Section* const section : JudgedSections(version)) {
        if (!Passes(*section, isThere)) {
            if (NeedsAll(version)) {
                return nullptr;
            }
            continue;
        }
        const auto found =
            std::find_if(section->elements.begin(), section->elements.end(), [&](const Element& element) {
                return !CountsAlways(*section) && isThere(element) && NumberOf(*element.node, kScore, 1) >= 0;
            });
        by = by == nullptr && found != section->elements.end() ? &*found : by;
    }
    return by;
}

}  // namespace tools::lint
