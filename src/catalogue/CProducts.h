#pragma once

#include <windows.h>
#include <msxml2.h>

#include <prodrm.h>

#include <string>
#include <vector>

#include "catalogue/CProduct.h"

// A catalogue in memory. Made for one exported call.
class CProducts {
public:
    // Appends the products of the file. One bad product fails the catalogue; what was read so far stays. A document
    // without its root element brings the process down by a null dereference, after the callback and two log lines.
    bool Load(const std::wstring& file, LONG type, NotifyCallback notify);

    const std::vector<CProduct>& Products() const { return m_products; }

private:
    bool LoadChildren(const std::wstring& file, IXMLDOMNode* root, LONG type, NotifyCallback notify);
    bool LoadChild(IXMLDOMNode* child, LONG type);

    std::vector<CProduct> m_products;
    bool m_execAll = true;
};
