// One version of a script: where the product lives.

#include "foundation/CSpecialFolder.h"
#include "foundation/CSplitKeyPath.h"
#include "foundation/CXMLHelper.h"
#include "foundation/log_statement.h"
#include "foundation/path.h"
#include "foundation/result.h"
#include "operations/CRegKeyHelper.h"
#include "script/CProductConfig.h"
#include "script/vocabulary.h"

namespace {

constexpr std::size_t kAppPathChars = 131;  // what CRegKeyHelper::GetValue asks for

}  // namespace

bool CProductConfig::ProcessVersion(IXMLDOMNode* version) {
    std::wstring appPath;
    if (!GetAppPath(version, appPath)) {
        LOG(kWarning, L"can't load app_path");
        if (!GetInstallFolder(version, appPath)) {
            LOG(kError, L"can't load \"install_folder\" node");
        }
    }
    LOG(kInfo, L"app_path = \"%s\"", appPath.c_str());
    return ProcessNTVersion(version, appPath);
}

bool CProductConfig::GetAppPath(IXMLDOMNode* version, std::wstring& appPath) const {
    ComPtr<IXMLDOMNode> node;
    const HRESULT hr = dom::SelectChild(version, element::kAppPath, node);
    if (dom::StepFailed(CALLER, hr, node, L"can't load \"app_path\" node 0x%x")) {
        return false;
    }
    std::wstring key;
    if (!CXMLHelper::GetNodeAttribute(node.Get(), attribute::kKey, key)) {
        LOG(kError, L"can't load \"key\" attribute");
        return false;
    }
    std::wstring name;
    if (!CXMLHelper::GetNodeAttribute(node.Get(), attribute::kName, name)) {
        LOG(kError, L"can't load \"name\" attribute");
        return false;
    }
    HKEY hive = nullptr;
    std::wstring subkey;
    wchar_t value[kAppPathChars] = {};
    OperationResult result = _ERROR_NOT_FOUND;
    if (CSplitKeyPath::Split(key, hive, subkey)) {
        result = ReadAppPath(hive, subkey, name, value);
    }
    if (result != _ERROR_SUCCESS) {
        LOG(kError, L"error read \"%s\" \"%s\", error = %s", key.c_str(), name.c_str(), ResultName(result));
        return false;
    }
    appPath = value;
    return true;
}

OperationResult CProductConfig::ReadAppPath(HKEY hive, const std::wstring& subkey, const std::wstring& valueName,
                                            wchar_t* buffer) const {
    return CRegKeyHelper::GetValue(hive, subkey, valueName, buffer);
}

bool CProductConfig::GetInstallFolder(IXMLDOMNode* version, std::wstring& appPath) const {
    ComPtr<IXMLDOMNode> node;
    const HRESULT hr = dom::SelectChild(version, element::kInstallFolder, node);
    if (dom::Failed(hr, node)) {
        LOG(kError, L"can't load \"install_folder\" node");
        return false;
    }
    std::wstring name;
    if (!CXMLHelper::GetNodeAttribute(node.Get(), attribute::kName, name)) {
        LOG(kError, L"can't load \"name\" attribute");
        return false;
    }
    if (CSpecialFolder().Get(L"program_files", appPath)) {
        PathJoin(appPath, name);
    } else {
        appPath = L"c:\\program files\\" + name;
    }
    return true;
}
