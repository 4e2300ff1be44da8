#pragma once

#include <optional>
#include <string>

#include "author/draft/difference.h"
#include "author/draft/places.h"

namespace tools::author {

// A product's key in the system's list of programs.
struct UninstallEntry {
    std::wstring keyName;
    std::wstring path;  // as in a snapshot
    std::wstring displayName;
    std::wstring displayVersion;
    std::wstring publisher;
    std::wstring displayIcon;  // file, without the number of the icon

    bool IsOfMachine() const { return path.starts_with(L"HKLM"); }  // a catalogue finds these alone
};

// Whether the key is an entry of the list, in either view, of the machine or the user.
bool IsUninstallEntry(const Places& places, const std::wstring& path);

// The new entry of the product: the one whose display name fits best. None if there is no new one.
std::optional<UninstallEntry> FindUninstallEntry(const Difference& difference, const std::wstring& productName);

// The entry of that key name on this machine. Throws a Failure if there is none.
UninstallEntry ReadUninstallEntry(const std::wstring& keyName);

}  // namespace tools::author
