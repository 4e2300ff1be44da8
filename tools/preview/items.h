#pragma once

#include <cstddef>
#include <cstdint>
#include <deque>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

namespace preview {

enum class ItemKind : std::uint8_t {
    Place,  // a folder or key on the way to an item
    File,
    Folder,
    Shortcut,
    Key,  // goes with its values and subkeys; the subkeys are items of their own
    Value,
    Process,
    Service,
    Tool,
    LibraryMethod,
    RestartEntry,  // what the removal only hands to the system for the next restart
};

enum class ItemState : std::uint8_t {
    Present,  // goes, or for a tool or library method: runs
    Missing,  // is not there
    Waiting,  // goes at the next restart at the earliest
    Kept,     // is there and stays; what the record names cannot be reached
};

// The registry's views; everything but keys and values has none. A system with one view has the 32-bit one.
enum class View : std::uint8_t { None, Bits32, Bits64 };

using NodeId = std::uint32_t;
using RecordId = std::uint32_t;

inline constexpr NodeId kNoNode = 0xFFFFFFFF;
inline constexpr RecordId kNoRecord = 0xFFFFFFFF;

struct Item {
    std::uint64_t size = 0;         // bytes of a file, number of values of a key, identifier of a process
    const wchar_t* name = nullptr;  // last part of the path, or the name that ValueName gives; owned by the tree
    NodeId parent = kNoNode;
    RecordId record = kNoRecord;  // the first one that names it
    ItemKind kind = ItemKind::Place;
    ItemState state = ItemState::Present;
    View view = View::None;
    bool isLink : 1 = false;     // a reparse point: what it leads to is reached through it
    bool isPending : 1 = false;  // stands in the system's list of deletions at the restart already

    // Else a folder or key on the way to one.
    bool IsItem() const { return record != kNoRecord; }
};

// Every item of a plan once, as a tree: paths are made on demand, so that many items cost little. Names are found
// without regard to case, command lines exactly. Ids are given in the order of adding and stay.
class ItemTree {
public:
    NodeId Size() const { return static_cast<NodeId>(m_nodes.size()); }
    const Item& operator[](NodeId node) const { return m_nodes[node]; }
    Item& operator[](NodeId node) { return m_nodes[node]; }

    // The node of that name below `parent` (kNoNode: a root), made as a Place if there is none. `kind` tells in which
    // space the name lies: files, folders and their like share one, keys of a view one, all other kinds have their own.
    NodeId Child(NodeId parent, ItemKind kind, View view, std::wstring_view name);
    // The node of a whole path of a file or key, with what is above it.
    NodeId AtPath(ItemKind kind, View view, std::wstring_view path);
    // Each kNoNode if there is none.
    NodeId FindChild(NodeId parent, ItemKind kind, std::wstring_view name) const;
    NodeId FindPath(ItemKind kind, View view, std::wstring_view path) const;

    // A root beside any others of the same kind and name.
    NodeId Append(ItemKind kind, std::wstring_view name, NodeId parent = kNoNode);

    // Full path: of a value that of its key, of a tool or method that of its file, of a process its image where that
    // is known.
    std::wstring Path(NodeId node) const;
    // Name of a value, parameters of a tool, name of a library method; else empty.
    std::wstring ValueName(NodeId node) const;

    // Number of an item among all items: what JSON counts by. Right once the plan is made.
    std::size_t Ordinal(NodeId node) const;

private:
    std::size_t SlotOf(NodeId parent, unsigned space, std::wstring_view name) const;
    const wchar_t* Store(std::wstring_view name);
    void Grow();

    std::deque<Item> m_nodes;
    std::vector<NodeId> m_slots;  // a hash table with open addresses
    std::vector<std::unique_ptr<wchar_t[]>> m_names;
    wchar_t* m_free = nullptr;  // in the last block of names
    std::size_t m_room = 0;     // characters left there
    mutable std::vector<NodeId> m_places;
    mutable NodeId m_counted = 0;
};

}  // namespace preview
