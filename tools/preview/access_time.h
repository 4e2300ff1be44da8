#pragma once

#include <windows.h>

#include <string>
#include <utility>

#include "foundation/owned.h"

namespace preview {

// Who a file or folder is, whatever path leads there: volume, then number on it. All zero if the system does not tell.
using FileIdentity = std::pair<DWORD, ULONGLONG>;

// Links are followed.
FileIdentity IdentityOf(const std::wstring& path);

// While it stands, the file or folder may be read: its time of last access comes back at the end of the scope, where
// this account may set it. What a link leads to is meant.
class AccessTimeKept {
public:
    // `path` outlives the object.
    AccessTimeKept(const std::wstring& path, bool isLink);
    ~AccessTimeKept();
    AccessTimeKept(const AccessTimeKept&) = delete;
    AccessTimeKept& operator=(const AccessTimeKept&) = delete;

private:
    bool Read(FILETIME& time) const;

    const std::wstring& m_path;
    OwnedFileHandle m_target;  // of a link: by its path the system tells of the link itself
    bool m_known;
    FILETIME m_before = {};
};

}  // namespace preview
