#include "foundation/com.h"

void RaiseComError(HRESULT code) {
    throw ComError(code);
}

Bstr Bstr::CopyOf(const wchar_t* text) {
    Bstr copy;
    copy.m_text = ::SysAllocString(text);
    if (copy.m_text == nullptr && text != nullptr) {
        RaiseComError(E_OUTOFMEMORY);
    }
    return copy;
}

Variant Variant::CopyOf(const wchar_t* text) {
    Variant copy;
    copy.m_value.bstrVal = ::SysAllocString(text);
    if (copy.m_value.bstrVal == nullptr && text != nullptr) {
        RaiseComError(E_OUTOFMEMORY);
    }
    copy.m_value.vt = VT_BSTR;
    return copy;
}
