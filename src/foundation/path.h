#pragma once

#include <windows.h>

#include <string>

// The library's own place on disk.
class CPath {
public:
    // Folder of the library with a trailing backslash. On failure logs, leaves `path` as it was and answers false.
    static bool GetCurrentPath(std::wstring& path);
};

// Appends a backslash unless the text is empty or ends in a separator. Changes `path`; the result is a copy of it.
std::wstring PathAddSeparator(std::wstring& path);

// Extends `first` in place by a separator and `second`; the result is a copy of it. A caller that goes on to use the
// folder itself copies it first.
std::wstring PathJoin(std::wstring& first, const std::wstring& second);

// Resolves "." and ".." in `path`. A text that the system refuses stays as it is. The result is a copy of `path`.
std::wstring PathCanonical(std::wstring& path);
