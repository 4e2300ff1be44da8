#pragma once

#include <windows.h>

// Outcome of every system operation. Values and names are part of the log's wording.
enum OperationResult : DWORD {
    _ERROR_SUCCESS = 0,    // done, or nothing had to be done
    _ERROR_NOT_FOUND = 1,  // the object is not there; also every failure to open a registry key in a walk
    _ERROR_FAILED = 2,     // the operation was refused or failed
    _ERROR_UNKNOWN = 3,    // an enumeration or a platform query broke
};

// Text with static lifetime; "ERROR_UNDEF" for a value outside the enumeration.
const wchar_t* ResultName(OperationResult result);

// True for the codes of the system by which a thing is not there, names that cannot exist among them.
inline bool MeansMissing(DWORD error) {
    return error == ERROR_FILE_NOT_FOUND || error == ERROR_PATH_NOT_FOUND || error == ERROR_INVALID_NAME;
}

// "true" or "false", the way the log prints a bool.
inline const wchar_t* BoolName(bool value) {
    return value ? L"true" : L"false";
}
