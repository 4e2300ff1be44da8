#include "foundation/dom.h"

#include <vector>

namespace dom {

namespace {

constexpr DWORD kCompletionMilliseconds = 10000;
constexpr DWORD kCompletionStep = 10;
constexpr long kComplete = 4;  // of the engine's ready states

// An engine that loads beside the call reports to this thread by messages to a window of its own. Those of the thread
// itself, its end among them, are the host's: they are set aside.
void LetEngineReport(std::vector<MSG>& ofThread) {
    ::MsgWaitForMultipleObjects(0, nullptr, FALSE, kCompletionStep, QS_POSTMESSAGE | QS_SENDMESSAGE);
    MSG message;
    while (::PeekMessageW(&message, nullptr, WM_USER, 0xFFFF, PM_REMOVE)) {
        if (message.hwnd == nullptr) {
            ofThread.push_back(message);
        } else {
            ::DispatchMessageW(&message);
        }
    }
}

void GiveBack(const std::vector<MSG>& ofThread) {
    for (const MSG& message : ofThread) {
        if (message.message == WM_QUIT) {
            ::PostQuitMessage(static_cast<int>(message.wParam));
        } else {
            ::PostThreadMessageW(::GetCurrentThreadId(), message.message, message.wParam, message.lParam);
        }
    }
}

// The document loads as it does by default; what it still has to read is waited for.
void WaitUntilComplete(IXMLDOMDocument* document) {
    const DWORD begin = ::GetTickCount();
    long state = kComplete;
    std::vector<MSG> ofThread;
    while (SUCCEEDED(document->get_readyState(&state)) && state != kComplete &&
           ::GetTickCount() - begin < kCompletionMilliseconds) {
        LetEngineReport(ofThread);
    }
    GiveBack(ofThread);
}

constexpr CLSID kDomDocument30 = {0xF5078F32, 0xC551, 0x11D3, {0x89, 0xB9, 0x00, 0x00, 0xF8, 0x1F, 0xE2, 0x21}};

}  // namespace

HRESULT CreateDocument(ComPtr<IXMLDOMDocument>& document) {
    return ::CoCreateInstance(kDomDocument30, nullptr, CLSCTX_INPROC_SERVER, IID_IXMLDOMDocument,
                              reinterpret_cast<void**>(document.Put()));
}

bool LoadFile(IXMLDOMDocument* document, const std::wstring& path, HRESULT& hr) {
    const Variant source = Variant::CopyOf(path.c_str());
    VARIANT_BOOL loaded = VARIANT_FALSE;
    hr = document->load(source.Get(), &loaded);
    if (FAILED(hr) || loaded != VARIANT_TRUE) {
        return false;
    }
    WaitUntilComplete(document);
    return true;
}

bool LoadText(IXMLDOMDocument* document, const wchar_t* text, HRESULT& hr) {
    const Bstr source = Bstr::CopyOf(text);
    VARIANT_BOOL loaded = VARIANT_FALSE;
    hr = document->loadXML(source.Get(), &loaded);
    return SUCCEEDED(hr) && loaded == VARIANT_TRUE;
}

HRESULT SelectChild(IXMLDOMNode* node, const wchar_t* name, ComPtr<IXMLDOMNode>& child) {
    const Bstr query = Bstr::CopyOf(name);
    return node->selectSingleNode(query.Get(), child.Put());
}

HRESULT NodeName(IXMLDOMNode* node, std::wstring& name) {
    Bstr text;
    const HRESULT hr = node->get_nodeName(text.Put());
    if (SUCCEEDED(hr)) {
        name = text.Text();
    }
    return hr;
}

HRESULT NodeText(IXMLDOMNode* node, Bstr& text) {
    return node->get_text(text.Put());
}

bool ChildList::Open(const wchar_t* caller, IXMLDOMNode* node, const ChildListTexts& texts) {
    HRESULT hr = ReadNodes(node);
    if (StepFailed(caller, hr, m_nodes, texts.nodes)) {
        return false;
    }
    hr = ReadCount();
    if (FAILED(hr)) {
        LOG_AS(caller, kError, texts.count, hr);
        return false;
    }
    return true;
}

}  // namespace dom
