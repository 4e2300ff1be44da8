#include <windows.h>
#include <msxml2.h>

#include <algorithm>
#include <cstddef>
#include <cwchar>

#include "common/com_scope.h"
#include "foundation/com.h"
#include "foundation/CXMLHelper.h"
#include "foundation/dom.h"
#include "judgement.h"

namespace tools::host {

namespace {

using Nodes = std::vector<ComPtr<IXMLDOMNode>>;

Nodes Children(IXMLDOMNode* node) {
    Nodes nodes;
    dom::ChildList list;
    if (FAILED(list.ReadNodes(node)) || !list.HasNodes()) {
        return nodes;
    }
    ComPtr<IXMLDOMNode> child;
    while (list.Next(child) == S_OK && child) {
        nodes.push_back(std::move(child));
    }
    return nodes;
}

std::wstring Attribute(IXMLDOMNode* node, const wchar_t* name) {
    std::wstring value;
    CXMLHelper::GetNodeAttribute(node, name, value);
    return value;
}

// Element by element as far as the judgement went.
void AddElements(JudgedSection& section, IXMLDOMNode* node) {
    const Nodes nodes = Children(node);
    for (std::size_t at = 0; at < std::min(nodes.size(), section.elements.size()); ++at) {
        const std::wstring score = Attribute(nodes[at].Get(), L"score");
        section.elements[at].score = score.empty() ? 1 : std::wcstol(score.c_str(), nullptr, 10);
        section.elements[at].mandatory = ::lstrcmpiW(Attribute(nodes[at].Get(), L"mandatory").c_str(), L"yes") == 0;
    }
}

long SumOf(const JudgedSection& section, Presence presence) {
    long sum = 0;
    for (const JudgedElement& element : section.elements) {
        sum += element.presence == presence ? element.score.value_or(0) : 0;
    }
    return sum;
}

// The library told the sum alone: elements that it passed over in silence were all found, or none, if the sum says so.
void Settle(JudgedSection& section) {
    for (JudgedElement& element : section.elements) {
        if (element.presence == Presence::Unclear && element.mandatory.value_or(false)) {
            element.presence = Presence::Found;  // else the section had ended with it
        }
    }
    const long found = SumOf(section, Presence::Found);
    const long unclear = SumOf(section, Presence::Unclear);
    if (unclear == 0 || (section.score != found && section.score != found + unclear)) {
        return;
    }
    const Presence settled = section.score == found ? Presence::NotFound : Presence::Found;
    for (JudgedElement& element : section.elements) {
        if (element.presence == Presence::Unclear) {
            element.presence = settled;
        }
    }
}

void AddSections(JudgedVersion& version, IXMLDOMNode* node) {
    version.mandatorySections = Attribute(node, L"mandatory_sections");
    ComPtr<IXMLDOMNode> windows;
    if (dom::Failed(dom::SelectChild(node, L"win_nt", windows), windows)) {
        return;
    }
    auto section = version.sections.begin();
    for (const ComPtr<IXMLDOMNode>& child : Children(windows.Get())) {
        const std::wstring operation = Attribute(child.Get(), L"op_code");
        // Sections of tools are not judged; any other stands in the log in its place.
        if (operation == L"exec_tool" || operation.empty()) {
            continue;
        }
        if (section == version.sections.end() || section->operation != operation) {
            return;
        }
        AddElements(*section, child.Get());
        Settle(*section);
        ++section;
    }
}

void AddVersions(Judgement& judgement) {
    ComPtr<IXMLDOMDocument> document;
    ComPtr<IXMLDOMNode> node;
    ComPtr<IXMLDOMNode> root;
    HRESULT hr = S_OK;
    if (dom::Failed(dom::CreateDocument(document), document) || !dom::LoadFile(document.Get(), judgement.script, hr) ||
        FAILED(document.As(IID_IXMLDOMNode, node)) ||
        dom::Failed(dom::SelectChild(node.Get(), L"uninstall_information", root), root)) {
        return;
    }
    for (JudgedVersion& version : judgement.versions) {
        ComPtr<IXMLDOMNode> found;
        if (!dom::Failed(dom::SelectChild(root.Get(), version.name.c_str(), found), found)) {
            AddSections(version, found.Get());
        }
    }
}

}  // namespace

void AddScriptFacts(Judgement& judgement) {
    const ComScope com;
    AddVersions(judgement);
}

}  // namespace tools::host
