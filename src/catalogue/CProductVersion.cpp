#include "catalogue/CProductVersion.h"

#include "foundation/CSplitKeyPath.h"
#include "foundation/CWow64.h"
#include "foundation/CXMLHelper.h"
#include "foundation/dom.h"
#include "foundation/log_statement.h"
#include "foundation/owned.h"
#include "foundation/registry_access.h"

namespace {

constexpr wchar_t kHivePrefix[] = L"HKEY_LOCAL_MACHINE\\";
constexpr wchar_t kUpdateLocation[] = L"\\UpdateLocation";

// The mask of the second try, announced in the caller's name.
REGSAM ChooseOtherView(const wchar_t* caller) {
    if (CWow64::Instance().IsWow64Process()) {
        LOG_AS(caller, kInfo, L"try KEY_WOW64_64KEY");
    } else {
        LOG_AS(caller, kInfo, L"try KEY_WOW64_32KEY");
    }
    return ReadOtherView();
}

}  // namespace

bool CProductVersion::Load(IXMLDOMNode* node, UninstallIndex& uninstall) {
    if (!CXMLHelper::GetNodeAttribute(node, L"name", m_name)) {
        LOG(kError, L"failed get attribute \"name\"");
        return false;
    }
    LoadParams(CALLER, node);
    std::wstring text;
    if (CXMLHelper::GetNodeAttribute(node, L"id", text)) {
        m_keyPath = std::wstring(kHivePrefix) + kUninstallKey + text;
        return true;
    }
    LOG(kWarning, L"failed get attribute \"id\" for version product = %s", m_name.c_str());
    if (CXMLHelper::GetNodeAttribute(node, L"prodName", m_prodName) && SearchForProductCode(uninstall)) {
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

void CProductVersion::LoadParams(const wchar_t* caller, IXMLDOMNode* node) {
    dom::ChildList children;
    if (!children.Open(caller, node,
                       {L"failed load version children nodes 0x%x", L"failed load version children count 0x%x"})) {
        return;
    }
    for (long index = 0; index < children.Count(); ++index) {
        ComPtr<IXMLDOMNode> child;
        const HRESULT hr = children.Next(child);
        if (dom::Failed(hr, child)) {
            LOG_AS(caller, kError, L"failed load child %d, err = 0x%x", index, hr);
            return;
        }
        std::wstring name;
        Bstr text;
        dom::NodeName(child.Get(), name);
        if (FAILED(dom::NodeText(child.Get(), text))) {
            continue;
        }
        if (!name.empty() && *text.Text() != L'\0') {
            m_params[name].emplace_back(text.Text());
        }
    }
}

bool CProductVersion::SearchForProductCode(UninstallIndex& uninstall) {
    return TakeFound(uninstall.Find(kReadDefaultView, m_prodName)) ||
           TakeFound(uninstall.Find(ChooseOtherView(CALLER), m_prodName));
}

bool CProductVersion::TakeFound(const std::wstring* subkeyName) {
    if (subkeyName != nullptr) {
        m_keyPath = std::wstring(kHivePrefix) + kUninstallKey + *subkeyName;
    }
    return subkeyName != nullptr;
}

bool CProductVersion::IsInstalled() const {
    HKEY hive = nullptr;
    std::wstring subkey;
    if (!SplitKeyPath(CALLER, hive, subkey)) {
        return false;
    }
    OwnedRegKey key;
    const LONG error = ::RegOpenKeyExW(hive, subkey.c_str(), 0, ReadNativeView(), key.Put());
    if (error != ERROR_SUCCESS) {
        LOG(kInfo, L"failed RegOpenKeyEx \"%s\" error 0x%x", subkey.c_str(), error);
        return false;
    }
    return HasValue(CALLER, key.Get());
}

bool CProductVersion::IsInstalled2(REGSAM* access) const {
    HKEY hive = nullptr;
    std::wstring subkey;
    if (!SplitKeyPath(CALLER, hive, subkey)) {
        return false;
    }
    OwnedRegKey key;
    REGSAM tried = kReadDefaultView;
    LONG error = ::RegOpenKeyExW(hive, subkey.c_str(), 0, tried, key.Put());
    if (error != ERROR_SUCCESS) {
        LOG(kInfo, L"failed RegOpenKeyEx (OS redirect) \"%s\" error 0x%x", subkey.c_str(), error);
        tried = ChooseOtherView(CALLER);
        error = ::RegOpenKeyExW(hive, subkey.c_str(), 0, tried, key.Put());
    }
    if (access != nullptr) {
        *access = tried;
    }
    if (error != ERROR_SUCCESS) {
        LOG(kInfo, L"failed RegOpenKeyEx \"%s\" error 0x%x", subkey.c_str(), error);
        return false;
    }
    if (tried != kReadDefaultView) {
        LOG(kInfo, L"success");
    }
    return HasValue(CALLER, key.Get());
}

bool CProductVersion::SplitKeyPath(const wchar_t* caller, HKEY& hive, std::wstring& subkey) const {
    if (!CSplitKeyPath::Split(m_keyPath, hive, subkey)) {
        LOG_AS(caller, kError, L"failed split key \"%s\"", m_keyPath.c_str());
        return false;
    }
    return true;
}

bool CProductVersion::HasValue(const wchar_t* caller, HKEY key) const {
    if (m_keyValue.empty()) {
        return true;
    }
    const LONG error = ::RegQueryValueExW(key, m_keyValue.c_str(), nullptr, nullptr, nullptr, nullptr);
    if (error != ERROR_SUCCESS) {
        LOG_AS(caller, kInfo, L"failed RegQueryValueEx \"%s\" error 0x%x", m_keyValue.c_str(), error);
        return false;
    }
    return true;
}
