#pragma once

#include <array>
#include <deque>
#include <functional>
#include <map>
#include <optional>
#include <string>
#include <vector>

#include "document.h"
#include "report.h"
#include "words.h"

namespace tools::lint {

// How a script is read: by a removal, or to tell whether a product is there.
enum class Role { Removal, Detection };

struct Section;
struct Version;

// An operation element.
struct Element {
    const Node* node;
    const Section* section;
    const OperationWords* words;  // null if the section names no operation

    bool Is(OperationKind kind) const { return words != nullptr && words->kind == kind; }
    const std::wstring* Find(std::wstring_view attribute) const { return node->Find(attribute); }
    // Null also for an empty value.
    const std::wstring* FindNonEmpty(std::wstring_view attribute) const;
};

struct Section {
    const Node* node;
    const Version* version;
    std::wstring opCode;
    std::optional<OperationKind> kind;
    std::vector<Element> elements;
    const Node* breaker = nullptr;  // the first comment or text, which ends the reading
};

struct Version {
    const Node* node;
    bool listed;
    bool walked;  // listed, and the first of its name
    const Node* appPath;
    const Node* installFolder;
    const Node* sectionsNode;  // win_nt; null if missing
    std::deque<Section> sections;
    // What folder names mean in this version, as far as it was asked: first on a 32-bit system, then on a 64-bit one.
    mutable std::map<std::wstring, std::array<std::vector<std::wstring>, 2>, std::less<>> folders = {};
};

// A script as its readers take it. The document outlives it.
struct Script {
    Script(const Document& source, Role readAs);
    Script(const Script&) = delete;
    Script& operator=(const Script&) = delete;

    void ForEachElement(const std::function<void(const Element&)>& visit) const;

    const Document& document;
    Role role;
    const Node& root;
    const Node* versionList;
    std::deque<Version> versions;
};

// What findings call a node that is no element.
std::wstring KindName(const Node& node);

using ScriptRule = void (*)(const Script& script, Report& report);
using ElementRule = void (*)(const Script& script, const Element& element, Report& report);

// Runs every rule for scripts.
void CheckScript(const Script& script, Report& report);

}  // namespace tools::lint
