#pragma once

#include <windows.h>

#include <string>

#include "foundation/owned.h"
#include "foundation/result.h"

// The entries of one folder but "." and "..". Two failures to open the folder are logged in the caller's name.
//
//     FolderEntries entries(CALLER, folder);
//     if (entries.Opened() != _ERROR_SUCCESS) return entries.Opened();
//     while (entries.Next()) ... entries.Path() ...
class FolderEntries {
public:
    FolderEntries(const wchar_t* caller, const std::wstring& folder);

    // _ERROR_NOT_FOUND where the system finds nothing of the name, _ERROR_UNKNOWN for any other failure.
    OperationResult Opened() const { return m_opened; }

    bool Next();

    // Of the entry that Next stepped to; overwritten by the following Next.
    const std::wstring& Path() const { return m_path; }
    const wchar_t* Name() const { return m_entry.cFileName; }
    const WIN32_FIND_DATAW& Data() const { return m_entry; }
    bool IsFolder() const { return (m_entry.dwFileAttributes & FILE_ATTRIBUTE_DIRECTORY) != 0; }

    // Ends the walk: a folder with an open search cannot be removed.
    void Close() { m_find.Reset(); }

private:
    OwnedFindHandle m_find;
    OperationResult m_opened = _ERROR_SUCCESS;
    bool m_fresh = true;  // the first entry came with the handle
    WIN32_FIND_DATAW m_entry = {};
    std::wstring m_path;  // folder and name in one buffer for the whole walk
    std::size_t m_folderLength = 0;
};
