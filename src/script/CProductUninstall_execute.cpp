// The cached operations: thinned, then run kind by kind in one fixed order.

#include <algorithm>
#include <optional>
#include <set>

#include "foundation/CWow64.h"
#include "foundation/log.h"
#include "foundation/notify.h"
#include "operations/CRegKeyHelper.h"
#include "operations/service_stop.h"
#include "script/CProductUninstall.h"

namespace {

// Units of work that one entry of a list is worth.
constexpr DWORD kHeavyUnits = 100;  // services, tools, library methods, processes
constexpr DWORD kFileUnits = 10;    // files, folders, shortcuts
constexpr DWORD kRegistryUnits = 1;

// Keeps the first entry, and each further one that the last that stayed does not cover.
template <typename Entry, typename Covers>
void ThinNeighbours(std::vector<Entry>& list, const Covers& covers) {
    std::size_t stayed = 0;
    for (std::size_t index = 1; index < list.size(); ++index) {
        if (!covers(list[stayed], list[index]) && ++stayed != index) {
            list[stayed] = std::move(list[index]);
        }
    }
    list.resize(std::min(list.size(), stayed + 1));
}

template <typename Entry>
void SortByThinningOrder(std::vector<Entry>& list) {
    std::stable_sort(list.begin(), list.end(),
                     [](const Entry& left, const Entry& right) { return BeforeInThinning(left, right); });
}

void SortAndThinTexts(std::vector<std::wstring>& list) {
    std::sort(list.begin(), list.end());
    ThinNeighbours(list, std::equal_to<>());
}

template <typename Entry>
void SortAndThinEqual(std::vector<Entry>& list) {
    SortByThinningOrder(list);
    ThinNeighbours(list, std::equal_to<>());
}

// Removes each entry that equals an earlier one, wherever it stands; the order stays.
void RemoveRepeats(std::vector<ExecToolOp>& list) {
    std::set<ExecToolOp> seen;
    std::erase_if(list, [&](const ExecToolOp& tool) { return !seen.insert(tool).second; });
}

// Not found counts as done.
bool HasFailed(OperationResult result) {
    return result != _ERROR_SUCCESS && result != _ERROR_NOT_FOUND;
}

}  // namespace

bool Covers(const std::wstring& upper, const std::wstring& path) {
    return path.starts_with(upper) &&
           (path.size() == upper.size() || path[upper.size()] == L'/' || path[upper.size()] == L'\\');
}

bool CProductUninstall::SortCachedOps() {
    SortByThinningOrder(m_delReg);
    // Neighbours are compared across the border of the two views as well.
    ThinNeighbours(m_delReg, [](const DelRegOp& stayed, const DelRegOp& entry) {
        return !stayed.isValue && Covers(stayed.keyPath, entry.keyPath);
    });
    SortAndThinTexts(m_delFiles);
    std::sort(m_delFolders.begin(), m_delFolders.end());
    ThinNeighbours(m_delFolders, &Covers);
    m_restartDel.Sort();  // holds no text twice
    SortAndThinEqual(m_delRegKeyData);
    SortAndThinTexts(m_killProcesses);
    RemoveRepeats(m_execTools);
    SortAndThinEqual(m_execDllMethods);
    SortAndThinTexts(m_disableDrivers);
    SortAndThinEqual(m_disableAndStopDrivers);
    return true;
}

struct CProductUninstall::DeletionTexts {
    logging::LogFormat<const wchar_t*, const wchar_t*> toRestart;
    logging::LogFormat<const wchar_t*, const wchar_t*> failed;
};

struct CProductUninstall::Step {
    bool (CProductUninstall::*isDue)() const;  // asked when the step's turn comes
    OperationResult (CProductUninstall::*run)();
    OperationKind kind;
};

// The order of a removal. The two registry steps are due by m_delReg alone.
// clang-format off
const CProductUninstall::Step CProductUninstall::kSteps[] = {
    {&CProductUninstall::AnyIn<&CProductUninstall::m_disableAndStopDrivers>,
     &CProductUninstall::ExecuteCachedOp_DisableAndStopDriver, OPERATION_DISABLEANDSTOP_DRIVER},
    {&CProductUninstall::AnyIn<&CProductUninstall::m_disableDrivers>,
     &CProductUninstall::ExecuteCachedOp_DisableDriver,        OPERATION_DISABLE_DRIVER},
    {&CProductUninstall::AnyIn<&CProductUninstall::m_execDllMethods, &CProductUninstall::m_execTools>,
     &CProductUninstall::ExecuteLibraryMethodsAndTools,        OPERATION_EXEC_TOOL},
    {&CProductUninstall::AnyIn<&CProductUninstall::m_killProcesses>,
     &CProductUninstall::ExecuteCachedOp_KillProcess,          OPERATION_KILL_PROCESS},
    {&CProductUninstall::AnyIn<&CProductUninstall::m_delFolders>,
     &CProductUninstall::ExecuteCachedOp_DelFolder,            OPERATION_DEL_FOLDER},
    {&CProductUninstall::AnyIn<&CProductUninstall::m_delFiles>,
     &CProductUninstall::ExecuteCachedOp_DelFile,              OPERATION_DEL_FILE},
    {&CProductUninstall::AnyIn<&CProductUninstall::m_delShortcuts>,
     &CProductUninstall::ExecuteCachedOp_DelShortcut,          OPERATION_DEL_SHORTCUT},
    {&CProductUninstall::AnyIn<&CProductUninstall::m_delReg>,
     &CProductUninstall::ExecuteCachedOp_DelRegKeys,           OPERATION_DEL_REGKEY},
    {&CProductUninstall::AnyIn<&CProductUninstall::m_delReg>,
     &CProductUninstall::ExecuteCachedOp_DelRegValues,         OPERATION_DEL_REGVALUE},
};
// clang-format on

bool CProductUninstall::ExecuteCachedOps() {
    const std::size_t heavy = m_disableAndStopDrivers.size() + m_disableDrivers.size() + m_execDllMethods.size() +
                              m_execTools.size() + m_killProcesses.size();
    const std::size_t files = m_delFolders.size() + m_delFiles.size() + m_delShortcuts.size();
    m_doneUnits = 0;
    // Entries of m_delRegKeyData earn their unit when they run and are not counted here.
    m_totalUnits = static_cast<DWORD>(heavy * kHeavyUnits + files * kFileUnits + m_delReg.size() * kRegistryUnits);
    for (const Step& step : kSteps) {
        if ((this->*step.isDue)()) {
            const OperationResult result = (this->*step.run)();
            Notify(Callback(), step.kind, static_cast<LONG>(result));
        }
    }
    return true;
}

OperationResult CProductUninstall::ExecuteCachedOp_DisableAndStopDriver() {
    OperationResult kind = _ERROR_SUCCESS;
    for (const DeferredOp& driver : m_disableAndStopDrivers) {
        // Adds to m_disableDrivers, which the next step disables.
        if (!ProcessDisableDriver(driver.attributes, driver.text)) {
            LOG(kWarning, L"failed ProcessDisableDriver for %s", driver.text.c_str());
        }
        const DWORD stopped = Stop(driver.text);
        if (stopped != 0) {
            LOG(kWarning, L"failed %d", stopped);
            kind = _ERROR_FAILED;
        }
        FinishEntry(kHeavyUnits);
    }
    return kind;
}

OperationResult CProductUninstall::ExecuteCachedOp_DisableDriver() {
    OperationResult kind = _ERROR_SUCCESS;
    for (const std::wstring& name : m_disableDrivers) {
        const OperationResult result = Disable(name);
        if (result != _ERROR_SUCCESS) {
            LOG(kWarning, L"failed %s, \"%s\"", ResultName(result), name.c_str());
            kind = _ERROR_FAILED;
        }
        FinishEntry(kHeavyUnits);
    }
    return kind;
}

OperationResult CProductUninstall::ExecuteLibraryMethodsAndTools() {
    const OperationResult methods = ExecuteCachedOp_ExecDllMethod();
    const OperationResult tools = ExecuteCachedOp_ExecTool();
    return methods == _ERROR_FAILED ? methods : tools;
}

OperationResult CProductUninstall::ExecuteCachedOp_ExecDllMethod() {
    OperationResult kind = _ERROR_SUCCESS;
    for (const DeferredOp& method : m_execDllMethods) {
        if (!ProcessExecDllMethod(method.attributes, method.text)) {
            kind = _ERROR_FAILED;
        }
        FinishEntry(kHeavyUnits);
    }
    return kind;
}

OperationResult CProductUninstall::ExecuteCachedOp_ExecTool() {
    OperationResult kind = _ERROR_SUCCESS;
    for (const ExecToolOp& tool : m_execTools) {
        std::optional<Wow64Redirection> off;
        if (tool.disableWow64Redir) {
            off.emplace(CALLER);
        }
        const OperationResult result = RunTool(tool);
        if (result != _ERROR_SUCCESS) {
            LOG(kWarning, L"failed %s, \"%s\"", ResultName(result), tool.commandLine.c_str());
            kind = _ERROR_FAILED;
        }
        off.reset();
        FinishEntry(kHeavyUnits);
    }
    return kind;
}

OperationResult CProductUninstall::ExecuteCachedOp_KillProcess() {
    OperationResult kind = _ERROR_SUCCESS;
    for (const std::wstring& name : m_killProcesses) {
        const OperationResult result = EndProcess(name);
        if (result != _ERROR_SUCCESS) {
            LOG(kWarning, L"failed %s, \"%s\"", ResultName(result), name.c_str());
        }
        if (HasFailed(result)) {
            kind = _ERROR_FAILED;
        }
        FinishEntry(kHeavyUnits);
    }
    return kind;
}

OperationResult CProductUninstall::ExecuteCachedOp_DelFolder() {
    constexpr DeletionTexts kTexts = {L"failed %s delete folder \"%s\", add to restart",
                                      L"failed %s delete folder \"%s\""};
    OperationResult kind = _ERROR_SUCCESS;
    for (const std::wstring& path : m_delFolders) {
        FinishDeletion(CALLER, kTexts, RemoveFolder(path), path, kind);
    }
    return kind;
}

OperationResult CProductUninstall::ExecuteCachedOp_DelFile() {
    constexpr DeletionTexts kTexts = {L"failed %s delete file \"%s\"", L"failed %s delete file \"%s\""};
    OperationResult kind = _ERROR_SUCCESS;
    for (const std::wstring& path : m_delFiles) {
        FinishDeletion(CALLER, kTexts, RemoveFile(path), path, kind);
    }
    return kind;
}

void CProductUninstall::FinishDeletion(const wchar_t* caller, const DeletionTexts& texts, OperationResult result,
                                       const std::wstring& path, OperationResult& kind) {
    switch (result) {
        case _ERROR_SUCCESS:
            break;
        case _ERROR_FAILED:
            // What goes to the restart does not make its kind fail.
            LOG_AS(caller, kInfo, texts.toRestart, ResultName(result), path.c_str());
            AddRestartDel(path);
            break;
        case _ERROR_UNKNOWN:
            LOG_AS(caller, kError, texts.failed, ResultName(result), path.c_str());
            kind = _ERROR_FAILED;
            break;
        case _ERROR_NOT_FOUND:
            LOG_AS(caller, kInfo, texts.failed, ResultName(result), path.c_str());
            break;
    }
    FinishEntry(kFileUnits);
}

OperationResult CProductUninstall::ExecuteCachedOp_DelShortcut() {
    OperationResult kind = _ERROR_SUCCESS;
    for (const DelShortcutOp& shortcut : m_delShortcuts) {
        const OperationResult result = RemoveShortcut(shortcut);
        if (result != _ERROR_SUCCESS) {
            LOG(kInfo, L"COperations DelShortcut failed %s", ResultName(result));
            kind = _ERROR_FAILED;
        }
        FinishEntry(kFileUnits);
    }
    return kind;
}

OperationResult CProductUninstall::ExecuteCachedOp_DelRegKeys() {
    OperationResult kind = _ERROR_SUCCESS;
    const auto finish = [&](OperationResult result, const std::wstring& keyPath) {
        FinishRegistryEntry(CALLER, result, keyPath, kind);
    };
    for (const DelRegKeyDataOp& key : m_delRegKeyData) {
        finish(RemoveKeysBySearch(key), key.keyPath);
    }
    for (const DelRegOp& key : m_delReg) {
        if (!key.isValue) {
            finish(RemoveKey(key), key.keyPath);
        }
    }
    return kind;
}

OperationResult CProductUninstall::ExecuteCachedOp_DelRegValues() {
    OperationResult kind = _ERROR_SUCCESS;
    for (const DelRegOp& value : m_delReg) {
        if (value.isValue) {
            FinishRegistryEntry(CALLER, RemoveValue(value), value.keyPath, kind);
        }
    }
    return kind;
}

void CProductUninstall::FinishRegistryEntry(const wchar_t* caller, OperationResult result, const std::wstring& keyPath,
                                            OperationResult& kind) {
    if (result != _ERROR_SUCCESS) {
        LOG_AS(caller, kError, L"failed %s delete key \"%s\"", ResultName(result), keyPath.c_str());
    }
    if (HasFailed(result)) {
        kind = _ERROR_FAILED;
    }
    FinishEntry(kRegistryUnits);
}

OperationResult CProductUninstall::RemoveShortcut(const DelShortcutOp& shortcut) {
    return m_operations.DelShortcut(shortcut.path, shortcut.target, shortcut.targetIsWholePath, this);
}

OperationResult CProductUninstall::RemoveKeysBySearch(const DelRegKeyDataOp& search) {
    return CRegKeyHelper::DelKeySearch(search.keyPath, search.dataStrings, search.completeStr, search.x32view, this);
}

OperationResult CProductUninstall::RemoveKey(const DelRegOp& key) {
    return CRegKeyHelper::DeleteKey(key.keyPath, key.x32view, this);
}

OperationResult CProductUninstall::RemoveValue(const DelRegOp& value) {
    return CRegKeyHelper::DeleteValue(value.keyPath, value.valueName, value.x32view, this);
}

OperationResult CProductUninstall::RunTool(const ExecToolOp& tool) {
    return m_operations.ExecTool(tool.commandLine, tool.wait, tool.showWindow);
}

OperationResult CProductUninstall::CallMethod(const std::wstring& library, const std::wstring& method) {
    return m_operations.ExecDllMethod(library, method);
}

OperationResult CProductUninstall::Stop(const std::wstring& service) {
    return StopService(service);
}
