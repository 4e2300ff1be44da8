#include "catalogue/CProductVersion.h"

#include "foundation/CWow64.h"
#include "foundation/CXMLHelper.h"
#include "foundation/dom.h"
#include "foundation/log.h"
#include "foundation/owned.h"
#include "foundation/registry_access.h"

namespace {

constexpr wchar_t kHivePrefix[] = L"HKEY_LOCAL_MACHINE\\";
constexpr wchar_t kUninstallKey[] = L"Software\\Microsoft\\Windows\\CurrentVersion\\Uninstall\\";
constexpr wchar_t kUpdateLocation[] = L"\\UpdateLocation";

constexpr DWORD kSubkeyNameChars = 255;
constexpr DWORD kDisplayNameBytes = 255;  // room for 126 wide characters and the terminator

bool IsClassId(const wchar_t* text) {
    CLSID id;
    return ::CLSIDFromString(text, &id) == S_OK;
}

}  // namespace

bool CProductVersion::Load(IXMLDOMNode* node) {
    if (!CXMLHelper::GetNodeAttribute(node, L"name", m_name)) {
        LOG(kError, L"failed get attribute \"name\"");
        return false;
    }
    LoadParams(node);
    std::wstring text;
    if (CXMLHelper::GetNodeAttribute(node, L"id", text)) {
        m_keyPath = std::wstring(kHivePrefix) + kUninstallKey + text;
        return true;
    }
    LOG(kWarning, L"failed get attribute \"id\" for version product = %s", m_name.c_str());
    if (CXMLHelper::GetNodeAttribute(node, L"prodName", m_prodName) && SearchForProductCode()) {
        return true;
    }
    if (!CXMLHelper::GetNodeAttribute(node, L"keypath", text)) {
        LOG(kWarning, L"failed get attribute \"id\" for version product = %s", m_name.c_str());
        return true;
    }
    m_keyPath = text + kUpdateLocation;
    if (!CXMLHelper::GetNodeAttribute(node, L"keyvalue", m_keyValue)) {
        LOG(kError, L"failed get attribute \"keyvalue\" for version product = %s", m_name.c_str());
        return false;
    }
    return true;
}

void CProductVersion::LoadParams(IXMLDOMNode* node) {
    const wchar_t* const caller = L"CProductVersion::Load";
    dom::ChildList children;
    if (!children.Open(caller, node,
                       {L"failed load version children nodes 0x%x", L"failed load version children count 0x%x"})) {
        return;
    }
    for (long index = 0; index < children.Count(); ++index) {
        ComPtr<IXMLDOMNode> child;
        const HRESULT hr = children.Item(index, child);
        if (dom::Failed(hr, child)) {
            LOG_AS(caller, kError, L"failed load child %d, err = 0x%x", index, hr);
            return;
        }
        std::wstring name;
        std::wstring text;
        dom::NodeName(child.Get(), name);
        dom::NodeText(child.Get(), text);
        if (!name.empty() && !text.empty()) {
            m_params[name].push_back(text);
        }
    }
}

bool CProductVersion::SearchForProductCode() {
    if (SearchView(kReadDefaultView)) {
        return true;
    }
    if (CWow64::Instance().IsWow64Process()) {
        LOG(kInfo, L"try KEY_WOW64_64KEY");
    } else {
        LOG(kInfo, L"try KEY_WOW64_32KEY");
    }
    return SearchView(ReadOtherView());
}

bool CProductVersion::SearchView(REGSAM access) {
    OwnedRegKey uninstall;
    if (::RegOpenKeyExW(HKEY_LOCAL_MACHINE, kUninstallKey, 0, access, uninstall.Put()) != ERROR_SUCCESS) {
        return false;
    }
    bool found = false;
    wchar_t name[kSubkeyNameChars + 1];
    for (DWORD index = 0; ::RegEnumKeyW(uninstall.Get(), index, name, kSubkeyNameChars) == ERROR_SUCCESS; ++index) {
        const std::wstring subkey = std::wstring(kUninstallKey) + name;
        if (!HasDisplayName(subkey, access)) {
            continue;
        }
        // A name that is no identifier displaces an earlier match; an identifier never does.
        if (m_keyPath.empty() || !IsClassId(name)) {
            m_keyPath = kHivePrefix + subkey;
        }
        found = true;
    }
    return found;
}

bool CProductVersion::HasDisplayName(const std::wstring& subkey, REGSAM access) const {
    OwnedRegKey key;
    if (::RegOpenKeyExW(HKEY_LOCAL_MACHINE, subkey.c_str(), 0, access, key.Put()) != ERROR_SUCCESS) {
        return false;
    }
    wchar_t displayName[kDisplayNameBytes / sizeof(wchar_t) + 2] = {};  // a terminator always follows
    DWORD bytes = kDisplayNameBytes;
    return ::RegQueryValueExW(key.Get(), L"DisplayName", nullptr, nullptr, reinterpret_cast<BYTE*>(displayName),
                              &bytes) == ERROR_SUCCESS &&
           m_prodName == displayName;
}
