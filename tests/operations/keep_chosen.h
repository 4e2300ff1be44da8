#pragma once

#include <algorithm>
#include <string>
#include <vector>

#include "operations/IUsed.h"

// Keeps the chosen things and records every question in its order.
class KeepChosen final : public IUsed {
public:
    explicit KeepChosen(std::vector<std::wstring> chosen = {}) : m_chosen(std::move(chosen)) {}

    bool IsUsedFile(const std::wstring& path) override { return Ask(L"file " + path); }
    bool IsUsedFolder(const std::wstring& path) override { return Ask(L"folder " + path); }
    bool IsUsedRegKey(const std::wstring& path, bool x32view) override { return Ask(L"key " + path + View(x32view)); }
    bool IsUsedRegValue(const std::wstring& path, const std::wstring& name, bool x32view) override {
        return Ask(L"value " + path + L"=" + name + View(x32view));
    }
    bool IsUsedTool(const std::wstring&, const std::wstring&) override { return Ask(L"tool"); }

    std::vector<std::wstring> asked;

private:
    static const wchar_t* View(bool x32view) { return x32view ? L" x32" : L""; }

    bool Ask(const std::wstring& question) {
        asked.push_back(question);
        return std::find(m_chosen.begin(), m_chosen.end(), question) != m_chosen.end();
    }

    std::vector<std::wstring> m_chosen;
};
