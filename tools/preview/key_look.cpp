#include "key_look.h"

#include <winternl.h>

#include <algorithm>
#include <cwchar>

#include "foundation/CSplitKeyPath.h"
#include "foundation/CWow64.h"
#include "foundation/module.h"
#include "foundation/path.h"
#include "foundation/registry_access.h"
#include "foundation/text.h"
#include "operations/CRegKeyHelper.h"
#include "operations/registry_walk.h"
#include "operations/value_pattern.h"

namespace preview {

namespace {

constexpr std::wstring_view kOtherView = L"\\Wow6432Node";

// The path by which the system itself knows an open key; empty if it does not tell.
std::wstring NameOf(HKEY key) {
    using QueryKey = LONG(NTAPI*)(HANDLE key, int information, void* buffer, ULONG size, ULONG* needed);
    static const auto query =
        EntryPointCast<QueryKey>(::GetProcAddress(::GetModuleHandleW(L"ntdll.dll"), "NtQueryKey"));
    constexpr int kKeyName = 3;
    std::vector<wchar_t> buffer(0x400);
    ULONG needed = 0;
    LONG status = query != nullptr ? query(key, kKeyName, buffer.data(),
                                           static_cast<ULONG>(buffer.size() * sizeof(wchar_t)), &needed)
                                   : -1;
    if (status < 0 && needed > buffer.size() * sizeof(wchar_t)) {
        buffer.resize(needed / sizeof(wchar_t) + 1);
        status = query(key, kKeyName, buffer.data(), static_cast<ULONG>(buffer.size() * sizeof(wchar_t)), &needed);
    }
    if (status < 0) {
        return {};
    }
    // A size in bytes, then the text.
    ULONG bytes = 0;
    std::copy_n(reinterpret_cast<const BYTE*>(buffer.data()), sizeof bytes, reinterpret_cast<BYTE*>(&bytes));
    return {buffer.data() + sizeof bytes / sizeof(wchar_t), bytes / sizeof(wchar_t)};
}

bool StartsWith(const std::wstring& name, const std::wstring& upper) {
    return name.size() >= upper.size() && (name.size() == upper.size() || name[upper.size()] == L'\\') &&
           ::CompareStringW(LOCALE_INVARIANT, NORM_IGNORECASE, name.c_str(), static_cast<int>(upper.size()),
                            upper.c_str(), static_cast<int>(upper.size())) == CSTR_EQUAL;
}

View AskedView(bool x32view) {
    return !CWow64::Instance().IsWow64Process() || x32view ? View::Bits32 : View::Bits64;
}

// Takes the folder of the other view out of a name, and tells by it in which view the key lies.
View TakeView(std::wstring& name) {
    if (!CWow64::Instance().IsWow64Process()) {
        return View::Bits32;
    }
    for (std::size_t at = name.find(L'\\'); at != std::wstring::npos; at = name.find(L'\\', at + 1)) {
        if (StartsWith(name.substr(at), std::wstring(kOtherView))) {
            name.erase(at, kOtherView.size());
            return View::Bits32;
        }
    }
    return View::Bits64;
}

// The path as given, with the hive's long name.
std::wstring LongPath(const std::wstring& path) {
    HKEY hive = nullptr;
    std::wstring subkey;
    return CSplitKeyPath::Split(path, hive, subkey) ? FullKeyPath(HiveName(hive), subkey) : path;
}

}  // namespace

KeyLook::KeyLook(ItemTree& items) : m_items(items) {
    struct Known {
        HKEY hive;
        const wchar_t* subkey;
        const wchar_t* name;
    };
    // Keys that the system calls otherwise; what lies below another stands in front of it.
    const Known known[] = {
        {HKEY_LOCAL_MACHINE, L"SYSTEM\\CurrentControlSet", L"HKEY_LOCAL_MACHINE\\SYSTEM\\CurrentControlSet"},
        {HKEY_LOCAL_MACHINE, L"", L"HKEY_LOCAL_MACHINE"},
        {HKEY_CURRENT_USER, L"Software\\Classes", L"HKEY_CURRENT_USER\\Software\\Classes"},
        {HKEY_CURRENT_USER, L"", L"HKEY_CURRENT_USER"},
        {HKEY_USERS, L"", L"HKEY_USERS"},
    };
    for (const Known& each : known) {
        OwnedRegKey key;
        if (::RegOpenKeyExW(each.hive, each.subkey, 0, ReadNativeView(), key.Put()) == ERROR_SUCCESS) {
            if (std::wstring name = NameOf(key.Get()); !name.empty()) {
                m_hives.emplace_back(std::move(name), each.name);
            }
        }
    }
}

bool KeyLook::IsGone(NodeId node) const {
    const Item& item = m_items[node];
    return item.IsItem() && item.state == ItemState::Present;
}

NodeId KeyLook::NodeOf(HKEY key, const std::wstring& path, bool x32view) const {
    std::wstring name = NameOf(key);
    const View view = TakeView(name);
    for (const auto& [system, ours] : m_hives) {
        if (StartsWith(name, system)) {
            return m_items.AtPath(ItemKind::Key, view, ours + name.substr(system.size()));
        }
    }
    return m_items.AtPath(ItemKind::Key, AskedView(x32view), LongPath(path));
}

KeyLook::Root KeyLook::Open(const std::wstring& path, bool x32view, RecordId record) {
    Root root;
    HKEY hive = nullptr;
    std::wstring subkey;
    LONG error = ERROR_FILE_NOT_FOUND;
    if (CSplitKeyPath::Split(path, hive, subkey)) {
        error = OpenKey(hive, subkey, x32view, root.key);
    }
    if (error == ERROR_SUCCESS) {
        root.node = NodeOf(root.key.Get(), path, x32view);
        return root;
    }
    root.node = m_items.AtPath(ItemKind::Key, AskedView(x32view), LongPath(path));
    if (root.node != kNoNode && !m_items[root.node].IsItem()) {
        Item& item = m_items[root.node];
        item.kind = ItemKind::Key;
        item.record = record;
        item.state = error == ERROR_ACCESS_DENIED ? ItemState::Kept : ItemState::Missing;
    }
    return root;
}

OperationResult KeyLook::Key(const DelRegOp& key, RecordId record) {
    const Root root = Open(key.keyPath, key.x32view, record);
    if (!root.key || IsGone(root.node)) {
        return _ERROR_NOT_FOUND;
    }
    return TakeKey(root.key.Get(), root.node, key.x32view, record) ? _ERROR_SUCCESS : _ERROR_FAILED;
}

// True if the key goes: no subkey stays.
bool KeyLook::TakeKey(HKEY key, NodeId node, bool x32view, RecordId record) {
    LongestEntries longest;
    DWORD subkeys = 0;
    DWORD values = 0;
    const LONG error = ::RegQueryInfoKeyW(key, nullptr, nullptr, nullptr, &subkeys, &longest.subkeyName, nullptr,
                                          &values, nullptr, nullptr, nullptr, nullptr);
    bool goes = error == ERROR_SUCCESS;
    SubkeyEnumeration enumeration(key, longest);
    for (LONG next = subkeys != 0 ? ERROR_SUCCESS : ERROR_NO_MORE_ITEMS; next != ERROR_NO_MORE_ITEMS;) {
        next = enumeration.Next();
        if (next == ERROR_MORE_DATA || next == ERROR_NO_MORE_ITEMS) {
            continue;
        }
        if (next != ERROR_SUCCESS) {
            goes = false;
            break;
        }
        const NodeId child = m_items.Child(node, ItemKind::Key, m_items[node].view, enumeration.Name());
        OwnedRegKey opened;
        if (OpenKey(key, enumeration.Name(), x32view, opened) == ERROR_SUCCESS) {
            goes = (IsGone(child) || TakeKey(opened.Get(), child, x32view, record)) && goes;
        } else {
            m_items[child].kind = ItemKind::Key;
            m_items[child].record = record;
            m_items[child].state = ItemState::Kept;
            goes = false;
        }
    }
    Item& item = m_items[node];
    // What one record misses by its writing of the hive, another may find.
    if (!item.IsItem() || item.state == ItemState::Missing) {
        item.record = record;
    }
    item.kind = ItemKind::Key;
    item.state = goes ? ItemState::Present : ItemState::Kept;
    item.size = values;
    return goes;
}

OperationResult KeyLook::Search(const DelRegKeyDataOp& search, RecordId record) {
    HKEY hive = nullptr;
    std::wstring subkey;
    OwnedRegKey key;
    // A search that finds no key to begin with names nothing that could be missing.
    if (!CSplitKeyPath::Split(search.keyPath, hive, subkey) ||
        OpenKey(hive, subkey, search.x32view, key) != ERROR_SUCCESS) {
        return _ERROR_NOT_FOUND;
    }
    return SearchKey(key.Get(), NodeOf(key.Get(), search.keyPath, search.x32view), search, record);
}

OperationResult KeyLook::SearchKey(HKEY key, NodeId node, const DelRegKeyDataOp& search, RecordId record) {
    if (IsGone(node)) {
        return _ERROR_NOT_FOUND;
    }
    std::vector<RegValueEntry> values;
    if (CRegKeyHelper::GetValues(key, values) == _ERROR_SUCCESS &&
        std::any_of(values.begin(), values.end(), [&](const RegValueEntry& value) {
            return DataMatches(value.type, value.data, search.dataStrings, search.completeStr);
        })) {
        return TakeKey(key, node, search.x32view, record) ? _ERROR_SUCCESS : _ERROR_FAILED;
    }
    std::vector<std::wstring> names;
    OperationResult result = CRegKeyHelper::GetSubKeys(key, names);
    for (const std::wstring& name : names) {
        OwnedRegKey child;
        if (OpenKey(key, name, search.x32view, child) == ERROR_SUCCESS) {
            const NodeId below = m_items.Child(node, ItemKind::Key, m_items[node].view, name);
            const OperationResult found = SearchKey(child.Get(), below, search, record);
            result = found == _ERROR_FAILED ? found : result;
        }
    }
    return result;
}

OperationResult KeyLook::Value(const DelRegOp& value, RecordId record) {
    HKEY hive = nullptr;
    std::wstring subkey;
    OwnedRegKey key;
    LONG error = ERROR_FILE_NOT_FOUND;
    if (CSplitKeyPath::Split(value.keyPath, hive, subkey)) {
        error = OpenKey(hive, subkey, value.x32view, key);
    }
    const bool isPattern = ValuePattern::IsPattern(value.valueName);
    if (error != ERROR_SUCCESS) {
        const NodeId node = m_items.AtPath(ItemKind::Key, AskedView(value.x32view), LongPath(value.keyPath));
        if (!isPattern && node != kNoNode) {
            AddValue(node, value.valueName, error == ERROR_ACCESS_DENIED ? ItemState::Kept : ItemState::Missing,
                     record);
        }
        return _ERROR_NOT_FOUND;
    }
    const NodeId node = NodeOf(key.Get(), value.keyPath, value.x32view);
    if (IsGone(node)) {
        return _ERROR_NOT_FOUND;
    }
    if (!isPattern) {
        const bool exists =
            ::RegQueryValueExW(key.Get(), value.valueName.c_str(), nullptr, nullptr, nullptr, nullptr) == ERROR_SUCCESS;
        AddValue(node, value.valueName, exists ? ItemState::Present : ItemState::Missing, record);
        return exists ? _ERROR_SUCCESS : _ERROR_NOT_FOUND;
    }
    const ValuePattern pattern(value.valueName);
    std::vector<std::wstring> names;
    CRegKeyHelper::GetValues(key.Get(), names);
    for (const std::wstring& name : names) {
        if (pattern.Matches(name)) {
            AddValue(node, name, ItemState::Present, record);
        }
    }
    return pattern.IsValid() ? _ERROR_SUCCESS : _ERROR_FAILED;
}

bool KeyLook::Keep(const std::wstring& path, bool x32view, RecordId record) {
    HKEY hive = nullptr;
    std::wstring subkey;
    OwnedRegKey key;
    if (!CSplitKeyPath::Split(path, hive, subkey) || OpenKey(hive, subkey, x32view, key) != ERROR_SUCCESS) {
        return false;
    }
    Item& item = m_items[NodeOf(key.Get(), path, x32view)];
    if (item.IsItem()) {
        return item.state == ItemState::Kept;
    }
    item.kind = ItemKind::Key;
    item.state = ItemState::Kept;
    item.record = record;
    return true;
}

void KeyLook::AddValue(NodeId key, const std::wstring& name, ItemState state, RecordId record) {
    Item& item = m_items[m_items.Child(key, ItemKind::Value, m_items[key].view, name)];
    if (!item.IsItem() || item.state == ItemState::Missing) {
        item.record = record;
        item.state = state;
    }
}

bool KeyLook::IsValueGone(HKEY hive, const std::wstring& subkey, const std::wstring& name) const {
    OwnedRegKey key;
    if (::RegOpenKeyExW(hive, subkey.c_str(), 0, QueryValueAccess(), key.Put()) != ERROR_SUCCESS) {
        return false;
    }
    const NodeId node = NodeOf(key.Get(), FullKeyPath(HiveName(hive), subkey), false);
    const NodeId value = m_items.FindChild(node, ItemKind::Value, name);
    return IsGone(node) || (value != kNoNode && IsGone(value));
}

}  // namespace preview
