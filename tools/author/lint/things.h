#pragma once

#include <string>
#include <vector>

#include "script.h"

namespace tools::lint {

// A thing on a usual 64-bit system, so that what one document names can be found in another.
struct Thing {
    enum class Kind { File, Folder, Key, Value, Unknown } kind = Kind::Unknown;
    std::vector<std::wstring> places;  // paths that it may have, or its key
    std::wstring valueName;
    bool x32view = false;

    // True if the removal of this takes the other with it. What cannot be told counts as taken.
    bool Takes(const Thing& other) const;
    std::wstring Words() const;
};

// What an element names. A service is its key; a search, a shortcut and what runs is unknown.
Thing ThingOf(const Element& element);
Thing KeyThing(const std::wstring& key);

}  // namespace tools::lint
