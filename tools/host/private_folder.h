#pragma once

#include <string>

#include "foundation/owned.h"

namespace tools::host {

// Folders for one run in the folder for temporary files. The name of each is also that of a mutex which the run holds
// open: a folder without one is what a run left that broke off.

// A new folder, empty, that the caller's account alone can write to. `inUse` receives the mutex. Throws a Failure.
std::wstring MakePrivateFolder(OwnedHandle& inUse);

// Removes the folders of runs that broke off, as far as they are the caller's own.
void ClearForsakenFolders();

// Removes a folder with all that is in it. A link goes, what it leads to stays.
void RemoveFolder(const std::wstring& folder);

// Copies a file, or a folder with what is in it; nothing if there is none. Throws a Failure.
void CopyTree(const std::wstring& from, const std::wstring& to);

}  // namespace tools::host
