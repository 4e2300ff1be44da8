#pragma once

#include <string>
#include <vector>

#include "script.h"

namespace tools::lint {

enum class System { X86, X64 };

// What paths mean on a machine that is set up as usual, for a person called "user", without asking this one. An
// application path that a machine's registry holds is a folder X:\{key|value name} here.

// The folders that a folder name may mean; none for an unknown name. Of app_path both the folder of the registry and
// that of install_folder.
const std::vector<std::wstring>& FoldersOf(const std::wstring& name, const Version& version, System system);

// The paths that a del_file or del_folder element may mean, as the library makes them; none if it fails.
std::vector<std::wstring> PathsOf(const Element& element, System system);

// A registry key with the long name of its hive; empty if the hive is unknown.
std::wstring KeyOf(const std::wstring& path);

// Without the folder of an application path.
bool IsFromRegistry(const std::wstring& path);

// True if the folder is one that the system or a person's profile lives in, or holds one.
bool IsProtectedFolder(const std::wstring& path, System system);

// True if the path of `name`, which is not empty, below a folder can be told to be short and no such folder without
// making it.
bool IsHarmlessBelow(const std::wstring& folder, const std::wstring& name, System system);

}  // namespace tools::lint
