#pragma once

#include <windows.h>
#include <winternl.h>

#include <string>

#include "foundation/result.h"

// Deletes a file through the native layer, past the path rules of the Win32 calls. Entry points are bound for the
// process; a binding that stopped half-way is final.
class CForceDelFile {
public:
    static OperationResult Init();
    // Relies on bound entry points. `path` may be an object path already.
    static OperationResult Delete(const std::wstring& path);

private:
    static bool AllBound();

    static HMODULE s_ntdll;
    static NTSTATUS(NTAPI* s_ntDeleteFile)(OBJECT_ATTRIBUTES* attributes);
    static BOOLEAN(NTAPI* s_rtlDosPathNameToNtPathName)(const wchar_t* path, UNICODE_STRING* name, wchar_t** filePart,
                                                        void* directory);
    static BOOLEAN(NTAPI* s_rtlCreateUnicodeString)(UNICODE_STRING* string, const wchar_t* text);
    static void(NTAPI* s_rtlFreeUnicodeString)(UNICODE_STRING* string);
};
