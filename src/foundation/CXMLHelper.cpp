#include "foundation/CXMLHelper.h"

#include <cwchar>

#include "foundation/com.h"
#include "foundation/log_statement.h"

bool CXMLHelper::GetNodeAttribute(IXMLDOMNode* node, const wchar_t* name, std::wstring& value) {
    ComPtr<IXMLDOMNamedNodeMap> attributes;
    HRESULT hr = node->get_attributes(attributes.Put());
    if (FAILED(hr) || !attributes) {
        LOG(kError, L"failed get attributes 0x%x", hr);
        return false;
    }
    const Bstr key = Bstr::CopyOf(name);
    ComPtr<IXMLDOMNode> item;
    hr = attributes->getNamedItem(key.Get(), item.Put());
    if (FAILED(hr) || !item) {
        LOG(kError, L"failed load attribute \"%s\" 0x%x", name, hr);
        return false;
    }
    Variant text;
    hr = item->get_nodeValue(text.Put());
    if (FAILED(hr) || text.Get().vt != VT_BSTR) {
        LOG(kError, L"failed load value for attribute \"%s\" 0x%x", name, hr);
        return false;
    }
    const BSTR raw = text.Get().bstrVal;
    value = raw != nullptr ? raw : L"";
    return true;
}

bool CXMLHelper::GetNodeAttribute(IXMLDOMNode* node, const wchar_t* name, int& value) {
    std::wstring text;
    if (!GetNodeAttribute(node, name, text)) {
        return false;
    }
    value = ::_wtoi(text.c_str());
    return true;
}
