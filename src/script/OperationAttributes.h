#pragma once

#include <map>
#include <string>
#include <utility>

// The attributes of one operation element by name, in the order of the names' code units. The section's op_code is
// among them.
class OperationAttributes {
public:
    // Never replaces a value that is there.
    void Insert(std::wstring name, std::wstring value) { m_values.emplace(std::move(name), std::move(value)); }

    // Null if absent. Names are looked up exactly.
    const std::wstring* Find(const std::wstring& name) const {
        const auto found = m_values.find(name);
        return found != m_values.end() ? &found->second : nullptr;
    }

    // Null if absent or empty: the way an optional folder name is read.
    const std::wstring* FindNonEmpty(const std::wstring& name) const {
        const std::wstring* const value = Find(name);
        return value != nullptr && !value->empty() ? value : nullptr;
    }

    auto begin() const { return m_values.begin(); }
    auto end() const { return m_values.end(); }

    bool operator==(const OperationAttributes&) const = default;

private:
    std::map<std::wstring, std::wstring> m_values;
};
