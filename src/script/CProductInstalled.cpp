#include "script/CProductInstalled.h"

#include <cwchar>

#include "foundation/CXMLHelper.h"
#include "foundation/log_statement.h"
#include "foundation/result.h"
#include "operations/COperations.h"
#include "operations/CRegKeyHelper.h"
#include "script/operation_request.h"
#include "script/vocabulary.h"

namespace {

// A sum that wraps around at 32 bits.
int WrappingSum(int left, int right) {
    return static_cast<int>(static_cast<unsigned>(left) + static_cast<unsigned>(right));
}

}  // namespace

bool CProductInstalled::Process() {
    const std::wstring name = GetScriptName();
    LOG(kInfo, L"->\"%s\"", name.c_str());
    const Loader load = [&](IXMLDOMDocument* document, HRESULT& hr) {
        return dom::LoadFile(document, name, hr) ? Loading::Loaded : Loading::NotLoaded;
    };
    Script script;
    if (!OpenScript(CALLER, load, script)) {
        return false;
    }
    for (const std::wstring& version : script.versions) {
        if (WalkListedVersion(CALLER, script.root.Get(), version)) {
            return true;
        }
    }
    return false;
}

bool CProductInstalled::ProcessNTVersion(IXMLDOMNode* version, const std::wstring& appPath) {
    std::wstring mode;
    if (!CXMLHelper::GetNodeAttribute(version, attribute::kMandatorySections, mode)) {
        LOG(kWarning, L"failed to get attribute \"mandatory_sections\"");
    }
    if (mode != L"all" && mode != L"any") {
        LOG(kWarning, L"Invalid value for attribute \"mandatory_sections\". Default value is \"any\". ");
        mode = L"any";
    }
    SectionsModeRead(mode);
    bool installed = false;
    const Next end = ForEachSection(CALLER, version, [&](IXMLDOMNode* section) {
        std::wstring opCode;
        if (!CXMLHelper::GetNodeAttribute(section, attribute::kOpCode, opCode)) {
            LOG(kError, L"failed get attribute \"op_code\"");
        }
        if (opCode == L"exec_tool") {
            return Next::GoOn;
        }
        const bool passed = ProcessSection(section, appPath);
        installed = installed || passed;
        return passed || mode == L"any" ? Next::GoOn : Next::Fail;
    });
    return end != Next::Fail && installed;
}

bool CProductInstalled::ProcessSection(IXMLDOMNode* section, const std::wstring& appPath) {
    std::wstring opCode;
    if (!CXMLHelper::GetNodeAttribute(section, attribute::kOpCode, opCode)) {
        LOG(kError, L"failed get attribute \"op_code\"");
        return false;
    }
    int minimum = 0;
    CXMLHelper::GetNodeAttribute(section, attribute::kMinimumScore, minimum);
    LOG(kInfo, L"Minimum Score \"%s\" = %d", opCode.c_str(), minimum);
    MinimumRead(opCode, minimum);
    const wchar_t* const caller = CALLER;
    int score = 0;
    const Next end = ForEachElement(
        caller, section, opCode, [&](IXMLDOMNode* node) { return ScoreElement(caller, node, opCode, appPath, score); });
    if (end == Next::Fail) {
        return false;
    }
    LOG(kInfo, L"Score \"%s\" = %d", opCode.c_str(), score);
    SectionScored(score);
    return score >= minimum;
}

CProductInstalled::Next CProductInstalled::ScoreElement(const wchar_t* caller, IXMLDOMNode* node,
                                                        const std::wstring& opCode, const std::wstring& appPath,
                                                        int& score) {
    std::wstring name;
    dom::NodeName(node, name);
    LOG_AS(caller, kInfo, L"->node \"%s\"", name.c_str());
    Bstr text;
    if (FAILED(dom::NodeText(node, text)) || text.Get() == nullptr) {
        LOG_AS(caller, kError, L"failed get element value");
        return Next::Decide;
    }
    if (EqualsBlind(text.Text(), element::kSleep)) {
        // A sleep with a value does not pause; one without it pauses for 0 milliseconds.
        int milliseconds = 0;
        if (!CXMLHelper::GetNodeAttribute(node, attribute::kValue, milliseconds)) {
            ProcessSleep(milliseconds);
        }
        return Next::GoOn;
    }
    const Next next = ScoreOperation(caller, node, opCode, appPath, score);
    if (next == Next::GoOn) {
        LOG_AS(caller, kInfo, L"<-node \"%s\"", name.c_str());
    }
    return next;
}

CProductInstalled::Next CProductInstalled::ScoreOperation(const wchar_t* caller, IXMLDOMNode* node,
                                                          const std::wstring& opCode, const std::wstring& appPath,
                                                          int& score) {
    ComPtr<IXMLDOMNamedNodeMap> map;
    const HRESULT hr = node->get_attributes(map.Put());
    AttributeList list;
    if (dom::StepFailed(caller, hr, map, L"failed get element attributes 0x%x") ||
        !ReadAttributes(caller, map.Get(), list)) {
        return Next::Fail;
    }
    int elementScore = 1;
    bool mandatory = false;
    OperationAttributes attributes;
    attributes.Insert(attribute::kOpCode, opCode);
    for (auto& [name, value] : list) {
        if (EqualsBlind(name, attribute::kScore)) {
            elementScore = ::_wtoi(value.c_str());
        } else if (EqualsBlind(name, attribute::kMandatory)) {
            mandatory = IsYes(&value);
        } else {
            attributes.Insert(std::move(name), std::move(value));
        }
    }
    const bool found = ExecOperation(attributes, appPath);
    ElementJudged(attributes, elementScore, mandatory, found);
    if (found) {
        score = WrappingSum(score, elementScore);
    } else if (mandatory) {
        LOG_AS(caller, kError, L"The mandatory failed");
        for (const auto& [name, value] : attributes) {
            LOG_AS(caller, kError, L"\t\"%s\" = \"%s\"", name.c_str(), value.c_str());
        }
        return Next::Fail;
    }
    return Next::GoOn;
}

bool CProductInstalled::ProcessDelFile(const OperationAttributes& attributes, const std::wstring& appPath) {
    FileRequest request;
    return ReadFileRequest(CALLER, attributes, appPath, request) &&
           COperations().CheckFile(request.path) == _ERROR_SUCCESS;
}

bool CProductInstalled::ProcessDelFolder(const OperationAttributes& attributes, const std::wstring& appPath) {
    std::wstring path;
    return ReadFolderRequest(CALLER, attributes, appPath, path) && COperations().CheckFolder(path) == _ERROR_SUCCESS;
}

bool CProductInstalled::ProcessDelShortcut(const OperationAttributes& attributes, const std::wstring& appPath) {
    ShortcutRequest request;
    return ReadShortcutRequest(CALLER, attributes, appPath, request) &&
           COperations().CheckShortcut(request.path, request.target, request.targetIsWholePath) == _ERROR_SUCCESS;
}

bool CProductInstalled::ProcessDelRegKey(const OperationAttributes& attributes, const std::wstring&) {
    RegKeyRequest request;
    if (!ReadRegKeyRequest(CALLER, attributes, LastPiece::Dropped, request)) {
        return false;
    }
    const OperationResult result = request.search ? CRegKeyHelper::CheckKeySearch(request.keyPath, request.dataStrings,
                                                                                  request.completeStr, request.x32view)
                                                  : CRegKeyHelper::CheckKey(request.keyPath, request.x32view);
    return result == _ERROR_SUCCESS;
}

bool CProductInstalled::ProcessDelRegVal(const OperationAttributes& attributes, const std::wstring& appPath) {
    RegValueRequest request;
    return ReadRegValueRequest(CALLER, attributes, appPath, L"unknow special folder \"%s\"", request) &&
           CRegKeyHelper::CheckValue(request.keyPath, request.valueName, request.x32view) == _ERROR_SUCCESS;
}

bool CProductInstalled::ProcessSleep(int milliseconds) {
    ::Sleep(static_cast<DWORD>(milliseconds));
    return true;
}

bool CProductInstalled::ProcessDisableDriver(const OperationAttributes& attributes, const std::wstring&) {
    const std::wstring* const name = RequireDriverName(CALLER, attributes, L"no driver name");
    return name != nullptr && COperations().CheckService(*name) == _ERROR_SUCCESS;
}
