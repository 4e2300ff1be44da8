#include "catalogue/CProduct.h"

#include <prodrm.h>

#include <algorithm>

#include "foundation/CXMLHelper.h"
#include "foundation/dom.h"
#include "foundation/log_statement.h"
#include "foundation/path.h"
#include "foundation/result.h"
#include "script/CProductInstalled.h"

bool CProduct::Load(IXMLDOMNode* node, LONG type, UninstallIndex& uninstall) {
    LOG(kInfo, L"->");
    std::wstring folder;
    if (!CPath::GetCurrentPath(folder)) {
        return false;
    }
    PathJoin(folder, type == UNINSTALL_TYPE_FAMILY ? L"intern" : L"extern");
    if (!LoadAttributes(CALLER, node, folder) || !LoadVersions(CALLER, node, uninstall)) {
        return false;
    }
    LOG(kInfo, L"<- success product \"%s\"", m_name.c_str());
    return true;
}

bool CProduct::LoadAttributes(const wchar_t* caller, IXMLDOMNode* node, std::wstring& scriptFolder) {
    if (!CXMLHelper::GetNodeAttribute(node, L"name", m_name)) {
        LOG_AS(caller, kError, L"failed load product attribute \"name\"");
        return false;
    }
    LOG_AS(caller, kInfo, L"Load product \"%s\"", m_name.c_str());
    if (!CXMLHelper::GetNodeAttribute(node, L"file", m_file)) {
        LOG_AS(caller, kError, L"failed load product attribute \"file\"");
        return false;
    }
    LOG_AS(caller, kInfo, L"file : \"%s\"", m_file.c_str());
    m_file = PathJoin(scriptFolder, m_file);
    return true;
}

bool CProduct::LoadVersions(const wchar_t* caller, IXMLDOMNode* node, UninstallIndex& uninstall) {
    dom::ChildList children;
    if (!children.Open(caller, node, {L"failed load childs nodes 0x%x", L"failed load childs count 0x%x"})) {
        return false;
    }
    for (long index = 0; index < children.Count(); ++index) {
        ComPtr<IXMLDOMNode> child;
        const HRESULT hr = children.Next(child);
        CProductVersion version;
        if (dom::Failed(hr, child)) {
            LOG_AS(caller, kError, L"failed load child %d, err = 0x%x", index, hr);
        } else if (!version.Load(child.Get(), uninstall)) {
            LOG_AS(caller, kError, L"failed load product version for product \"%s\"", m_name.c_str());
        } else {
            m_versions.push_back(std::move(version));
            continue;
        }
        LOG_AS(caller, kError, L"<- failed product \"%s\"", m_name.c_str());
        return false;
    }
    return true;
}

bool CProduct::IsInstalled(LONG type) const {
    const bool first = std::any_of(m_versions.begin(), m_versions.end(),
                                   [](const CProductVersion& version) { return version.IsInstalled(); });
    // Asked for type 1 as well, where the answer counts for nothing.
    const bool second = std::any_of(m_versions.begin(), m_versions.end(),
                                    [](const CProductVersion& version) { return version.IsInstalled2(); });
    bool installed = false;
    if (type == UNINSTALL_TYPE_FAMILY) {
        installed = first;
    } else if (type == UNINSTALL_TYPE_FOREIGN) {
        installed = CProductInstalled(m_file).Process() || first || second;
    }
    LOG(kInfo, L"\"%s\" is installed : %s", m_name.c_str(), BoolName(installed));
    return installed;
}
