#pragma once

#include <string>
#include <vector>

namespace tools::author {

struct SnapshotOptions {
    std::wstring file;
    std::wstring exclusionFile;        // empty: the default list
    std::vector<std::wstring> drives;  // such as "C:"; empty: the fixed drives
};

// Writes the state of the machine: the files and folders of its drives, the keys and values of HKLM, of the user (HKCU)
// and of the other users that are loaded (HKU). A sorted UTF-8 text file with a line for each thing: what it is called,
// a tab, and what it holds. Lines that begin with "#" tell of the machine. Throws a Failure. Gives the number of lines.
unsigned long TakeSnapshot(const SnapshotOptions& options);

}  // namespace tools::author
