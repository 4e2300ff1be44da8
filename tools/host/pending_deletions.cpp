#include "pending_deletions.h"

#include <windows.h>

#include <algorithm>
#include <cstddef>
#include <iterator>

#include "foundation/owned.h"
#include "foundation/registry_access.h"

namespace tools::host {

namespace {

constexpr wchar_t kKey[] = L"SYSTEM\\CurrentControlSet\\Control\\Session Manager";
constexpr wchar_t kValue[] = L"PendingFileRenameOperations";
constexpr wchar_t kDevicePrefix[] = L"\\??\\";

// The value's text with its zeroes; empty if there is none.
std::wstring ReadOperations() {
    OwnedRegKey key;
    if (::RegOpenKeyExW(HKEY_LOCAL_MACHINE, kKey, 0, kRead64BitView, key.Put()) != ERROR_SUCCESS) {
        return {};
    }
    std::wstring text;
    DWORD bytes = 0;
    LSTATUS status = ERROR_MORE_DATA;
    // The value may grow between two calls.
    while (status == ERROR_MORE_DATA || (status == ERROR_SUCCESS && text.empty() && bytes != 0)) {
        text.resize(bytes / sizeof(wchar_t));
        status = ::RegQueryValueExW(key.Get(), kValue, nullptr, nullptr,
                                    text.empty() ? nullptr : reinterpret_cast<BYTE*>(text.data()), &bytes);
    }
    text.resize(status == ERROR_SUCCESS ? bytes / sizeof(wchar_t) : 0);
    return text;
}

// What is moved, and where to; nowhere is a deletion.
struct Operation {
    std::wstring from;
    std::wstring to;

    std::wstring Path() const {
        return from.starts_with(kDevicePrefix) ? from.substr(std::size(kDevicePrefix) - 1) : from;
    }
    bool operator==(const Operation&) const = default;
};

std::vector<Operation> Split(const std::wstring& text) {
    std::vector<Operation> operations;
    for (std::size_t at = 0; at < text.size() && text[at] != L'\0';) {
        Operation& operation = operations.emplace_back();
        operation.from = text.c_str() + at;
        at = std::min(at + operation.from.size() + 1, text.size());
        operation.to = text.c_str() + at;
        at += operation.to.size() + 1;
    }
    return operations;
}

}  // namespace

std::vector<std::wstring> PendingDeletions() {
    std::vector<std::wstring> paths;
    for (const Operation& operation : Split(ReadOperations())) {
        if (operation.to.empty()) {
            paths.push_back(operation.Path());
        }
    }
    return paths;
}

void DropRepeatedDeletions() {
    const std::vector<Operation> operations = Split(ReadOperations());
    std::wstring text;
    for (auto operation = operations.begin(); operation != operations.end(); ++operation) {
        // The last one stays: a folder goes after what was handed in to go from it.
        const bool isRepeated =
            operation->to.empty() && std::find(operation + 1, operations.end(), *operation) != operations.end();
        if (!isRepeated) {
            text.append(operation->from).append(1, L'\0').append(operation->to).append(1, L'\0');
        }
    }
    text += L'\0';
    OwnedRegKey key;
    if (::RegOpenKeyExW(HKEY_LOCAL_MACHINE, kKey, 0, FullAccess(false), key.Put()) == ERROR_SUCCESS) {
        ::RegSetValueExW(key.Get(), kValue, 0, REG_MULTI_SZ, reinterpret_cast<const BYTE*>(text.data()),
                         static_cast<DWORD>(text.size() * sizeof(wchar_t)));
    }
}

void MarkPendingItems(preview::Plan& plan) {
    for (const std::wstring& path : PendingDeletions()) {
        const preview::NodeId node = plan.items.FindPath(preview::ItemKind::File, preview::View::None, path);
        if (node != preview::kNoNode && plan.items[node].IsItem()) {
            plan.items[node].isPending = true;
        }
    }
}

std::vector<std::wstring> NewPaths(const std::vector<std::wstring>& before, const std::vector<std::wstring>& after) {
    std::vector<std::wstring> known = before;
    std::vector<std::wstring> added;
    for (const std::wstring& path : after) {
        const auto found = std::find(known.begin(), known.end(), path);
        if (found == known.end()) {
            added.push_back(path);
        } else {
            known.erase(found);
        }
    }
    return added;
}

}  // namespace tools::host
