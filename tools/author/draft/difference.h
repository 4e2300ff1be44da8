#pragma once

#include <map>
#include <string>
#include <vector>

namespace tools::author {

// A line of a difference. Identities and facts stand as in the snapshots.
struct Thing {
    std::string identity;
    std::string facts;
    std::string oldFacts;  // of what has changed

    bool IsRegistry() const { return identity.starts_with("HK"); }
    bool IsContainer() const { return identity.ends_with('\\'); }  // a folder or key
    bool IsValue() const { return IsRegistry() && identity.find('\t') != std::string::npos; }

    std::wstring Path() const;       // of a file, folder or key, without a backslash at the end; of a value its key's
    std::wstring ValueName() const;  // of a value
};

// What a snapshot tells of the machine itself.
struct Machine {
    bool is64Bit = false;
    std::map<std::wstring, std::wstring> folders;  // paths by the folder names of the scripts
};

struct Difference {
    Machine machine;           // of the snapshot after
    std::vector<Thing> added;  // in the order of the snapshot: what lies in a folder or key stands right behind it
    std::vector<Thing> gone;
    std::vector<Thing> changed;
};

// Throws a Failure, also where the two snapshots left different things out.
Difference ReadDifference(const std::wstring& before, const std::wstring& after);

}  // namespace tools::author
