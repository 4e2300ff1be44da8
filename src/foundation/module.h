#pragma once

#include <windows.h>

// Handle of the module that this code is linked into: the library itself, never the host program.
HMODULE OwnModule();

// For a program that links this code to look at what the library would do: from now on `library` counts as the own
// module, so that its folder and its embedded document are meant. The module stays loaded.
void ActForModule(HMODULE library);

// Gives an entry point found at run time its type.
template <typename Function>
Function EntryPointCast(FARPROC address) {
    return reinterpret_cast<Function>(reinterpret_cast<void*>(address));
}
