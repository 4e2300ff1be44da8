#include "file_look.h"

#include <windows.h>
#include <shlwapi.h>

#include <algorithm>
#include <cwchar>

#include "foundation/CWow64.h"
#include "foundation/log_statement.h"
#include "operations/COperations.h"
#include "operations/folder_entries.h"

namespace preview {

namespace {

constexpr FileIdentity kUnknown = {};

// The library's own test of a shortcut.
class ShortcutTest : public COperations {
public:
    using COperations::IsShortcut;

    static bool PointsAt(const std::wstring& link, const DelShortcutOp& shortcut) {
        const AccessTimeKept kept(link, false);
        return COperations::PointsAt(CALLER, link, {shortcut.target, shortcut.targetIsWholePath});
    }
};

bool MeansMissing(DWORD error) {
    return error == ERROR_FILE_NOT_FOUND || error == ERROR_PATH_NOT_FOUND;
}

ULONGLONG Size(DWORD high, DWORD low) {
    return (static_cast<ULONGLONG>(high) << 32) + low;
}

// The system lists names whose whole path it then does not take, or takes for another: it cuts dots and blanks at the
// end.
bool IsOutOfReach(const std::wstring& path) {
    return path.back() == L'.' || path.back() == L' ' ||
           (path.size() >= MAX_PATH && ::GetFileAttributesW(path.c_str()) == INVALID_FILE_ATTRIBUTES);
}

}  // namespace

bool FileLook::IsGone(NodeId node) const {
    const Item& item = m_items[node];
    return item.IsItem() && item.kind != ItemKind::RestartEntry && item.state == ItemState::Present;
}

NodeId FileLook::Add(NodeId node, ItemKind kind, ItemState state, RecordId record) {
    Item& item = m_items[node];
    // What one record misses by its writing of the name, another may find.
    if (!item.IsItem() || item.state == ItemState::Missing) {
        item.record = record;
    }
    item.kind = kind;
    item.state = state;
    return node;
}

OperationResult FileLook::File(const std::wstring& path, RecordId record) {
    return FileAs(ItemKind::File, path, record);
}

OperationResult FileLook::FileAs(ItemKind kind, const std::wstring& path, RecordId record) {
    const NodeId node = m_items.AtPath(kind, View::None, path);
    if (node == kNoNode || IsGone(node)) {
        return _ERROR_NOT_FOUND;
    }
    const Wow64Redirection off(CALLER);
    WIN32_FILE_ATTRIBUTE_DATA data = {};
    if (::GetFileAttributesExW(path.c_str(), GetFileExInfoStandard, &data)) {
        if ((data.dwFileAttributes & FILE_ATTRIBUTE_DIRECTORY) == 0) {
            Add(node, kind, ItemState::Present, record);
            m_items[node].size = Size(data.nFileSizeHigh, data.nFileSizeLow);
            m_items[node].isLink = (data.dwFileAttributes & FILE_ATTRIBUTE_REPARSE_POINT) != 0;
            return _ERROR_SUCCESS;
        }
    } else if (MeansMissing(::GetLastError())) {
        Add(node, kind, ItemState::Missing, record);
        return _ERROR_NOT_FOUND;
    }
    // What is no file, or cannot be opened by this name, is left to the restart.
    Add(node, ItemKind::RestartEntry, ItemState::Waiting, record);
    return _ERROR_FAILED;
}

void FileLook::AtRestart(const std::wstring& path, RecordId record, bool exists) {
    const NodeId node = m_items.AtPath(ItemKind::RestartEntry, View::None, path);
    if (node != kNoNode && !m_items[node].IsItem()) {
        Add(node, ItemKind::RestartEntry, exists ? ItemState::Waiting : ItemState::Missing, record);
    }
}

OperationResult FileLook::Folder(const std::wstring& path, RecordId record) {
    const NodeId node = m_items.AtPath(ItemKind::Folder, View::None, path);
    if (node == kNoNode || IsGone(node) || (m_items[node].IsItem() && m_items[node].kind == ItemKind::Folder)) {
        return _ERROR_NOT_FOUND;
    }
    const Wow64Redirection off(CALLER);
    const DWORD attributes = ::GetFileAttributesW(path.c_str());
    const bool exists = attributes != INVALID_FILE_ATTRIBUTES;
    if (!exists || !::PathIsDirectoryW(path.c_str())) {
        Add(node, ItemKind::Folder, exists ? ItemState::Kept : ItemState::Missing, record);
        return _ERROR_NOT_FOUND;
    }
    m_items[node].isLink = (attributes & FILE_ATTRIBUTE_REPARSE_POINT) != 0;
    TakeFolder(path, node, record);
    return _ERROR_SUCCESS;
}

// The folder as it was walked before, where a link has led to it, or to this one from a folder that was walked; else
// kNoNode. Who a folder is costs a call, which is made from the first link on.
NodeId FileLook::WalkedBefore(const std::wstring& path, NodeId node) {
    if (!m_metLink && m_items[node].isLink) {
        m_metLink = true;
        for (NodeId each = 0; each < m_items.Size(); ++each) {
            if (m_items[each].IsItem() && m_items[each].kind == ItemKind::Folder) {
                m_walked.emplace(IdentityOf(m_items.Path(each)), each);
            }
        }
    }
    const FileIdentity identity = m_metLink ? IdentityOf(path) : kUnknown;
    if (identity == kUnknown) {
        return kNoNode;
    }
    const auto [walked, isFirst] = m_walked.emplace(identity, node);
    return isFirst ? kNoNode : walked->second;
}

// A folder goes with the last that it holds, and stays with what stays.
ItemState FileLook::TakeFolder(const std::wstring& path, NodeId node, RecordId record) {
    if (const NodeId walked = WalkedBefore(path, node); walked != kNoNode) {
        return m_items[Add(node, ItemKind::Folder, m_items[walked].state, record)].state;
    }
    Add(node, ItemKind::Folder, ItemState::Present, record);
    const AccessTimeKept kept(path, m_items[node].isLink);
    FolderEntries entries(CALLER, path);
    ItemState state = entries.Opened() == _ERROR_SUCCESS ? ItemState::Present : ItemState::Kept;
    while (entries.Opened() == _ERROR_SUCCESS && entries.Next()) {
        const ItemState entry = TakeEntry(entries, node, record);
        state = entry == ItemState::Missing ? state : std::max(state, entry);
    }
    m_items[node].state = state;
    return state;
}

ItemState FileLook::TakeEntry(FolderEntries& entries, NodeId folder, RecordId record) {
    const wchar_t* const name = entries.Data().cFileName;
    NodeId node = m_items.Child(folder, ItemKind::File, View::None, name);
    if (IsGone(node)) {
        if (m_items[node].record != record || std::wcscmp(m_items[node].name, name) == 0) {
            return ItemState::Missing;
        }
        // Where the file system tells the letters' case apart, a folder may hold both names.
        node = m_items.Append(ItemKind::File, name, folder);
    }
    const bool isFolder = entries.IsFolder();
    m_items[node].isLink = (entries.Data().dwFileAttributes & FILE_ATTRIBUTE_REPARSE_POINT) != 0;
    if (IsOutOfReach(entries.Path())) {
        Add(node, isFolder ? ItemKind::Folder : ItemKind::File, ItemState::Kept, record);
        return ItemState::Kept;
    }
    if (isFolder) {
        return TakeFolder(entries.Path(), node, record);
    }
    Add(node, ItemKind::File, ItemState::Present, record);
    m_items[node].size = Size(entries.Data().nFileSizeHigh, entries.Data().nFileSizeLow);
    return ItemState::Present;
}

OperationResult FileLook::Shortcuts(const DelShortcutOp& shortcut, RecordId record) {
    const Wow64Redirection off(CALLER);
    // A link may lead back to where it lies: what it leads to is walked once.
    std::set<FileIdentity> seen;
    return WalkShortcuts(shortcut.path, false, shortcut, record, seen);
}

OperationResult FileLook::WalkShortcuts(const std::wstring& path, bool isLink, const DelShortcutOp& shortcut,
                                        RecordId record, std::set<FileIdentity>& seen) {
    const NodeId node = m_items.AtPath(ItemKind::Folder, View::None, path);
    if (node == kNoNode || IsGone(node)) {
        return _ERROR_NOT_FOUND;
    }
    if (!::PathIsDirectoryW(path.c_str())) {
        return FileAs(ItemKind::Shortcut, path, record);
    }
    const AccessTimeKept kept(path, isLink);
    FolderEntries entries(CALLER, path);
    OperationResult result = entries.Opened();
    while (entries.Opened() == _ERROR_SUCCESS && entries.Next()) {
        const NodeId entry = m_items.FindChild(node, ItemKind::File, entries.Data().cFileName);
        if (entry != kNoNode && IsGone(entry)) {
            continue;
        }
        const bool leads = (entries.Data().dwFileAttributes & FILE_ATTRIBUTE_REPARSE_POINT) != 0;
        if (entries.IsFolder()) {
            if (!leads || seen.insert(IdentityOf(entries.Path())).second) {
                result = WalkShortcuts(entries.Path(), leads, shortcut, record, seen);
            }
        } else if (ShortcutTest::IsShortcut(entries.Data().cFileName) &&
                   ShortcutTest::PointsAt(entries.Path(), shortcut)) {
            const NodeId link = m_items.Child(node, ItemKind::Shortcut, View::None, entries.Data().cFileName);
            Add(link, ItemKind::Shortcut, ItemState::Present, record);
            m_items[link].size = Size(entries.Data().nFileSizeHigh, entries.Data().nFileSizeLow);
            result = _ERROR_SUCCESS;
        }
    }
    return result;
}

}  // namespace preview
