#pragma once

#include <windows.h>

#include <string>
#include <utility>
#include <vector>

#include "foundation/owned.h"
#include "foundation/result.h"
#include "items.h"
#include "script/cached_operations.h"

namespace preview {

// Finds what the deletions of keys and values would take, by their own tests, and adds it to the items, each under the
// place where it really lies: a key that both views share, or that several paths lead to, is one. What an earlier
// deletion has taken by then is not there any more. Changes nothing; answers what the deletion would.
class KeyLook {
public:
    explicit KeyLook(ItemTree& items);

    OperationResult Key(const DelRegOp& key, RecordId record);
    OperationResult Value(const DelRegOp& value, RecordId record);
    OperationResult Search(const DelRegKeyDataOp& search, RecordId record);

    // A key that no deletion is for: added as one that stays if it is there, and true then.
    bool Keep(const std::wstring& path, bool x32view, RecordId record);

    // True if the value has been taken, with its key or by itself.
    bool IsValueGone(HKEY hive, const std::wstring& subkey, const std::wstring& name) const;

private:
    // A key that a record names.
    struct Root {
        OwnedRegKey key;
        NodeId node = kNoNode;
    };

    // Adds what is missing, or closed to this account, as it is; then the key is null.
    Root Open(const std::wstring& path, bool x32view, RecordId record);
    NodeId NodeOf(HKEY key, const std::wstring& path, bool x32view) const;
    bool TakeKey(HKEY key, NodeId node, bool x32view, RecordId record);
    OperationResult SearchKey(HKEY key, NodeId node, const DelRegKeyDataOp& search, RecordId record);
    void AddValue(NodeId key, const std::wstring& name, ItemState state, RecordId record);
    bool IsGone(NodeId node) const;

    ItemTree& m_items;
    std::vector<std::pair<std::wstring, std::wstring>> m_hives;  // the system's name of a key, and how we call it
};

}  // namespace preview
