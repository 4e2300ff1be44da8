#pragma once

#include <string>
#include <unordered_set>
#include <vector>

// Paths to delete at the next restart, each once, in the order they arrived. Adding is no search through the list.
class RestartList {
public:
    // True if the text was new; one that is there already, compared exactly, is passed over.
    bool Add(const std::wstring& path);
    void Sort();

    bool Empty() const { return m_paths.empty(); }
    const std::vector<std::wstring>& Paths() const { return m_paths; }

private:
    std::vector<std::wstring> m_paths;
    std::unordered_set<std::wstring> m_known;
};
