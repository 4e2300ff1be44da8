#include "document.h"

#include <algorithm>

namespace tools::lint {

const Node& Document::Top() const {
    const std::deque<Node>& nodes = m_parsed.document.children;
    return *std::find_if(nodes.begin(), nodes.end(), [](const Node& node) { return node.IsElement(); });
}

const SourceMap& Document::Map() const {
    if (!m_map) {
        m_map = std::make_unique<SourceMap>(m_bytes);
    }
    return *m_map;
}

}  // namespace tools::lint
