#pragma once

#include <map>
#include <string>
#include <utility>
#include <vector>

#include "plan.h"

namespace preview {

// One spelling of a path for comparisons: long names, backslashes, upper case, no separator at the end.
std::wstring FoldedPath(const std::wstring& path);

// One spelling of a key for comparisons: long hive name, upper case, without the parts that are other names for the
// same place. The view is None where both views are the same.
struct KeyPlace {
    View view = View::None;
    std::wstring path;

    auto operator<=>(const KeyPlace&) const = default;
};
KeyPlace FoldedKey(View view, const std::wstring& path);

// True if `path` is `upper` or lies in it; both folded.
bool IsWithin(const std::wstring& upper, const std::wstring& path);

// "32-bit" or "64-bit view" in brackets, for a key or a value; empty where there is but one.
std::wstring ViewText(View view);

// What a plan takes away, found by any spelling of a path. Answers are the topmost items: what lies in a folder or key
// that goes, goes with it.
class Effects {
public:
    using FileTops = std::map<std::wstring, NodeId>;
    using KeyTops = std::map<KeyPlace, NodeId>;

    // `items` outlives the object.
    explicit Effects(const ItemTree& items);

    // The item that goes at this place: the thing itself or a folder that it lies in; kNoNode if it stays.
    NodeId File(const std::wstring& path) const;
    // The first item that goes and lies in this folder.
    NodeId Below(const std::wstring& folder) const;
    NodeId Key(View view, const std::wstring& path) const;
    NodeId Value(View view, const std::wstring& path, const std::wstring& name) const;
    NodeId Service(const std::wstring& name) const;

    bool Goes(NodeId node) const;
    const FileTops& Files() const { return m_files; }
    const KeyTops& Keys() const { return m_keys; }

private:
    void Add(NodeId node);

    const ItemTree& m_items;
    FileTops m_files;
    KeyTops m_keys;
    std::map<std::pair<KeyPlace, std::wstring>, NodeId> m_values;
    std::map<std::wstring, NodeId> m_services;
};

}  // namespace preview
