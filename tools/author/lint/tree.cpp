#include "tree.h"

#include <algorithm>

namespace tools::lint {

const std::wstring* Node::Find(std::wstring_view attribute) const {
    const auto found = std::find_if(attributes.begin(), attributes.end(),
                                    [attribute](const Attribute& candidate) { return candidate.name == attribute; });
    return found != attributes.end() ? &found->value : nullptr;
}

const Node* Node::Child(std::wstring_view wanted) const {
    const auto found =
        std::find_if(children.begin(), children.end(), [wanted](const Node& child) { return child.IsElement(wanted); });
    return found != children.end() ? &*found : nullptr;
}

std::wstring Node::FullText() const {
    std::wstring all = kind == NodeKind::Text ? text : L"";
    for (const Node& child : children) {
        all += child.FullText();
    }
    return all;
}

}  // namespace tools::lint
