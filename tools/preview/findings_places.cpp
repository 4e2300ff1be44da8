#include "findings_places.h"

#include <windows.h>

#include <algorithm>
#include <iterator>
#include <string_view>

#include "foundation/CWow64.h"

namespace preview {

namespace {

std::wstring Upper(std::wstring text) {
    ::CharUpperBuffW(text.data(), static_cast<DWORD>(text.size()));
    return text;
}

std::wstring LongName(const std::wstring& path) {
    // Only a short name can bear another spelling of itself.
    if (path.find(L'~') == std::wstring::npos) {
        return path;
    }
    std::wstring name(MAX_PATH * 2, L'\0');
    const DWORD length = ::GetLongPathNameW(path.c_str(), name.data(), static_cast<DWORD>(name.size()));
    if (length == 0 || length >= name.size()) {
        return path;
    }
    name.resize(length);
    return name;
}

struct HiveName {
    std::wstring_view name;
    std::wstring_view longName;
};

constexpr HiveName kHiveNames[] = {
    {L"HKLM", L"HKEY_LOCAL_MACHINE"},
    {L"HKCU", L"HKEY_CURRENT_USER"},
    {L"HKCC", L"HKEY_CURRENT_CONFIG"},
    {L"HKU", L"HKEY_USERS"},
    {L"HKCR", L"HKEY_LOCAL_MACHINE\\SOFTWARE\\CLASSES"},
    {L"HKEY_CLASSES_ROOT", L"HKEY_LOCAL_MACHINE\\SOFTWARE\\CLASSES"},
};

constexpr std::wstring_view kRedirected = L"HKEY_LOCAL_MACHINE\\SOFTWARE";
constexpr std::wstring_view kUsers = L"HKEY_USERS\\";
constexpr std::wstring_view kOther32 = L"\\WOW6432NODE";
constexpr std::wstring_view kControlSet = L"HKEY_LOCAL_MACHINE\\SYSTEM\\CONTROLSET0";

void ReplaceHive(std::wstring& path) {
    const std::wstring hive = path.substr(0, path.find(L'\\'));
    for (const HiveName& row : kHiveNames) {
        if (hive == row.name) {
            path.replace(0, hive.size(), row.longName);
        }
    }
    // Whoever's hive it is, the same keys matter in it.
    if (path.starts_with(kUsers)) {
        const std::size_t end = std::min(path.find(L'\\', kUsers.size()), path.size());
        path.replace(0, end, L"HKEY_CURRENT_USER");
    }
    if (path.starts_with(kControlSet)) {
        const std::size_t end = std::min(path.find(L'\\', kControlSet.size()), path.size());
        path.replace(0, end, L"HKEY_LOCAL_MACHINE\\SYSTEM\\CURRENTCONTROLSET");
    }
}

// Of what lies below the classes, the views share all but a few branches.
bool HasViews(const std::wstring& path) {
    constexpr std::wstring_view kClasses = L"HKEY_LOCAL_MACHINE\\SOFTWARE\\CLASSES";
    if (!IsWithin(std::wstring(kClasses), path)) {
        return IsWithin(std::wstring(kRedirected), path);
    }
    constexpr std::wstring_view kApart[] = {L"\\CLSID", L"\\INTERFACE", L"\\DIRECTSHOW", L"\\MEDIA TYPE",
                                            L"\\MEDIAFOUNDATION"};
    return std::any_of(std::begin(kApart), std::end(kApart),
                       [&](std::wstring_view branch) { return IsWithin(std::wstring(kClasses).append(branch), path); });
}

void TrimSeparators(std::wstring& path) {
    while (!path.empty() && path.back() == L'\\') {
        path.pop_back();
    }
}

}  // namespace

std::wstring FoldedPath(const std::wstring& path) {
    std::wstring folded = LongName(path);
    std::replace(folded.begin(), folded.end(), L'/', L'\\');
    constexpr std::wstring_view kPrefix = L"\\\\?\\";
    if (folded.starts_with(kPrefix)) {
        folded.erase(0, kPrefix.size());
    }
    TrimSeparators(folded);
    return Upper(std::move(folded));
}

KeyPlace FoldedKey(View view, const std::wstring& path) {
    KeyPlace place = {View::None, Upper(path)};
    TrimSeparators(place.path);
    ReplaceHive(place.path);
    if (!HasViews(place.path)) {
        return place;
    }
    place.view = view;
    for (std::size_t at = place.path.find(kOther32); at != std::wstring::npos; at = place.path.find(kOther32, at)) {
        const std::size_t end = at + kOther32.size();
        if (end == place.path.size() || place.path[end] == L'\\') {
            place.path.erase(at, kOther32.size());
            place.view = View::Bits32;
        } else {
            at = end;
        }
    }
    if (!HasViews(place.path)) {
        place.view = View::None;
    }
    return place;
}

bool IsWithin(const std::wstring& upper, const std::wstring& path) {
    return path.starts_with(upper) && (path.size() == upper.size() || path[upper.size()] == L'\\');
}

std::wstring ViewText(View view) {
    if (view == View::None || !CWow64::Instance().IsWow64Process()) {
        return {};
    }
    return view == View::Bits32 ? L" (32-bit view)" : L" (64-bit view)";
}

Effects::Effects(const ItemTree& items) : m_items(items) {
    for (NodeId node = 0; node < items.Size(); ++node) {
        Add(node);
    }
}

void Effects::Add(NodeId node) {
    const Item& item = m_items[node];
    if (!Goes(node)) {
        return;
    }
    const bool isTop = item.parent == kNoNode || !Goes(item.parent);
    switch (item.kind) {
        case ItemKind::File:
        case ItemKind::Folder:
        case ItemKind::Shortcut:
        case ItemKind::RestartEntry:
            if (isTop) {
                m_files.emplace(FoldedPath(m_items.Path(node)), node);
            }
            break;
        case ItemKind::Key:
            if (isTop) {
                m_keys.emplace(FoldedKey(item.view, m_items.Path(node)), node);
            }
            break;
        case ItemKind::Value:
            if (isTop) {
                m_values.emplace(std::pair(FoldedKey(item.view, m_items.Path(node)), Upper(m_items.ValueName(node))),
                                 node);
            }
            break;
        case ItemKind::Service:
            m_services.emplace(Upper(item.name), node);
            break;
        default:
            break;
    }
}

bool Effects::Goes(NodeId node) const {
    const Item& item = m_items[node];
    return item.IsItem() && (item.state == ItemState::Present || item.state == ItemState::Waiting);
}

NodeId Effects::File(const std::wstring& path) const {
    std::wstring folded = FoldedPath(path);
    while (!folded.empty()) {
        if (const auto found = m_files.find(folded); found != m_files.end()) {
            return found->second;
        }
        folded.resize(std::min(folded.find_last_of(L'\\') + 1, folded.size()));
        TrimSeparators(folded);
    }
    return kNoNode;
}

NodeId Effects::Below(const std::wstring& folder) const {
    const auto found = m_files.lower_bound(FoldedPath(folder) + L'\\');
    return found != m_files.end() && IsWithin(FoldedPath(folder), found->first) ? found->second : kNoNode;
}

NodeId Effects::Key(View view, const std::wstring& path) const {
    KeyPlace place = FoldedKey(view, path);
    while (!place.path.empty()) {
        if (const auto found = m_keys.find(place); found != m_keys.end()) {
            return found->second;
        }
        const std::size_t separator = place.path.find_last_of(L'\\');
        place.path.resize(separator != std::wstring::npos ? separator : 0);
        if (!HasViews(place.path)) {
            place.view = View::None;
        }
    }
    return kNoNode;
}

NodeId Effects::Value(View view, const std::wstring& path, const std::wstring& name) const {
    const auto found = m_values.find({FoldedKey(view, path), Upper(name)});
    return found != m_values.end() ? found->second : Key(view, path);
}

NodeId Effects::Service(const std::wstring& name) const {
    const auto found = m_services.find(Upper(name));
    return found != m_services.end() ? found->second : kNoNode;
}

}  // namespace preview
