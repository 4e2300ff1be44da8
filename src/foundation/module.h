#pragma once

#include <windows.h>

// Handle of the module that this code is linked into: the library itself, never the host program.
HMODULE OwnModule();

// Gives an entry point found at run time its type.
template <typename Function>
Function EntryPointCast(FARPROC address) {
    return reinterpret_cast<Function>(reinterpret_cast<void*>(address));
}
