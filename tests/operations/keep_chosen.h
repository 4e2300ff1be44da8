#pragma once

#include "operations/IUsed.h"
#include "support/show_text.h"

// Keeps the chosen things and records every question in its order.
class KeepChosen final : public IUsed {
public:
    explicit KeepChosen(Lines chosen = {}) : m_chosen(std::move(chosen)) {}

    bool IsUsedFile(const std::wstring& path) override { return Ask(L"file " + path); }
    bool IsUsedFolder(const std::wstring& path) override { return Ask(L"folder " + path); }
    bool IsUsedRegKey(const std::wstring& path, bool x32) override {
        return Ask(L"key " + path + (x32 ? L" x32" : L""));
    }
    bool IsUsedRegValue(const std::wstring& path, const std::wstring& name, bool x32) override {
        return Ask(L"value " + path + L"=" + name + (x32 ? L" x32" : L""));
    }
    bool IsUsedTool(const std::wstring&, const std::wstring&) override { return Ask(L"tool"); }

    Lines asked;

private:
    bool Ask(const std::wstring& question) {
        asked.push_back(question);
        return std::find(m_chosen.begin(), m_chosen.end(), question) != m_chosen.end();
    }

    Lines m_chosen;
};
