#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace tools {

// What belongs to the system itself. Both the preview, which asks a machine, and the check of documents, which asks
// none, go by these tables.

// The system's numbers (CSIDL) of the folders whose loss is the loss of a machine or of a person's profile. The folder
// of all profiles and the roots of drives have no number.
extern const std::vector<int> kProtectedFolders;

// True if `path` is `root` or lies above it. Both without regard to the case of A to Z, with either separator and with
// any number of them at the end.
bool IsOrHolds(std::wstring_view path, std::wstring_view root);

// True for a hive and for a key that the system lives in, or that holds such a one: "HKEY_LOCAL_MACHINE\Software". The
// hive by its long name. The 32-bit branch counts as what it mirrors, HKEY_CLASSES_ROOT as Software\Classes, each
// control set as the current one and each user's hive as that of the current user.
bool IsProtectedKey(std::wstring_view key);

}  // namespace tools
