#pragma once

#include <windows.h>
#include <msxml2.h>

#include <string>
#include <vector>

#include "catalogue/CProductVersion.h"

// One product of a catalogue. A plain value, copied freely between lists.
class CProduct {
public:
    // Reads one product element of the catalogue `type`; any bad version fails the product.
    bool Load(IXMLDOMNode* node, LONG type);

    // The key by which products are found; compared exactly.
    const std::wstring& Name() const { return m_name; }
    // Full path of the product's script.
    const std::wstring& File() const { return m_file; }
    const std::vector<CProductVersion>& Versions() const { return m_versions; }

private:
    bool LoadAttributes(IXMLDOMNode* node, std::wstring& scriptFolder);
    bool LoadVersions(IXMLDOMNode* node);

    std::wstring m_name;
    std::wstring m_file;
    std::vector<CProductVersion> m_versions;
};
