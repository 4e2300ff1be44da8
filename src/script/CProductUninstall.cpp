#include "script/CProductUninstall.h"

#include <algorithm>

#include "foundation/CConfigFileMngr.h"
#include "foundation/CWow64.h"
#include "foundation/log_statement.h"
#include "foundation/notify.h"
#include "script/progress.h"

namespace {

constexpr LONG kWalkPercent = 30;
constexpr DWORD kExecutionPercent = 70;

template <typename Entry>
bool Contains(const std::vector<Entry>& list, const Entry& entry) {
    return std::find(list.begin(), list.end(), entry) != list.end();
}

// What is known of a thing's user, which may be null, as the answer to the question for one; with its log line.

bool IsUsed(const wchar_t* caller, const std::wstring& thing, const CProductCheckUse* user) {
    if (user != nullptr) {
        LOG_AS(caller, kInfo, L"\"%s\" used by \"%s\"", thing.c_str(), user->GetScriptName().c_str());
    }
    return user != nullptr;
}

bool IsUsed(const wchar_t* caller, const std::wstring& thing, const std::wstring& part, const CProductCheckUse* user) {
    if (user != nullptr) {
        LOG_AS(caller, kInfo, L"\"%s\" \"%s\" used by \"%s\"", thing.c_str(), part.c_str(),
               user->GetScriptName().c_str());
    }
    return user != nullptr;
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
    const Loader load = [](IXMLDOMDocument* document, HRESULT&) {
        std::wstring text;
        if (CConfigFileMngr::Instance().GetText(text) != 0) {
            return Loading::NoText;
        }
        HRESULT unreported = S_OK;  // the line of a failure prints the result of the creation
        return dom::LoadText(document, text.c_str(), unreported) ? Loading::Loaded : Loading::NotLoaded;
    };
    Script script;
    if (!OpenScript(CALLER, load, script)) {
        return false;
    }
    const LONG count = static_cast<LONG>(script.versions.size());
    // An or that starts at true stays true: a failed version does not fail the walk.
    bool result = true;
    for (const std::wstring& version : script.versions) {
        result = WalkListedVersion(CALLER, script.root.Get(), version) || result;
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
    return ProcessSections(CALLER, version, appPath, SectionReports::None);
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
    if (m_restartDel.Add(path)) {
        LOG(kInfo, L"\"%s\"", path.c_str());
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

template <typename Question>
const CProductCheckUse* CProductUninstall::FirstUser(const Question& question) const {
    const auto user = std::find_if(m_usedBy->begin(), m_usedBy->end(), question);
    return user != m_usedBy->end() ? &*user : nullptr;
}

bool CProductUninstall::IsUsedFile(const std::wstring& path) {
    return IsUsed(CALLER, path,
                  FirstUser([&](const CProductCheckUse& product) { return Contains(product.UsedFiles(), path); }));
}

bool CProductUninstall::IsUsedFolder(const std::wstring& path) {
    return IsUsed(CALLER, path,
                  FirstUser([&](const CProductCheckUse& product) { return Contains(product.UsedFolders(), path); }));
}

bool CProductUninstall::IsUsedRegKey(const std::wstring& keyPath, bool x32view) {
    const RegistryEntry entry{keyPath, x32view};
    return IsUsed(CALLER, keyPath,
                  FirstUser([&](const CProductCheckUse& product) { return Contains(product.UsedRegKeys(), entry); }));
}

bool CProductUninstall::IsUsedRegValue(const std::wstring& keyPath, const std::wstring& valueName, bool x32view) {
    return IsUsed(CALLER, keyPath, valueName, FirstUser([&](const CProductCheckUse& product) {
                      return product.HasRegValue(keyPath, valueName, x32view);
                  }));
}

bool CProductUninstall::IsUsedTool(const std::wstring& path, const std::wstring& parameters) {
    return IsUsed(CALLER, path, parameters,
                  FirstUser([&](const CProductCheckUse& product) { return product.HasTool(path, parameters); }));
}
