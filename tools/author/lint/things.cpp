#include "things.h"

#include <algorithm>

#include "common/protected_roots.h"
#include "operations/value_pattern.h"
#include "places.h"
#include "script/vocabulary.h"

namespace tools::lint {

namespace {

using namespace attribute;

constexpr wchar_t kServices[] = L"HKEY_LOCAL_MACHINE\\SYSTEM\\CurrentControlSet\\Services\\";
constexpr wchar_t kMachineSoftware[] = L"HKEY_LOCAL_MACHINE\\Software\\";

bool IsKeyOrValue(Thing::Kind kind) {
    return kind == Thing::Kind::Key || kind == Thing::Kind::Value;
}

// The views differ below this key alone.
bool HasViews(const std::wstring& key) {
    return IsOrHolds(kMachineSoftware, key);
}

bool AnyOf(const std::vector<std::wstring>& uppers, const std::vector<std::wstring>& lowers) {
    return std::any_of(uppers.begin(), uppers.end(), [&lowers](const std::wstring& upper) {
        return std::any_of(lowers.begin(), lowers.end(),
                           [&upper](const std::wstring& lower) { return IsOrHolds(upper, lower); });
    });
}

Thing RegistryThing(const Element& element, const wchar_t* keyAttribute) {
    const std::wstring* const key = element.Find(keyAttribute);
    const std::wstring whole = key != nullptr ? KeyOf(*key) : L"";
    if (whole.empty() || element.Find(kDataStr) != nullptr || element.FindNonEmpty(kRelName) != nullptr) {
        return {};
    }
    return {Thing::Kind::Key, {whole}, {}, IsX32View(element.Find(kX32View))};
}

}  // namespace

bool Thing::Takes(const Thing& other) const {
    if (other.kind == Kind::Unknown) {
        return true;
    }
    if (kind == Kind::Unknown || IsKeyOrValue(kind) != IsKeyOrValue(other.kind)) {
        return false;
    }
    if (IsKeyOrValue(kind) && x32view != other.x32view && HasViews(other.places[0])) {
        return false;
    }
    if (kind == Kind::Folder || kind == Kind::Key) {
        return AnyOf(places, other.places);
    }
    const bool samePlace = AnyOf(places, other.places) && AnyOf(other.places, places);
    const bool sameName = kind == Kind::File || EqualsBlind(valueName, other.valueName) ||
                          (ValuePattern::IsPattern(valueName) && ValuePattern(valueName).Matches(other.valueName));
    return kind == other.kind && samePlace && sameName;
}

std::wstring Thing::Words() const {
    const std::wstring& place = places.empty() ? valueName : places.front();
    switch (kind) {
        case Kind::File:
            return L"the file " + place;
        case Kind::Folder:
            return L"the folder " + place;
        case Kind::Value:
            return L"the value " + valueName + L" of the key " + place;
        default:
            return L"the key " + place;
    }
}

Thing ThingOf(const Element& element) {
    if (element.words == nullptr) {
        return {};
    }
    switch (element.words->kind) {
        case OPERATION_DEL_FILE:
            return {Thing::Kind::File, PathsOf(element, System::X64), {}};
        case OPERATION_DEL_FOLDER:
            return {Thing::Kind::Folder, PathsOf(element, System::X64), {}};
        case OPERATION_DEL_REGKEY:
            return RegistryThing(element, kName);
        case OPERATION_DEL_REGVALUE: {
            Thing thing = RegistryThing(element, kKeyPath);
            if (thing.kind == Thing::Kind::Key && element.Find(kName) != nullptr) {
                thing.kind = Thing::Kind::Value;
                thing.valueName = *element.Find(kName);
            }
            return thing;
        }
        case OPERATION_DISABLE_DRIVER:
        case OPERATION_DISABLE_SERVICE: {
            const std::wstring* const name = element.Find(kName);
            return name != nullptr ? KeyThing(kServices + *name) : Thing{};
        }
        default:
            return {};
    }
}

Thing KeyThing(const std::wstring& key) {
    return {Thing::Kind::Key, {key}, {}};
}

}  // namespace tools::lint
