#include "script.h"

#include <algorithm>
#include <set>

#include "script/CProductConfig.h"
#include "script/vocabulary.h"

namespace tools::lint {

namespace {

Section MakeSection(const Node& node, const Version& version) {
    Section section{&node, &version, {}, {}, {}};
    if (const std::wstring* const opCode = node.Find(attribute::kOpCode)) {
        section.opCode = *opCode;
        section.kind = CProductConfig::OperationOf(*opCode);
    }
    return section;
}

void FillSection(Section& section) {
    for (const Node& child : section.node->children) {
        if (!child.IsElement()) {
            section.breaker = section.breaker != nullptr ? section.breaker : &child;
        } else if (!EqualsBlind(child.name, element::kSleep)) {
            const OperationWords* const words =
                section.kind ? &WordsOf(*section.kind, child.Find(attribute::kModule) != nullptr) : nullptr;
            section.elements.push_back({&child, &section, words});
        }
    }
}

void FillVersion(Version& version) {
    if (version.sectionsNode == nullptr) {
        return;
    }
    for (const Node& child : version.sectionsNode->children) {
        if (child.IsElement()) {
            FillSection(version.sections.emplace_back(MakeSection(child, version)));
        }
    }
}

}  // namespace

const std::wstring* Element::FindNonEmpty(std::wstring_view attribute) const {
    const std::wstring* const value = Find(attribute);
    return value != nullptr && !value->empty() ? value : nullptr;
}

Script::Script(const Document& source, Role readAs)
    : document(source), role(readAs), root(source.Top()), versionList(root.Child(element::kVersionList)) {
    std::set<std::wstring_view> listedNames;
    if (versionList != nullptr) {
        for (const Node& child : versionList->children) {
            listedNames.insert(child.name);
        }
    }
    std::set<std::wstring_view> met;
    for (const Node& child : root.children) {
        if (!child.IsElement() || child.name == element::kVersionList) {
            continue;
        }
        const bool listed = listedNames.contains(child.name);
        const bool first = met.insert(child.name).second;
        FillVersion(versions.emplace_back(Version{&child,
                                                  listed,
                                                  listed && first,
                                                  child.Child(element::kAppPath),
                                                  child.Child(element::kInstallFolder),
                                                  child.Child(element::kSections),
                                                  {}}));
    }
}

void Script::ForEachElement(const std::function<void(const Element&)>& visit) const {
    for (const Version& version : versions) {
        for (const Section& section : version.sections) {
            std::for_each(section.elements.begin(), section.elements.end(), visit);
        }
    }
}

std::wstring KindName(const Node& node) {
    return node.kind == NodeKind::Comment ? L"comment" : node.kind == NodeKind::Text ? L"text" : L"instruction";
}

}  // namespace tools::lint
