// The document of a script and its list of versions.

#include "script/CProductConfig.h"

#include "foundation/log_statement.h"
#include "foundation/notify.h"
#include "foundation/result.h"
#include "foundation/XmlData.h"
#include "script/vocabulary.h"

namespace {

constexpr DWORD kScriptResourceId = 101;

}  // namespace

bool CProductConfig::Process() {
    LOG(kInfo, L"\"%s\"", m_scriptName.c_str());
    const Loader load = [&](IXMLDOMDocument* document, HRESULT& hr) {
        // The store leaves the pointer as it is, so that the document is asked to load a null text and refuses.
        BYTE* text = nullptr;
        DWORD size = 0;
        XmlData().ReadData(m_scriptName, kScriptResourceId, &text, &size);
        return dom::LoadText(document, reinterpret_cast<const wchar_t*>(text), hr) ? Loading::Loaded
                                                                                   : Loading::NotLoaded;
    };
    Script script;
    if (!OpenScript(CALLER, load, script)) {
        return false;
    }
    // An or that starts at true stays true: a failed version does not fail the script.
    bool result = true;
    for (const std::wstring& version : script.versions) {
        result = WalkListedVersion(CALLER, script.root.Get(), version) || result;
    }
    if (!result) {
        Notify(m_notify, OPERATION_SCRIPT, NOTIFY_FAILED);
        LOG(kInfo, L"<- failed");
        return false;
    }
    LOG(kInfo, L"<- success");
    return true;
}

bool CProductConfig::OpenScript(const wchar_t* caller, const Loader& load, Script& script) const {
    HRESULT hr = dom::CreateDocument(script.document);
    if (FAILED(hr)) {
        const DWORD error = ::GetLastError();
        Notify(m_notify, OPERATION_SCRIPT, NOTIFY_NO_ENGINE);
        LOG_AS(caller, kError, L"CoCreateInstance CLSID_DOMDocument30 failed 0x%x", error);
        return false;
    }
    const Loading loading = load(script.document.Get(), hr);
    if (loading == Loading::NotLoaded) {
        Notify(m_notify, OPERATION_SCRIPT, NOTIFY_NOT_LOADED);
        LOG_AS(caller, kError, L"load \"%s\" failed 0x%x", m_scriptName.c_str(), hr);
    }
    return loading == Loading::Loaded && SelectRoot(caller, script.document.Get(), script.root) &&
           ReadVersions(script.root.Get(), script.versions);
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
    m_place = {};
    m_place.version = name;
    const bool result = ProcessVersion(version.Get());
    LOG_AS(caller, kInfo, L"<-ProcessVersion %s, result = %s", name.c_str(), BoolName(result));
    return result;
}
