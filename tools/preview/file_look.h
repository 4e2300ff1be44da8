#pragma once

#include <map>
#include <set>
#include <string>

#include "access_time.h"
#include "foundation/result.h"
#include "items.h"
#include "script/cached_operations.h"

class FolderEntries;

namespace preview {

// Finds what the deletions of files, folders and shortcuts would take, in their order and by their own tests, and adds
// it to the items. What an earlier deletion has taken by then is not there any more. Changes nothing; answers what the
// deletion would.
class FileLook {
public:
    explicit FileLook(ItemTree& items) : m_items(items) {}

    OperationResult File(const std::wstring& path, RecordId record);
    OperationResult Folder(const std::wstring& path, RecordId record);
    OperationResult Shortcuts(const DelShortcutOp& shortcut, RecordId record);
    // A file that is handed to the system for the restart without being tried now.
    void AtRestart(const std::wstring& path, RecordId record, bool exists);

private:
    OperationResult FileAs(ItemKind kind, const std::wstring& path, RecordId record);
    ItemState TakeFolder(const std::wstring& path, NodeId node, RecordId record);
    ItemState TakeEntry(FolderEntries& entries, NodeId node, RecordId record);
    NodeId WalkedBefore(const std::wstring& path, NodeId node);
    OperationResult WalkShortcuts(const std::wstring& path, bool isLink, const DelShortcutOp& shortcut, RecordId record,
                                  std::set<FileIdentity>& seen);
    NodeId Add(NodeId node, ItemKind kind, ItemState state, RecordId record);
    // True if the item goes before the deletion at hand begins.
    bool IsGone(NodeId node) const;

    ItemTree& m_items;
    bool m_metLink = false;
    std::map<FileIdentity, NodeId> m_walked;  // folders by whatever path; known from the first link on
};

}  // namespace preview
