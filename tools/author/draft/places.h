#pragma once

#include <optional>
#include <string>

#include "author/draft/difference.h"

namespace tools::author {

// A file or folder as a script names it.
struct FolderPath {
    std::wstring folder;  // name of a folder; empty: `rest` is a whole path, true on this machine alone
    std::wstring rest;    // below the folder; empty for the folder itself
};

// A key as a script names it. Keys of the 32-bit view bear the short name of their hive and all others the long one, so
// that the thinning of a removal, which compares names and not views, never takes one for the other.
struct KeyPath {
    std::wstring path;
    bool x32view = false;
};

// Says in the words of the scripts, which hold on any machine, where something lies on the machine of a snapshot. What
// lies on a 32-bit system was put there by a 32-bit program, which on a 64-bit system uses the 32-bit places.
class Places {
public:
    explicit Places(const Machine& machine);

    // None for what lies in a profile outside the folders that have a name, and in another user's profile.
    std::optional<FolderPath> Folder(const std::wstring& path) const;
    // Whether the path is a folder that has a name, or leads to one.
    bool LeadsToNamedFolder(const std::wstring& path) const;

    // None for a user's own hive other than the current user's.
    std::optional<KeyPath> Key(const std::wstring& path) const;
    // The key's path as it reads in its own view, with the short name of the hive.
    std::wstring InItsView(const std::wstring& path) const;

private:
    bool IsIn32BitView(const std::wstring& path) const;

    Machine m_machine;
    std::wstring m_profiles;  // folder of all profiles; empty if unknown
};

// A script's key with its hive's long name in place of the short one, or the short one in place of the long one.
std::wstring OtherHiveName(const std::wstring& path);

// Whether `path` is `folder` or lies in it, letters without regard to their case.
bool LiesIn(const std::wstring& path, const std::wstring& folder);
// What follows the last backslash, and what stands before it.
std::wstring LastName(const std::wstring& path);
std::wstring Parent(const std::wstring& path);

}  // namespace tools::author
