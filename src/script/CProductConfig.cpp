#include "script/CProductConfig.h"

#include "foundation/CSpecialFolder.h"
#include "foundation/CSplitKeyPath.h"
#include "foundation/CXMLHelper.h"
#include "foundation/log.h"
#include "foundation/notify.h"
#include "foundation/path.h"
#include "foundation/result.h"
#include "foundation/XmlData.h"
#include "operations/CRegKeyHelper.h"
#include "script/vocabulary.h"

namespace {

constexpr DWORD kScriptResourceId = 101;
constexpr std::size_t kAppPathChars = 131;  // what CRegKeyHelper::GetValue asks for

// The attributes as one log line: name = "value"; name = "value";
std::wstring Describe(const OperationAttributes& attributes) {
    std::wstring line;
    for (const auto& [name, value] : attributes) {
        line.append(name).append(L" = \"").append(value).append(L"\"; ");
    }
    return line;
}

}  // namespace

struct CProductConfig::Operation {
    const wchar_t* name;
    OperationKind kind;
    bool (CProductConfig::*handler)(const OperationAttributes&, const std::wstring&);
};

// clang-format off
const CProductConfig::Operation CProductConfig::kOperations[] = {
    {L"del_file",               OPERATION_DEL_FILE,               &CProductConfig::ProcessDelFile},
    {L"del_folder",             OPERATION_DEL_FOLDER,             &CProductConfig::ProcessDelFolder},
    {L"del_shortcut",           OPERATION_DEL_SHORTCUT,           &CProductConfig::ProcessDelShortcut},
    {L"del_regkey",             OPERATION_DEL_REGKEY,             &CProductConfig::ProcessDelRegKey},
    {L"del_regvalue",           OPERATION_DEL_REGVALUE,           &CProductConfig::ProcessDelRegVal},
    {L"kill_process",           OPERATION_KILL_PROCESS,           &CProductConfig::ProcessKillProcess},
    {L"exec_tool",              OPERATION_EXEC_TOOL,              &CProductConfig::ProcessExecTool},
    {L"disable_driver",         OPERATION_DISABLE_DRIVER,         &CProductConfig::ProcessDisableDriver},
    {L"disable_service",        OPERATION_DISABLE_SERVICE,        &CProductConfig::ProcessDisableService},
    {L"disableandstop_driver",  OPERATION_DISABLEANDSTOP_DRIVER,  &CProductConfig::ProcessDisableAndStopDriver},
    {L"disableandstop_service", OPERATION_DISABLEANDSTOP_SERVICE, &CProductConfig::ProcessDisableAndStopService},
};
// clang-format on

const CProductConfig::Operation* CProductConfig::FindOperation(const std::wstring& opCode) {
    for (const Operation& operation : kOperations) {
        if (EqualsBlind(opCode, operation.name)) {
            return &operation;
        }
    }
    return nullptr;
}

std::vector<std::wstring> CProductConfig::OperationNames() {
    std::vector<std::wstring> names;
    for (const Operation& operation : kOperations) {
        names.emplace_back(operation.name);
    }
    return names;
}

std::optional<OperationKind> CProductConfig::OperationOf(const std::wstring& opCode) {
    const Operation* const operation = FindOperation(opCode);
    return operation != nullptr ? std::optional(operation->kind) : std::nullopt;
}

bool CProductConfig::Process() {
    LOG(kInfo, L"\"%s\"", m_scriptName.c_str());
    ComPtr<IXMLDOMDocument> document;
    HRESULT hr = S_OK;
    if (!CreateDocument(CALLER, document, hr)) {
        return false;
    }
    // The store leaves the pointer as it is, so that the document is asked to load a null text and refuses.
    BYTE* text = nullptr;
    DWORD size = 0;
    XmlData().ReadData(m_scriptName, kScriptResourceId, &text, &size);
    if (!dom::LoadText(document.Get(), reinterpret_cast<const wchar_t*>(text), hr)) {
        ReportNotLoaded(CALLER, hr);
        return false;
    }
    ComPtr<IXMLDOMNode> root;
    std::vector<std::wstring> versions;
    if (!SelectRoot(CALLER, document.Get(), root) || !ReadVersions(root.Get(), versions)) {
        return false;
    }
    // An or that starts at true stays true: a failed version does not fail the script.
    bool result = true;
    for (const std::wstring& version : versions) {
        result = WalkListedVersion(CALLER, root.Get(), version) || result;
    }
    if (!result) {
        Notify(m_notify, OPERATION_SCRIPT, NOTIFY_FAILED);
        LOG(kInfo, L"<- failed");
        return false;
    }
    LOG(kInfo, L"<- success");
    return true;
}

bool CProductConfig::CreateDocument(const wchar_t* caller, ComPtr<IXMLDOMDocument>& document, HRESULT& hr) const {
    hr = dom::CreateDocument(document);
    if (FAILED(hr)) {
        const DWORD error = ::GetLastError();
        Notify(m_notify, OPERATION_SCRIPT, NOTIFY_NO_ENGINE);
        LOG_AS(caller, kError, L"CoCreateInstance CLSID_DOMDocument30 failed 0x%x", error);
        return false;
    }
    return true;
}

void CProductConfig::ReportNotLoaded(const wchar_t* caller, HRESULT hr) const {
    Notify(m_notify, OPERATION_SCRIPT, NOTIFY_NOT_LOADED);
    LOG_AS(caller, kError, L"load \"%s\" failed 0x%x", m_scriptName.c_str(), hr);
}

bool CProductConfig::SelectRoot(const wchar_t* caller, IXMLDOMDocument* document, ComPtr<IXMLDOMNode>& root) const {
    ComPtr<IXMLDOMNode> node;
    HRESULT hr = document->QueryInterface(IID_IXMLDOMNode, reinterpret_cast<void**>(node.Put()));
    if (FAILED(hr)) {
        Notify(m_notify, OPERATION_SCRIPT, NOTIFY_FAILED);
        LOG_AS(caller, kError, L"failed load RootElement 0x%x", hr);
        LOG_AS(caller, kError, L"failed \"%s\"", m_scriptName.c_str());
        return false;
    }
    hr = dom::SelectChild(node.Get(), element::kRoot, root);
    if (dom::Failed(hr, root)) {
        Notify(m_notify, OPERATION_CATALOGUE, NOTIFY_FAILED);
        LOG_AS(caller, kError, L"failed load \"uninstall_information\" node 0x%x", hr);
        LOG_AS(caller, kError, L"failed \"%s\"", m_scriptName.c_str());
    }
    return true;
}

bool CProductConfig::ReadVersions(IXMLDOMNode* root, std::vector<std::wstring>& versions) const {
    ComPtr<IXMLDOMNode> list;
    HRESULT hr = root != nullptr ? dom::SelectChild(root, element::kVersionList, list) : E_POINTER;
    if (dom::StepFailed(CALLER, hr, list, L"failed load version_list 0x%x")) {
        return false;
    }
    dom::ChildList children;
    if (!children.Open(CALLER, list.Get(),
                       {L"failed load children nodes for version_list 0x%x",
                        L"failed get children nodes count for version_list 0x%x"})) {
        return false;
    }
    for (long index = 0; index < children.Count(); ++index) {
        ComPtr<IXMLDOMNode> child;
        hr = children.Next(child);
        if (dom::Failed(hr, child)) {
            LOG(kError, L"failed get child %d for version_list 0x%x", index, hr);
            return false;
        }
        std::wstring name;
        hr = dom::NodeName(child.Get(), name);
        if (FAILED(hr)) {
            LOG(kError, L"failed get value for child %d for version_list 0x%x", index, hr);
            return false;
        }
        versions.push_back(std::move(name));
    }
    return true;
}

bool CProductConfig::WalkListedVersion(const wchar_t* caller, IXMLDOMNode* root, const std::wstring& name) {
    ComPtr<IXMLDOMNode> version;
    const HRESULT hr = dom::SelectChild(root, name.c_str(), version);
    if (dom::Failed(hr, version)) {
        LOG_AS(caller, kWarning, L"the xml doesn't have <%s>", name.c_str());
        return false;
    }
    LOG_AS(caller, kInfo, L"->ProcessVersion %s", name.c_str());
    const bool result = ProcessVersion(version.Get());
    LOG_AS(caller, kInfo, L"<-ProcessVersion %s, result = %s", name.c_str(), BoolName(result));
    return result;
}

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

bool CProductConfig::OpenSections(const wchar_t* caller, IXMLDOMNode* version, dom::ChildList& sections) {
    ComPtr<IXMLDOMNode> node;
    const HRESULT hr = dom::SelectChild(version, element::kSections, node);
    return !dom::StepFailed(caller, hr, node, L"can't load \"win_nt\" node 0x%x") &&
           sections.Open(caller, node.Get(),
                         {L"failed load \"win_nt\" childs nodes 0x%x", L"failed load \"win_nt\" childs count 0x%x"});
}

bool CProductConfig::SectionAt(const wchar_t* caller, dom::ChildList& sections, long index,
                               ComPtr<IXMLDOMNode>& section) {
    const HRESULT hr = sections.Next(section);
    if (dom::Failed(hr, section)) {
        LOG_AS(caller, kError, L"failed load child %d for \"win_nt\", err = 0x%x", index, hr);
        return false;
    }
    return true;
}

bool CProductConfig::ProcessNTVersion(IXMLDOMNode* version, const std::wstring& appPath) {
    dom::ChildList sections;
    if (!OpenSections(CALLER, version, sections)) {
        return false;
    }
    for (long index = 0; index < sections.Count(); ++index) {
        ComPtr<IXMLDOMNode> section;
        if (!SectionAt(CALLER, sections, index, section)) {
            return false;
        }
        const bool succeeded = ProcessSection(section.Get(), appPath);
        if (m_notify != nullptr) {
            ReportSection(section.Get(), succeeded);
        }
        if (!succeeded) {
            LOG(kError, L"ProcessSection failed");
        }
    }
    return true;
}

void CProductConfig::ReportSection(IXMLDOMNode* section, bool succeeded) const {
    std::wstring opCode;
    if (!CXMLHelper::GetNodeAttribute(section, attribute::kOpCode, opCode)) {
        return;
    }
    if (const Operation* const operation = FindOperation(opCode)) {
        Notify(m_notify, operation->kind, succeeded ? NOTIFY_SUCCESS : NOTIFY_FAILED);
    }
}

bool CProductConfig::ProcessSection(IXMLDOMNode* section, const std::wstring& appPath) {
    std::wstring opCode;
    if (!CXMLHelper::GetNodeAttribute(section, attribute::kOpCode, opCode)) {
        LOG(kError, L"failed get attribute \"op_code\"");
        return false;
    }
    dom::ChildList elements;
    if (!elements.Open(CALLER, section,
                       {L"failed load child nodes 0x%x", L"failed load \"win_nt\" children count 0x%x"})) {
        return false;
    }
    bool result = true;
    for (long index = 0; index < elements.Count(); ++index) {
        ComPtr<IXMLDOMNode> node;
        const HRESULT hr = elements.Next(node);
        if (dom::Failed(hr, node)) {
            LOG(kError, L"failed load child %d, err = 0x%x", index, hr);
            return false;
        }
        if (!ProcessElement(node.Get(), opCode, appPath, result)) {
            return false;
        }
    }
    return result;
}

// False ends the section at once; a failed operation only clears `result`.
bool CProductConfig::ProcessElement(IXMLDOMNode* node, const std::wstring& opCode, const std::wstring& appPath,
                                    bool& result) {
    constexpr wchar_t kCaller[] = L"CProductConfig::ProcessSection";
    std::wstring name;
    dom::NodeName(node, name);
    LOG_AS(kCaller, kInfo, L"->node \"%s\"", name.c_str());
    if (EqualsBlind(name, element::kSleep)) {
        LOG_AS(kCaller, kWarning, L"<sleep> not supported ! . use the 'sleep_after_exec' attribute instead");
        return true;
    }
    ComPtr<IXMLDOMNamedNodeMap> map;
    const HRESULT hr = node->get_attributes(map.Put());
    if (dom::Failed(hr, map)) {
        LOG_AS(kCaller, kError, L"failed get element attributes");
        return false;
    }
    AttributeList list;
    if (!ReadAttributes(kCaller, map.Get(), list)) {
        return false;
    }
    OperationAttributes attributes;
    attributes.Insert(attribute::kOpCode, opCode);
    for (auto& [key, value] : list) {
        attributes.Insert(std::move(key), std::move(value));
    }
    if (!ExecOperation(attributes, appPath)) {
        LOG_AS(kCaller, kError, L"ExecOperation failed");
        result = false;
    }
    LOG_AS(kCaller, kInfo, L"<-node \"%s\"", name.c_str());
    return true;
}

bool CProductConfig::ReadAttributes(const wchar_t* caller, IXMLDOMNamedNodeMap* map, AttributeList& attributes) {
    long count = 0;
    HRESULT hr = map->get_length(&count);
    if (FAILED(hr)) {
        LOG_AS(caller, kError, L"failed get attributes length 0x%x", hr);
        return false;
    }
    for (long index = 0; index < count; ++index) {
        ComPtr<IXMLDOMNode> item;
        hr = map->get_item(index, item.Put());
        if (dom::Failed(hr, item)) {
            LOG_AS(caller, kError, L"failed get attribute %d, 0x%x", index, hr);
            return false;
        }
        std::wstring name;
        if (FAILED(dom::NodeName(item.Get(), name))) {
            LOG_AS(caller, kError, L"failed get attribute %d name", index);
            return false;
        }
        Bstr value;
        if (FAILED(dom::NodeText(item.Get(), value))) {
            LOG_AS(caller, kError, L"failed get attribute %d value", index);
            return false;
        }
        attributes.emplace_back(std::move(name), value.Text());
    }
    return true;
}

bool CProductConfig::ExecOperation(const OperationAttributes& attributes, const std::wstring& appPath) {
    LOG(kInfo, L"-> %s", Describe(attributes).c_str());
    const std::wstring* const opCode = attributes.Find(attribute::kOpCode);
    if (opCode == nullptr) {
        LOG(kError, L"no op_code");
        return false;
    }
    LOG(kInfo, L"op_code = \"%s\"", opCode->c_str());
    const Operation* const operation = FindOperation(*opCode);
    if (operation == nullptr) {
        LOG(kError, L"unknown op_code \"%s\"", opCode->c_str());
        return false;
    }
    return (this->*operation->handler)(attributes, appPath);
}
