#pragma once

#include <windows.h>
#include <oaidl.h>

// Makes a one-dimensional array with lower bound 0 of `count` elements of `elementBytes` and gives access to its
// zeroed data. On failure logs in the caller's name and frees what was made; the pointer itself is not reset.
bool MakeResultArray(const wchar_t* caller, SAFEARRAY** array, ULONG elementBytes, ULONG count, void** data);

// Ends the access. A failure is logged in the caller's name and changes nothing.
void EndResultArrayAccess(const wchar_t* caller, SAFEARRAY* array);
