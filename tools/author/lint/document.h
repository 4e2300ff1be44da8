#pragma once

#include <memory>
#include <string>
#include <string_view>

#include "reader.h"
#include "source_map.h"

namespace tools::lint {

// A document that was read, with the places of its nodes.
class Document {
public:
    // `name` is what findings call it. COM must be initialised.
    Document(std::wstring name, Bytes bytes)
        : m_name(std::move(name)), m_bytes(std::move(bytes)), m_parsed(Parse(m_bytes)) {}

    const std::wstring& Name() const { return m_name; }
    bool IsWellFormed() const { return m_parsed.wellFormed; }
    const ParseError& Error() const { return m_parsed.error; }
    // Of a well-formed document.
    const Node& Top() const;

    Position Of(const Node& node) const { return Map().Of(node); }
    Position Of(const Node& node, std::wstring_view attribute) const { return Map().Of(node, attribute); }

private:
    // Made for the first finding: a document without any does not need it.
    const SourceMap& Map() const;

    std::wstring m_name;
    Bytes m_bytes;
    Parsed m_parsed;
    mutable std::unique_ptr<SourceMap> m_map;
};

}  // namespace tools::lint
