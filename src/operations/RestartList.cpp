#include "operations/RestartList.h"

#include <algorithm>

bool RestartList::Add(const std::wstring& path) {
    const bool isNew = m_known.insert(path).second;
    if (isNew) {
        m_paths.push_back(path);
    }
    return isNew;
}

void RestartList::Sort() {
    std::sort(m_paths.begin(), m_paths.end());
}
