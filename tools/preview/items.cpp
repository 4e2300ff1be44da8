#include "items.h"

#include <windows.h>

#include <algorithm>
#include <array>
#include <cwchar>
#include <numeric>

namespace preview {

namespace {

constexpr std::size_t kBlockChars = 0x8000;
constexpr std::size_t kFirstSlots = 1024;

// The system's own upper case letters, for every unit.
class UpperCase {
public:
    UpperCase() {
        std::iota(m_upper.begin(), m_upper.end(), wchar_t{0});
        // Zero would end the text for the system.
        ::CharUpperBuffW(m_upper.data() + 1, static_cast<DWORD>(m_upper.size() - 1));
    }

    wchar_t operator()(wchar_t unit) const { return m_upper[unit]; }

private:
    std::array<wchar_t, 0x10000> m_upper;
};

wchar_t Upper(wchar_t unit) {
    static const UpperCase upper;
    return upper(unit);
}

constexpr bool IsRun(ItemKind kind) {
    return kind == ItemKind::Tool || kind == ItemKind::LibraryMethod;
}

// These stand below the file or key that they belong to, and their name is no part of a path.
constexpr bool HasName(ItemKind kind) {
    return IsRun(kind) || kind == ItemKind::Value;
}

// Kinds that cannot bear the same name below the same parent share a space.
constexpr unsigned SpaceOf(ItemKind kind, View view) {
    switch (kind) {
        case ItemKind::Place:
            return view == View::None ? static_cast<unsigned>(ItemKind::File) : SpaceOf(ItemKind::Key, view);
        case ItemKind::Folder:
        case ItemKind::Shortcut:
        case ItemKind::RestartEntry:
            return static_cast<unsigned>(ItemKind::File);
        case ItemKind::Key:
            return 0x100U | static_cast<unsigned>(view);
        default:
            return static_cast<unsigned>(kind);
    }
}

bool IsPath(ItemKind kind) {
    return SpaceOf(kind, View::None) == SpaceOf(ItemKind::File, View::None) || kind == ItemKind::Key;
}

bool SameName(std::wstring_view left, const wchar_t* right, bool exactly) {
    return std::wcslen(right) == left.size() &&
           std::equal(left.begin(), left.end(), right, [&](wchar_t first, wchar_t second) {
               return first == second || (!exactly && Upper(first) == Upper(second));
           });
}

// Calls visit(part) for the parts of a path; the leading separators of a network path belong to its first part. Names
// of keys may hold a slash.
template <typename Visit>
bool ForEachPart(ItemKind kind, std::wstring_view path, const Visit& visit) {
    const std::wstring_view separators = kind == ItemKind::Key ? L"\\" : L"\\/";
    std::size_t begin = 0;
    std::size_t end = path.find_first_of(separators, std::min(path.find_first_not_of(separators), path.size()));
    while (begin < path.size()) {
        end = std::min(end, path.size());
        if (end > begin && !visit(path.substr(begin, end - begin))) {
            return false;
        }
        begin = end + 1;
        end = path.find_first_of(separators, begin);
    }
    return true;
}

}  // namespace

NodeId ItemTree::Child(NodeId parent, ItemKind kind, View view, std::wstring_view name) {
    if (2 * (m_nodes.size() + 1) > m_slots.size()) {
        Grow();
    }
    NodeId& slot = m_slots[SlotOf(parent, SpaceOf(kind, view), name)];
    if (slot == kNoNode) {
        slot = Size();
        Item& item = m_nodes.emplace_back();
        item.name = Store(name);
        item.parent = parent;
        item.view = view;
        // What is a path is told apart by its view alone, and may become an item later.
        item.kind = IsPath(kind) ? ItemKind::Place : kind;
    }
    return slot;
}

NodeId ItemTree::AtPath(ItemKind kind, View view, std::wstring_view path) {
    NodeId node = kNoNode;
    ForEachPart(kind, path, [&](std::wstring_view part) {
        node = Child(node, kind, view, part);
        return true;
    });
    return node;
}

NodeId ItemTree::FindChild(NodeId parent, ItemKind kind, std::wstring_view name) const {
    return m_slots[SlotOf(parent, SpaceOf(kind, m_nodes[parent].view), name)];
}

NodeId ItemTree::FindPath(ItemKind kind, View view, std::wstring_view path) const {
    NodeId node = kNoNode;
    const bool found = ForEachPart(kind, path, [&](std::wstring_view part) {
        node = m_slots.empty() ? kNoNode : m_slots[SlotOf(node, SpaceOf(kind, view), part)];
        return node != kNoNode;
    });
    return found ? node : kNoNode;
}

// The slot that holds the node, or the free one where it belongs.
std::size_t ItemTree::SlotOf(NodeId parent, unsigned space, std::wstring_view name) const {
    std::size_t hash = 0x811C9DC5U ^ parent;
    for (const wchar_t unit : name) {
        hash = (hash ^ Upper(unit)) * 0x01000193U;
    }
    hash ^= hash >> 15;
    const std::size_t mask = m_slots.size() - 1;
    for (std::size_t slot = hash & mask;; slot = (slot + 1) & mask) {
        const NodeId node = m_slots[slot];
        if (node == kNoNode) {
            return slot;
        }
        const Item& item = m_nodes[node];
        if (item.parent == parent && SpaceOf(item.kind, item.view) == space &&
            SameName(name, item.name, IsRun(item.kind))) {
            return slot;
        }
    }
}

void ItemTree::Grow() {
    m_slots.assign(std::max(kFirstSlots, 2 * m_slots.size()), kNoNode);
    for (NodeId node = 0; node < Size(); ++node) {
        const Item& item = m_nodes[node];
        NodeId& slot = m_slots[SlotOf(item.parent, SpaceOf(item.kind, item.view), item.name)];
        slot = std::min(slot, node);  // the first of equal names is the one that is found
    }
}

NodeId ItemTree::Append(ItemKind kind, std::wstring_view name, NodeId parent) {
    const NodeId node = Size();
    Item& item = m_nodes.emplace_back();
    item.name = Store(name);
    item.parent = parent;
    item.kind = kind;
    return node;
}

const wchar_t* ItemTree::Store(std::wstring_view name) {
    const std::size_t needed = name.size() + 1;
    if (needed > m_room) {
        m_room = std::max(kBlockChars, needed);
        m_names.push_back(std::make_unique<wchar_t[]>(m_room));
        m_free = m_names.back().get();
    }
    wchar_t* const stored = m_free;
    *std::copy(name.begin(), name.end(), stored) = L'\0';
    m_free += needed;
    m_room -= needed;
    return stored;
}

std::wstring ItemTree::Path(NodeId node) const {
    std::vector<std::wstring_view> parts;
    if (HasName(m_nodes[node].kind)) {
        node = m_nodes[node].parent;
    }
    for (; node != kNoNode; node = m_nodes[node].parent) {
        parts.emplace_back(m_nodes[node].name);
    }
    std::wstring path;
    for (auto part = parts.rbegin(); part != parts.rend(); ++part) {
        if (part != parts.rbegin()) {
            path += L'\\';
        }
        path += *part;
    }
    return path;
}

std::wstring ItemTree::ValueName(NodeId node) const {
    return HasName(m_nodes[node].kind) ? m_nodes[node].name : L"";
}

std::size_t ItemTree::Ordinal(NodeId node) const {
    for (; m_counted < Size(); ++m_counted) {
        if (!m_nodes[m_counted].IsItem()) {
            m_places.push_back(m_counted);
        }
    }
    return node - static_cast<std::size_t>(std::lower_bound(m_places.begin(), m_places.end(), node) - m_places.begin());
}

}  // namespace preview
