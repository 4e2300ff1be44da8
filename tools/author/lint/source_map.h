#pragma once

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

#include "reader.h"
#include "tree.h"

namespace tools::lint {

// Where the nodes of a well-formed document begin in its text. The engine says where it stands when it reports a node:
// behind a start tag, at times further, with columns that are bytes on some systems. So the places are looked up in the
// text by the number of tags and comments in front of a node; where the count does not lead to such a place, as with
// entities that hold elements, the engine's word stands.
class SourceMap {
public:
    explicit SourceMap(const Bytes& document);

    Position Of(const Node& node) const;
    // The place of the attribute's name; of the node if the attribute is not there.
    Position Of(const Node& node, std::wstring_view attribute) const;

private:
    struct Mark {
        std::size_t begin;
        std::size_t end;
    };

    void FindMarks();
    std::size_t TagEnd(std::size_t begin) const;
    bool StartsAt(std::size_t at, std::wstring_view text) const { return m_text.compare(at, text.size(), text) == 0; }
    const Mark* MarkOf(const Node& node) const;
    Position At(std::size_t offset) const;

    std::wstring m_text;
    std::vector<std::size_t> m_lines;  // where each begins
    std::vector<Mark> m_marks;         // start tags, end tags and comments; an empty element counts as both tags
};

}  // namespace tools::lint
