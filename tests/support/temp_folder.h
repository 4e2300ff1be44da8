#pragma once

#include <windows.h>

#include <string>
#include <string_view>
#include <vector>

#include "foundation/owned.h"

// A new folder in the system's temporary folder, removed with all it holds at the end of the scope.
class TempFolder {
public:
    TempFolder();
    ~TempFolder();
    TempFolder(const TempFolder&) = delete;
    TempFolder& operator=(const TempFolder&) = delete;

    // Full path without a trailing backslash; of `relative` below it where given.
    std::wstring Path(const std::wstring& relative = {}) const;

    // Makes the folders on the way as needed and give the full path.
    std::wstring MakeFolder(const std::wstring& relative) const;
    std::wstring WriteFile(const std::wstring& relative, std::string_view content = "content") const;

    // Everything below the folder, relative and sorted; folders end in a backslash.
    std::vector<std::wstring> Tree() const;

private:
    std::wstring m_path;
};

// Deletes a folder and all below it, read-only entries included.
void RemoveTree(const std::wstring& path);

bool FileExists(const std::wstring& path);

// Writes a file, whose folder exists.
void WriteWhole(const std::wstring& path, std::string_view content);

// The whole content of an existing file, whoever else has it open.
std::string FileContent(const std::wstring& path);

// Keeps an existing file open, with what `share` lets others do to it. Empty where the system refuses.
OwnedFileHandle HoldFile(const std::wstring& path, DWORD share = 0);
