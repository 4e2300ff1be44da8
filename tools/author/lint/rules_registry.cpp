// Rules about the registry.

#include "rules_registry.h"

#include <algorithm>
#include <iterator>
#include <set>

#include "common/protected_roots.h"
#include "foundation/CSplitKeyPath.h"
#include "operations/value_pattern.h"
#include "places.h"
#include "script/cached_operations.h"
#include "script/operation_request.h"
#include "script/vocabulary.h"

namespace tools::lint {

namespace {

using namespace attribute;

// The element as the library reads it: the engine's own reader, so that its defaults hold.
OperationAttributes AttributesOf(const Element& element) {
    OperationAttributes attributes;
    for (const Attribute& attribute : element.node->attributes) {
        attributes.Insert(attribute.name, attribute.value);
    }
    return attributes;
}

// What a search looks for; empty if the element is none.
std::vector<std::wstring> SearchedTexts(const Element& element, Role role) {
    RegKeyRequest request;
    const LastPiece last = role == Role::Detection ? LastPiece::Dropped : LastPiece::Kept;
    const bool isSearch = element.Is(OPERATION_DEL_REGKEY) && element.Find(kDataStr) != nullptr;
    return isSearch && ReadRegKeyRequest(L"", AttributesOf(element), last, request) ? request.dataStrings
                                                                                    : std::vector<std::wstring>();
}

// A key or value that a removal deletes as it stands.
struct PlainDeletion {
    DelRegOp operation;
    const Element* element;
};

bool IsBelowOneOf(std::wstring_view key, const std::set<std::wstring_view>& keys) {
    for (std::size_t end = key.find_last_of(L"\\/"); end != std::wstring_view::npos && end > 0;
         end = key.find_last_of(L"\\/", end - 1)) {
        if (keys.contains(key.substr(0, end))) {
            return true;
        }
    }
    return false;
}

// The key of such an element that is walked; null for any other.
const std::wstring* PlainKey(const Element& element) {
    const bool isKey = element.Is(OPERATION_DEL_REGKEY) && element.Find(kDataStr) == nullptr;
    const bool isPlain = element.section->version->walked && (isKey || element.Is(OPERATION_DEL_REGVALUE));
    return isPlain ? element.Find(isKey ? kName : kKeyPath) : nullptr;
}

std::vector<PlainDeletion> PlainDeletions(const Script& script) {
    std::vector<PlainDeletion> deletions;
    script.ForEachElement([&deletions](const Element& element) {
        if (const std::wstring* const key = PlainKey(element)) {
            const bool isValue = element.Is(OPERATION_DEL_REGVALUE);
            deletions.push_back({{*key, L"", IsX32View(element.Find(kX32View)), isValue}, &element});
        }
    });
    return deletions;
}

// True if some key is deleted in the system's own view and in the 32-bit one, or in one of them above the other.
bool AnyInBothViews(const std::vector<PlainDeletion>& deletions) {
    std::set<std::wstring_view> native;
    for (const PlainDeletion& deletion : deletions) {
        if (!deletion.operation.x32view && !deletion.operation.isValue) {
            native.insert(deletion.operation.keyPath);
        }
    }
    return !native.empty() && std::any_of(deletions.begin(), deletions.end(), [&native](const PlainDeletion& deletion) {
        const std::wstring& key = deletion.operation.keyPath;
        return deletion.operation.x32view && (native.contains(key) || IsBelowOneOf(key, native));
    });
}

// The keys that the removal still comes to in the 32-bit view after its own sorting and thinning.
std::vector<std::wstring> DoneIn32BitView(const std::vector<PlainDeletion>& deletions) {
    CachedOperations operations;
    std::transform(deletions.begin(), deletions.end(), std::back_inserter(operations.delReg),
                   [](const PlainDeletion& deletion) { return deletion.operation; });
    operations.SortAndThin();
    std::vector<std::wstring> keys;
    for (const DelRegOp& operation : operations.delReg) {
        if (operation.x32view) {
            keys.push_back(operation.keyPath);
        }
    }
    return keys;
}

// The same key with its hive by the other of its two names.
std::wstring WithOtherHiveName(const std::wstring& key) {
    const std::vector<std::wstring> names = HiveNames();  // long and short by turns
    const std::size_t end = std::min(key.find_first_of(L"\\/"), key.size());
    const auto found = std::find(names.begin(), names.end(), key.substr(0, end));
    if (found == names.end()) {
        return key;
    }
    const auto index = static_cast<std::size_t>(found - names.begin());
    return names[index ^ 1] + key.substr(end);
}

// A folder that is another one on the other kind of system, as far as it stands in a text.
constexpr std::wstring_view kPlacesOfOneKind[] = {
    L"\\program files (x86)\\", L"\\program files\\", L"\\syswow64\\", L"\\sysnative\\", L"\\system32\\",
};

}  // namespace

void CheckDataStrEmptyPiece(const Script& script, const Element& element, Report& report) {
    const std::vector<std::wstring> texts = SearchedTexts(element, script.role);
    if (std::any_of(texts.begin(), texts.end(), [](const std::wstring& text) { return text.empty(); })) {
        report.Add(RuleId::DataStrEmptyPiece, script.document, *element.node, kDataStr, {});
    }
}

void CheckDataStrPlace(const Script& script, const Element& element, Report& report) {
    for (const std::wstring& text : SearchedTexts(element, Role::Removal)) {
        const std::wstring lower = LowerCase(text);
        for (const std::wstring_view place : kPlacesOfOneKind) {
            const std::size_t at = lower.find(place);
            if (at != std::wstring::npos) {
                report.Add(RuleId::DataStrPlace, script.document, *element.node, kDataStr,
                           {text, text.substr(at + place.size())});
                break;
            }
        }
    }
}

void CheckValuePattern(const Script& script, const Element& element, Report& report) {
    const std::wstring* const name = element.Find(kName);
    if (!element.Is(OPERATION_DEL_REGVALUE) || name == nullptr || element.FindNonEmpty(kRelName) != nullptr ||
        !ValuePattern::IsPattern(*name)) {
        return;
    }
    const bool atStart = name->front() == L'*';
    const bool atEnd = name->back() == L'*';
    if (!ValuePattern(*name).IsValid()) {
        report.Add(RuleId::ValuePattern, script.document, *element.node, kName, {*name});
    } else if (script.role == Role::Detection && atStart != atEnd) {
        const std::wstring other = atEnd ? L"*" + name->substr(0, name->size() - 1) : name->substr(1) + L"*";
        report.Add(RuleId::ReversedPattern, script.document, *element.node, kName,
                   {*name, atEnd ? L"end with" : L"begin with", other});
    }
}

void CheckProtectedKey(const Script& script, const Element& element, Report& report) {
    const bool isKey = element.Is(OPERATION_DEL_REGKEY) && element.Find(kDataStr) == nullptr;
    const std::wstring* const value = element.Find(kName);
    const bool allValues = element.Is(OPERATION_DEL_REGVALUE) && value != nullptr && !value->empty() &&
                           value->find_first_not_of(L'*') == std::wstring::npos;
    const std::wstring* const key = element.Find(isKey ? kName : kKeyPath);
    if (script.role != Role::Removal || !(isKey || allValues) || key == nullptr) {
        return;
    }
    const std::wstring whole = KeyOf(*key);
    if (!whole.empty() && IsProtectedKey(whole)) {
        report.Add(RuleId::ProtectedRoot, script.document, *element.node, isKey ? kName : kKeyPath,
                   {(isKey ? L"" : L"all values of ") + whole});
    }
}

void CheckSearchNeverRuns(const Script& script, Report& report) {
    if (script.role != Role::Removal || !PlainDeletions(script).empty()) {
        return;
    }
    script.ForEachElement([&](const Element& element) {
        if (element.section->version->walked && element.Is(OPERATION_DEL_REGKEY) && element.Find(kDataStr) != nullptr) {
            report.Add(RuleId::SearchNeverRuns, script.document, *element.node);
        }
    });
}

void CheckViewLost(const Script& script, Report& report) {
    if (script.role != Role::Removal) {
        return;
    }
    const std::vector<PlainDeletion> deletions = PlainDeletions(script);
    if (!AnyInBothViews(deletions)) {
        return;
    }
    const std::vector<std::wstring> keys = DoneIn32BitView(deletions);
    const std::set<std::wstring_view> done(keys.begin(), keys.end());
    for (const PlainDeletion& deletion : deletions) {
        const std::wstring& key = deletion.operation.keyPath;
        if (deletion.operation.x32view && !done.contains(key) && !IsBelowOneOf(key, done)) {
            report.Add(RuleId::ViewLost, script.document, *deletion.element->node, {WithOtherHiveName(key)});
        }
    }
}

}  // namespace tools::lint
