#pragma once

#include <cstddef>
#include <deque>
#include <string>
#include <string_view>
#include <vector>

namespace tools::lint {

// Where something stands in a document: line and column counted from 1, the column in UTF-16 units.
struct Position {
    unsigned line = 1;
    unsigned column = 1;
};

struct Attribute {
    std::wstring name;
    std::wstring value;
};

enum class NodeKind { Element, Text, Comment, Instruction };

// A node as the engine reports it. Text of white space alone makes none, as in the library's view of a document.
struct Node {
    NodeKind kind = NodeKind::Element;
    std::size_t marks = 0;  // start tags, end tags and comments in front of it
    Position seen;          // where the engine stood when it reported the node
    std::wstring name;      // of an element or instruction
    std::wstring text;      // of a text or comment
    std::vector<Attribute> attributes;
    std::deque<Node> children;

    bool IsElement() const { return kind == NodeKind::Element; }
    bool IsElement(std::wstring_view wanted) const { return IsElement() && name == wanted; }

    // Null if absent.
    const std::wstring* Find(std::wstring_view attribute) const;
    // The first child element of that name, which is the one that the library takes; null if there is none.
    const Node* Child(std::wstring_view wanted) const;
    // All text below the node.
    std::wstring FullText() const;
};

}  // namespace tools::lint
