#pragma once

#include <windows.h>
#include <msxml2.h>

#include <string>

#include "foundation/com.h"
#include "foundation/log_statement.h"

// Steps over the MSXML DOM that the readers of catalogues and scripts share. A step fails on a negative result or a
// null object; its code goes into the log either way. Helpers that log do so in their caller's name.
namespace dom {

using CodeText = logging::LogFormat<HRESULT>;

template <typename Interface>
bool Failed(HRESULT hr, const ComPtr<Interface>& object) {
    return FAILED(hr) || !object;
}

// Failed, with the code logged at the error level.
template <typename Interface>
bool StepFailed(const wchar_t* caller, HRESULT hr, const ComPtr<Interface>& object, const CodeText& text) {
    if (!Failed(hr, object)) {
        return false;
    }
    LOG_AS(caller, kError, text, hr);
    return true;
}

HRESULT CreateDocument(ComPtr<IXMLDOMDocument>& document);

// Both give false unless the document reports success; `hr` receives the call's own result. A file is complete when it
// is given, unless that takes the engine longer than ten seconds.
bool LoadFile(IXMLDOMDocument* document, const std::wstring& path, HRESULT& hr);
// A null text is refused by the document.
bool LoadText(IXMLDOMDocument* document, const wchar_t* text, HRESULT& hr);

HRESULT SelectChild(IXMLDOMNode* node, const wchar_t* name, ComPtr<IXMLDOMNode>& child);

// A node without a name leaves `name` as it was.
HRESULT NodeName(IXMLDOMNode* node, std::wstring& name);
// Some callers tell a null text from an empty one: that is why the BSTR is handed out.
HRESULT NodeText(IXMLDOMNode* node, Bstr& text);

struct ChildListTexts {
    CodeText nodes;  // the list could not be had
    CodeText count;  // its length could not be had
};

// The children of one node, taken one after the other in document order. By index each step would count from the
// first child on, and a long list would cost the square of its length.
class ChildList {
public:
    // The two steps of Open, for readers that report between a failure and its log line.
    HRESULT ReadNodes(IXMLDOMNode* node) {
        const HRESULT hr = node->get_childNodes(m_nodes.Put());
        if (!Failed(hr, m_nodes)) {
            m_nodes->reset();  // an engine may share one list among its readers, with the place of the last one
        }
        return hr;
    }
    HRESULT ReadCount() { return m_nodes->get_length(&m_count); }
    bool HasNodes() const { return static_cast<bool>(m_nodes); }

    bool Open(const wchar_t* caller, IXMLDOMNode* node, const ChildListTexts& texts);

    long Count() const { return m_count; }
    HRESULT Next(ComPtr<IXMLDOMNode>& child) { return m_nodes->nextNode(child.Put()); }

private:
    ComPtr<IXMLDOMNodeList> m_nodes;
    long m_count = 0;
};

}  // namespace dom
