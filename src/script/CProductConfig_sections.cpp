// The sections of a version and their operation elements.

#include <iterator>

#include "foundation/CXMLHelper.h"
#include "foundation/log_statement.h"
#include "foundation/notify.h"
#include "script/CProductConfig.h"
#include "script/vocabulary.h"

namespace {

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
    static_assert(std::size(kOperations) == OPERATION_DISABLEANDSTOP_SERVICE - OPERATION_DEL_FILE + 1);
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

CProductConfig::Next CProductConfig::ForEachSection(const wchar_t* caller, IXMLDOMNode* version, const Visit& visit) {
    ComPtr<IXMLDOMNode> node;
    HRESULT hr = dom::SelectChild(version, element::kSections, node);
    dom::ChildList sections;
    if (dom::StepFailed(caller, hr, node, L"can't load \"win_nt\" node 0x%x") ||
        !sections.Open(caller, node.Get(),
                       {L"failed load \"win_nt\" childs nodes 0x%x", L"failed load \"win_nt\" childs count 0x%x"})) {
        return Next::Fail;
    }
    Next next = Next::GoOn;
    for (long index = 0; next == Next::GoOn && index < sections.Count(); ++index) {
        ComPtr<IXMLDOMNode> section;
        hr = sections.Next(section);
        if (dom::Failed(hr, section)) {
            LOG_AS(caller, kError, L"failed load child %d for \"win_nt\", err = 0x%x", index, hr);
            return Next::Fail;
        }
        m_place.section = index;
        m_place.opCode.clear();
        m_place.element = -1;
        next = visit(section.Get());
    }
    return next;
}

CProductConfig::Next CProductConfig::ForEachElement(const wchar_t* caller, IXMLDOMNode* section,
                                                    const std::wstring& opCode, const Visit& visit) {
    dom::ChildList elements;
    if (!elements.Open(caller, section,
                       {L"failed load child nodes 0x%x", L"failed load \"win_nt\" children count 0x%x"})) {
        return Next::Fail;
    }
    m_place.opCode = opCode;
    Next next = Next::GoOn;
    for (long index = 0; next == Next::GoOn && index < elements.Count(); ++index) {
        ComPtr<IXMLDOMNode> node;
        const HRESULT hr = elements.Next(node);
        if (dom::Failed(hr, node)) {
            LOG_AS(caller, kError, L"failed load child %d, err = 0x%x", index, hr);
            return Next::Decide;
        }
        m_place.element = index;
        next = visit(node.Get());
    }
    return next;
}

bool CProductConfig::ProcessNTVersion(IXMLDOMNode* version, const std::wstring& appPath) {
    return ProcessSections(CALLER, version, appPath, SectionReports::ToCallback);
}

bool CProductConfig::ProcessSections(const wchar_t* caller, IXMLDOMNode* version, const std::wstring& appPath,
                                     SectionReports reports) {
    const Next end = ForEachSection(caller, version, [&](IXMLDOMNode* section) {
        const bool succeeded = ProcessSection(section, appPath);
        if (reports == SectionReports::ToCallback && m_notify != nullptr) {
            ReportSection(section, succeeded);
        }
        if (!succeeded) {
            LOG_AS(caller, kError, L"ProcessSection failed");
        }
        return Next::GoOn;
    });
    return end == Next::GoOn;
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
    const wchar_t* const caller = CALLER;
    bool succeeded = true;
    const Next end = ForEachElement(caller, section, opCode, [&](IXMLDOMNode* node) {
        return ProcessElement(caller, node, opCode, appPath, succeeded);
    });
    return end == Next::GoOn && succeeded;
}

CProductConfig::Next CProductConfig::ProcessElement(const wchar_t* caller, IXMLDOMNode* node,
                                                    const std::wstring& opCode, const std::wstring& appPath,
                                                    bool& succeeded) {
    std::wstring name;
    dom::NodeName(node, name);
    LOG_AS(caller, kInfo, L"->node \"%s\"", name.c_str());
    if (EqualsBlind(name, element::kSleep)) {
        LOG_AS(caller, kWarning, L"<sleep> not supported ! . use the 'sleep_after_exec' attribute instead");
        return Next::GoOn;
    }
    ComPtr<IXMLDOMNamedNodeMap> map;
    const HRESULT hr = node->get_attributes(map.Put());
    if (dom::Failed(hr, map)) {
        LOG_AS(caller, kError, L"failed get element attributes");
        return Next::Fail;
    }
    AttributeList list;
    if (!ReadAttributes(caller, map.Get(), list)) {
        return Next::Fail;
    }
    OperationAttributes attributes;
    attributes.Insert(attribute::kOpCode, opCode);
    for (auto& [key, value] : list) {
        attributes.Insert(std::move(key), std::move(value));
    }
    if (!ExecOperation(attributes, appPath)) {
        LOG_AS(caller, kError, L"ExecOperation failed");
        succeeded = false;
    }
    LOG_AS(caller, kInfo, L"<-node \"%s\"", name.c_str());
    return Next::GoOn;
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
        Bstr name;
        if (FAILED(item->get_nodeName(name.Put())) || name.Get() == nullptr) {
            LOG_AS(caller, kError, L"failed get attribute %d name", index);
            return false;
        }
        Bstr value;
        if (FAILED(dom::NodeText(item.Get(), value)) || value.Get() == nullptr) {
            LOG_AS(caller, kError, L"failed get attribute %d value", index);
            return false;
        }
        attributes.emplace_back(name.Text(), value.Text());
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
