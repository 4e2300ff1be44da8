#include "catalogue/CProducts.h"

#include "foundation/dom.h"
#include "foundation/log_statement.h"
#include "foundation/notify.h"

namespace {

// The report of a document that loaded and is not what it should be.
void ReportBadDocument(const wchar_t* caller, NotifyCallback notify, const std::wstring& file,
                       const dom::CodeText& text, HRESULT hr) {
    Notify(notify, OPERATION_CATALOGUE, NOTIFY_FAILED);
    LOG_AS(caller, kError, text, hr);
    LOG_AS(caller, kError, L"failed \"%s\"", file.c_str());
}

}  // namespace

bool CProducts::Load(const std::wstring& file, LONG type, NotifyCallback notify) {
    LOG(kInfo, L"->file : \"%s\"", file.c_str());
    ComPtr<IXMLDOMDocument> document;
    if (FAILED(dom::CreateDocument(document))) {
        const DWORD error = ::GetLastError();
        LOG(kError, L"CoCreateInstance CLSID_DOMDocument30 failed 0x%x", error);
        return false;
    }
    HRESULT hr = S_OK;
    if (!dom::LoadFile(document.Get(), file, hr)) {
        Notify(notify, OPERATION_CATALOGUE, NOTIFY_NOT_LOADED);
        LOG(kError, L"load \"%s\" failed 0x%x", file.c_str(), hr);
        return false;
    }
    ComPtr<IXMLDOMNode> node;
    hr = document.As(IID_IXMLDOMNode, node);
    if (FAILED(hr)) {
        ReportBadDocument(CALLER, notify, file, L"failed load RootElement 0x%x", hr);
        return false;
    }
    ComPtr<IXMLDOMNode> root;
    hr = dom::SelectChild(node.Get(), L"uninstall_information", root);
    if (dom::Failed(hr, root)) {
        ReportBadDocument(CALLER, notify, file, L"failed load \"uninstall_information\" node 0x%x", hr);
        // The load goes on with the node that it has: without the element that is a null dereference.
    }
    return LoadChildren(CALLER, file, root.Get(), type, notify);
}

bool CProducts::LoadChildren(const wchar_t* caller, const std::wstring& file, IXMLDOMNode* root, LONG type,
                             NotifyCallback notify) {
    dom::ChildList children;
    HRESULT hr = children.ReadNodes(root);
    if (FAILED(hr) || !children.HasNodes()) {
        ReportBadDocument(caller, notify, file, L"failed load Root childs nodes 0x%x", hr);
        return false;
    }
    hr = children.ReadCount();
    if (FAILED(hr)) {
        ReportBadDocument(caller, notify, file, L"failed load Root childs count 0x%x", hr);
        return false;
    }
    UninstallIndex uninstall;
    bool loaded = true;
    for (long index = 0; loaded && index < children.Count(); ++index) {
        ComPtr<IXMLDOMNode> child;
        hr = children.Next(child);
        if (dom::Failed(hr, child)) {
            LOG_AS(caller, kError, L"failed load Root child %d, err = 0x%x", index, hr);
            loaded = false;
        } else {
            loaded = LoadChild(caller, child.Get(), type, uninstall);
        }
    }
    if (!loaded) {
        Notify(notify, OPERATION_CATALOGUE, NOTIFY_FAILED);
        LOG_AS(caller, kError, L"<-failed \"%s\"", file.c_str());
        return false;
    }
    Notify(notify, OPERATION_CATALOGUE, NOTIFY_SUCCESS, static_cast<LONG_PTR>(m_products.size()));
    LOG_AS(caller, kInfo, L"<-success \"%s\"", file.c_str());
    return true;
}

bool CProducts::LoadChild(const wchar_t* caller, IXMLDOMNode* child, LONG type, UninstallIndex& uninstall) {
    std::wstring name;
    const HRESULT hr = dom::NodeName(child, name);
    if (FAILED(hr)) {
        LOG_AS(caller, kError, L"failed GetNodeName 0x%x", hr);
        return false;
    }
    if (name == L"exec_all") {
        Bstr text;
        if (SUCCEEDED(dom::NodeText(child, text)) && text.Get() != nullptr) {
            m_execAll = std::wstring_view(text.Text()) != L"false";
        } else {
            LOG_AS(caller, kInfo, L"failed GetNodeValue for \"exec_all\"");
        }
    } else if (name == L"product") {
        CProduct product;
        if (!product.Load(child, type, uninstall)) {
            LOG_AS(caller, kError, L"failed load product");
            return false;
        }
        m_products.push_back(std::move(product));
    }
    return true;
}
