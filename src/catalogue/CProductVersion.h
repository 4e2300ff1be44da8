#pragma once

#include <windows.h>
#include <msxml2.h>

#include <map>
#include <string>
#include <vector>

#include "catalogue/UninstallIndex.h"

// One registry mark of a product: a key, and perhaps a value that must exist under it.
class CProductVersion {
public:
    // Child element name to its texts; keys in the order of their code units, texts in document order.
    using Params = std::map<std::wstring, std::vector<std::wstring>>;

    // Reads one version element. A version that gives `prodName` is looked for in the Uninstall key here.
    bool Load(IXMLDOMNode* node, UninstallIndex& uninstall);

    // True if the mark is in the view that the library looks at first; one try.
    bool IsInstalled() const;
    // Tries the process's default view, then the other one. `access`, where given, receives the mask of the last try.
    bool IsInstalled2(REGSAM* access = nullptr) const;

    // Full registry path with its hive in words, or empty: such a version is never installed.
    const std::wstring& KeyPath() const { return m_keyPath; }
    // Empty where the key alone is the mark.
    const std::wstring& KeyValue() const { return m_keyValue; }
    const Params& Parameters() const { return m_params; }

private:
    void LoadParams(const wchar_t* caller, IXMLDOMNode* node);
    // Looks in both views of the Uninstall key for a DisplayName equal to m_prodName and sets m_keyPath; true if any
    // matched.
    bool SearchForProductCode(UninstallIndex& uninstall);
    bool TakeFound(const std::wstring* subkeyName);
    bool SplitKeyPath(const wchar_t* caller, HKEY& hive, std::wstring& subkey) const;
    bool HasValue(const wchar_t* caller, HKEY key) const;

    std::wstring m_name;
    std::wstring m_prodName;
    std::wstring m_keyPath;
    std::wstring m_keyValue;
    Params m_params;
};
