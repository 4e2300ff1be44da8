#pragma once

#include <windows.h>
#include <oaidl.h>

// The arrays that the exports hand to the host: one dimension, lower bound 0, no features. Failures are logged in the
// caller's name.

// Makes an array of `count` elements of `elementBytes` and gives access to its zeroed data. On failure frees what was
// made; the pointer itself is not reset.
bool MakeResultArray(const wchar_t* caller, SAFEARRAY** array, ULONG elementBytes, ULONG count, void** data);

// A failure changes nothing.
void EndResultArrayAccess(const wchar_t* caller, SAFEARRAY* array);
