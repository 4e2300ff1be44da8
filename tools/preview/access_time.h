#pragma once

#include <windows.h>

#include <string>
#include <utility>

#include "foundation/owned.h"

namespace preview {

// Who a file or folder is, whatever path leads there: volume, then number on it.
using FileIdentity = std::pair<DWORD, ULONGLONG>;

// While it stands, the file or folder may be read: its time of last access comes back at the end of the scope, where
// this account may set it. A link is followed.
class AccessTimeKept {
public:
    explicit AccessTimeKept(const std::wstring& path);
    ~AccessTimeKept();
    AccessTimeKept(const AccessTimeKept&) = delete;
    AccessTimeKept& operator=(const AccessTimeKept&) = delete;

    // All zero if the system does not tell.
    FileIdentity Identity() const;

private:
    OwnedFileHandle m_file;
    bool m_mayWrite = true;
    BY_HANDLE_FILE_INFORMATION m_before = {};
};

}  // namespace preview
