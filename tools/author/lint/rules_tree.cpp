// Rules about the tree of a script: what lies where, how often, and what ends the reading.

#include "rules_tree.h"

#include <map>
#include <set>

#include "script/vocabulary.h"

namespace tools::lint {

bool CheckVersionList(const Script& script, Report& report) {
    if (script.versionList == nullptr) {
        report.Add(RuleId::NoVersionList, script.document, script.root);
    }
    return script.versionList != nullptr;
}

void CheckListedVersions(const Script& script, Report& report) {
    std::vector<std::wstring> there;
    for (const Version& version : script.versions) {
        there.push_back(version.node->name);
    }
    const std::set<std::wstring_view> present(there.begin(), there.end());
    std::set<std::wstring_view> met;
    for (const Node& child : script.versionList->children) {
        if (!child.IsElement()) {
            report.Add(RuleId::CommentInVersionList, script.document, child, {KindName(child)});
        } else if (!met.insert(child.name).second) {
            report.Add(RuleId::VersionListedTwice, script.document, child, {child.name});
        } else if (!present.contains(child.name)) {
            report.Add(RuleId::VersionNotThere, script.document, child, {child.name, Suggest(child.name, there)});
        }
    }
}

void CheckVersionNotListed(const Script& script, Report& report) {
    for (const Version& version : script.versions) {
        if (!version.listed) {
            report.Add(RuleId::VersionNotListed, script.document, *version.node, {version.node->name});
        }
    }
}

void CheckSecondElement(const Script& script, Report& report) {
    const auto check = [&](const Node& parent, const std::set<std::wstring_view>& once) {
        std::set<std::wstring_view> met;
        for (const Node& child : parent.children) {
            if (child.IsElement() && (once.empty() || once.contains(child.name)) && !met.insert(child.name).second) {
                report.Add(RuleId::SecondElement, script.document, child, {child.name, L"only the first is read"});
            }
        }
    };
    check(script.root, {});
    for (const Version& version : script.versions) {
        check(*version.node, {element::kAppPath, element::kInstallFolder, element::kSections});
    }
}

void CheckNoSections(const Script& script, Report& report) {
    for (const Version& version : script.versions) {
        if (version.sectionsNode == nullptr) {
            report.Add(RuleId::NoSections, script.document, *version.node);
        }
    }
}

void CheckCommentBetweenSections(const Script& script, Report& report) {
    for (const Version& version : script.versions) {
        if (version.sectionsNode == nullptr) {
            continue;
        }
        for (const Node& child : version.sectionsNode->children) {
            if (!child.IsElement()) {
                report.Add(RuleId::CommentBetweenSections, script.document, child, {KindName(child)});
            }
        }
    }
}

void CheckCommentInSection(const Script& script, Report& report) {
    for (const Version& version : script.versions) {
        for (const Section& section : version.sections) {
            if (section.breaker != nullptr) {
                report.Add(RuleId::CommentInSection, script.document, *section.breaker, {KindName(*section.breaker)});
            }
        }
    }
}

void CheckSleepElement(const Script& script, Report& report) {
    for (const Version& version : script.versions) {
        for (const Section& section : version.sections) {
            for (const Node& child : section.node->children) {
                if (child.IsElement() && EqualsBlind(child.name, element::kSleep)) {
                    report.Add(RuleId::SleepElement, script.document, child);
                }
            }
        }
    }
}

}  // namespace tools::lint
