#pragma once

#include <windows.h>

#include <string>

#include "foundation/owned.h"

namespace tools {

// The file of `module`, null for the program. Takes the loader's lock.
std::wstring ModulePath(HMODULE module);

// Folder of this program, without a backslash at the end.
std::wstring OwnFolder();

// The full path of a file beside this program, whether it is there or not.
std::wstring Beside(const std::wstring& file);

// Loads a library by its full path. What the library loads by mere names while it starts is looked
// for beside the program and in the folders of the system alone, never in the current folder or along PATH. Empty if it
// does not load, with the cause as the thread's last error.
OwnedModule LoadFrom(const std::wstring& path);
// The same for one beside this program.
OwnedModule LoadBeside(const std::wstring& file);

}  // namespace tools
