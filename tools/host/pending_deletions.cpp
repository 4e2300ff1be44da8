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

}  // namespace

std::vector<std::wstring> PendingDeletions() {
    const std::wstring operations = ReadOperations();
    std::vector<std::wstring> paths;
    // Pairs of texts: what is moved, and where to; nowhere is a deletion.
    for (std::size_t at = 0; at < operations.size() && operations[at] != L'\0';) {
        std::wstring from = operations.c_str() + at;
        at = std::min(at + from.size() + 1, operations.size());
        const std::wstring to = operations.c_str() + at;
        at += to.size() + 1;
        if (to.empty()) {
            paths.push_back(from.starts_with(kDevicePrefix) ? from.substr(std::size(kDevicePrefix) - 1) : from);
        }
    }
    return paths;
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
