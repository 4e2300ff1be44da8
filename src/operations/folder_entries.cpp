#include "operations/folder_entries.h"

#include <cwchar>

#include "foundation/log_statement.h"
#include "foundation/path.h"

FolderEntries::FolderEntries(const wchar_t* caller, const std::wstring& folder) : m_path(folder) {
    PathAddSeparator(m_path);
    m_folderLength = m_path.size();
    m_path += L"*.*";
    m_find.Reset(::FindFirstFileW(m_path.c_str(), &m_entry));
    if (m_find) {
        return;
    }
    const DWORD error = ::GetLastError();
    if (error == ERROR_FILE_NOT_FOUND) {
        LOG_AS(caller, kWarning, L"FindFirstFile ERROR_FILE_NOT_FOUND \"%s\"", folder.c_str());
        m_opened = _ERROR_NOT_FOUND;
    } else {
        LOG_AS(caller, kError, L"FindFirstFile \"%s\" failed 0x%x", folder.c_str(), error);
        m_opened = _ERROR_UNKNOWN;
    }
}

bool FolderEntries::Next() {
    do {
        if (!m_fresh && !::FindNextFileW(m_find.Get(), &m_entry)) {
            return false;
        }
        m_fresh = false;
    } while (std::wcscmp(m_entry.cFileName, L".") == 0 || std::wcscmp(m_entry.cFileName, L"..") == 0);
    m_path.resize(m_folderLength);
    m_path += m_entry.cFileName;
    return true;
}
