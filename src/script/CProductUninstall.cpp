#include "script/CProductUninstall.h"

#include <algorithm>

#include "foundation/CConfigFileMngr.h"
#include "foundation/CWow64.h"
#include "foundation/log.h"
#include "foundation/notify.h"
#include "script/progress.h"

namespace {

constexpr LONG kWalkPercent = 30;
constexpr DWORD kExecutionPercent = 70;

template <typename Entry>
bool Contains(const std::vector<Entry>& list, const Entry& entry) {
    return std::find(list.begin(), list.end(), entry) != list.end();
}

}  // namespace

CProductUninstall::CProductUninstall(const wchar_t* productName, std::wstring scriptName,
                                     const std::vector<CProductCheckUse>* usedBy, NotifyCallback notify)
    : CProductConfig(std::move(scriptName), notify),
      m_usedBy(usedBy),
      m_productName(productName),
      m_operations(&m_restartDel) {
    ::InterlockedExchange(&g_progressPercent, 0);
}

bool CProductUninstall::Uninstall() {
    m_restartRequired = false;
    LOG(kInfo, L"\"%s\"", GetScriptName().c_str());
    Notify(Callback(), OPERATION_PRODUCT_BEGINS, 0, reinterpret_cast<LONG_PTR>(m_productName));
    Notify(Callback(), OPERATION_PRODUCT_BEGUN, 0);
    const bool processed = Process();
    if (processed) {
        SortCachedOps();
        ExecuteCachedOps();
    } else {
        LOG(kError, L"CProductConfig Process failed");
    }
    if (!m_restartDel.Empty()) {
        m_restartRequired = true;
    }
    const bool scheduled = DeleteAtRestart();
    return processed && scheduled;
}

bool CProductUninstall::Process() {
    LOG(kInfo, L"\"%s\"", GetScriptName().c_str());
    ComPtr<IXMLDOMDocument> document;
    HRESULT created = S_OK;
    if (!CreateDocument(CALLER, document, created)) {
        return false;
    }
    std::wstring text;
    if (CConfigFileMngr::Instance().GetText(text) != 0) {
        return false;
    }
    HRESULT loaded = S_OK;
    if (!dom::LoadText(document.Get(), text.c_str(), loaded)) {
        ReportNotLoaded(CALLER, created);  // the line prints the result of the creation
        return false;
    }
    ComPtr<IXMLDOMNode> root;
    std::vector<std::wstring> versions;
    if (!SelectRoot(CALLER, document.Get(), root) || !ReadVersions(root.Get(), versions)) {
        return false;
    }
    const LONG count = static_cast<LONG>(versions.size());
    // An or that starts at true stays true: a failed version does not fail the walk.
    bool result = true;
    for (const std::wstring& version : versions) {
        result = WalkListedVersion(CALLER, root.Get(), version) || result;
        PublishWalked(kWalkPercent / count);
    }
    PublishWalked(count == 0 ? kWalkPercent : kWalkPercent % count);
    Notify(Callback(), OPERATION_SCRIPT, result ? NOTIFY_SUCCESS : NOTIFY_FAILED);
    if (result) {
        LOG(kInfo, L"<- success");
    } else {
        LOG(kInfo, L"<- failed");
    }
    return result;
}

bool CProductUninstall::ProcessNTVersion(IXMLDOMNode* version, const std::wstring& appPath) {
    dom::ChildList sections;
    if (!OpenSections(CALLER, version, sections)) {
        return false;
    }
    for (long index = 0; index < sections.Count(); ++index) {
        ComPtr<IXMLDOMNode> section;
        if (!SectionAt(CALLER, sections, index, section)) {
            return false;
        }
        if (!ProcessSection(section.Get(), appPath)) {
            LOG(kError, L"ProcessSection failed");
        }
    }
    return true;
}

void CProductUninstall::PublishProgress() const {
    const DWORD executed = m_doneUnits * kExecutionPercent / m_totalUnits;
    ::InterlockedExchange(&g_progressPercent, static_cast<LONG>(executed + static_cast<DWORD>(m_scriptPercent)));
}

void CProductUninstall::PublishWalked(LONG percent) {
    m_scriptPercent += percent;
    PublishProgress();
}

void CProductUninstall::FinishEntry(DWORD units) {
    m_doneUnits += units;
    PublishProgress();
}

void CProductUninstall::AddRestartDel(const std::wstring& path) {
    if (!m_restartDel.Contains(path)) {
        LOG(kInfo, L"\"%s\"", path.c_str());
        m_restartDel.Append(path);
    }
}

bool CProductUninstall::DeleteAtRestart() {
    const Wow64Redirection off(CALLER);
    LOG(kInfo, L"RESTART DELETE :");
    for (const std::wstring& path : m_restartDel.Paths()) {
        LOG(kInfo, L"\"%s\"", path.c_str());
    }
    bool result = true;
    for (const std::wstring& path : m_restartDel.Paths()) {
        if (!::SetFileAttributesW(path.c_str(), FILE_ATTRIBUTE_NORMAL)) {
            const DWORD error = ::GetLastError();
            LOG(kWarning, L"SetFileAttributes NORMAL for \"%s\" failed 0x%x", path.c_str(), error);
        }
        if (!::MoveFileExW(path.c_str(), nullptr, MOVEFILE_DELAY_UNTIL_REBOOT)) {
            const DWORD error = ::GetLastError();
            LOG(kWarning, L"MoveFileEx \"%s\" failed 0x%x", path.c_str(), error);
            result = false;
        }
    }
    return result;
}

template <typename Question, typename... Texts>
bool CProductUninstall::AskStaying(const wchar_t* caller, const Question& question, const Texts&... texts) const {
    for (const CProductCheckUse& product : *m_usedBy) {
        if (!question(product)) {
            continue;
        }
        if constexpr (sizeof...(texts) == 1) {
            LOG_AS(caller, kInfo, L"\"%s\" used by \"%s\"", texts.c_str()..., product.GetScriptName().c_str());
        } else {
            LOG_AS(caller, kInfo, L"\"%s\" \"%s\" used by \"%s\"", texts.c_str()..., product.GetScriptName().c_str());
        }
        return true;
    }
    return false;
}

bool CProductUninstall::IsUsedFile(const std::wstring& path) {
    return AskStaying(
        CALLER, [&](const CProductCheckUse& product) { return Contains(product.UsedFiles(), path); }, path);
}

bool CProductUninstall::IsUsedFolder(const std::wstring& path) {
    return AskStaying(
        CALLER, [&](const CProductCheckUse& product) { return Contains(product.UsedFolders(), path); }, path);
}

bool CProductUninstall::IsUsedRegKey(const std::wstring& keyPath, bool x32view) {
    const RegistryEntry entry{keyPath, x32view};
    return AskStaying(
        CALLER, [&](const CProductCheckUse& product) { return Contains(product.UsedRegKeys(), entry); }, keyPath);
}

bool CProductUninstall::IsUsedRegValue(const std::wstring& keyPath, const std::wstring& valueName, bool x32view) {
    return AskStaying(
        CALLER, [&](const CProductCheckUse& product) { return product.HasRegValue(keyPath, valueName, x32view); },
        keyPath, valueName);
}

bool CProductUninstall::IsUsedTool(const std::wstring& path, const std::wstring& parameters) {
    return AskStaying(
        CALLER, [&](const CProductCheckUse& product) { return product.HasTool(path, parameters); }, path, parameters);
}
