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
    bool Load(IXMLDOMNode* node, LONG type, UninstallIndex& uninstall);

    // Type 1 goes by the first test of the versions alone; type 2 also by their second one and by the detection
    // script. Nothing is cached.
    bool IsInstalled(LONG type) const;

    // The pair that tells products apart in a removal; compared exactly.
    bool SameAs(const CProduct& other) const { return m_name == other.m_name && m_file == other.m_file; }

    // The key by which products are found; compared exactly.
    const std::wstring& Name() const { return m_name; }
    // Full path of the product's script.
    const std::wstring& File() const { return m_file; }
    const std::vector<CProductVersion>& Versions() const { return m_versions; }

private:
    bool LoadAttributes(const wchar_t* caller, IXMLDOMNode* node, std::wstring& scriptFolder);
    bool LoadVersions(const wchar_t* caller, IXMLDOMNode* node, UninstallIndex& uninstall);

    std::wstring m_name;
    std::wstring m_file;
    std::vector<CProductVersion> m_versions;
};
