#include "operations/RestartList.h"

#include <algorithm>

void RestartList::Append(const std::wstring& path) {
    if (m_known.insert(path).second) {
        m_paths.push_back(path);
    }
}

void RestartList::Sort() {
    std::sort(m_paths.begin(), m_paths.end());
}
