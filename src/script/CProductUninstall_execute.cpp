// The cached operations: thinned, then run kind by kind in one fixed order.

#include <iterator>
#include <optional>

#include "foundation/CWow64.h"
#include "foundation/log_statement.h"
#include "foundation/notify.h"
#include "operations/CRegKeyHelper.h"
#include "operations/service_stop.h"
#include "script/CProductUninstall.h"

namespace {

// Units of work that one entry of a list is worth.
constexpr DWORD kHeavyUnits = 100;  // services, tools, library methods, processes
constexpr DWORD kFileUnits = 10;    // files, folders, shortcuts
constexpr DWORD kRegistryUnits = 1;

// Not found counts as done.
bool HasFailed(OperationResult result) {
    return result != _ERROR_SUCCESS && result != _ERROR_NOT_FOUND;
}

// Entries of delRegKeyData earn their unit when they run and are not counted here.
DWORD TotalUnits(const CachedOperations& cached) {
    const std::size_t heavy = cached.disableAndStopDrivers.size() + cached.disableDrivers.size() +
                              cached.execDllMethods.size() + cached.execTools.size() + cached.killProcesses.size();
    const std::size_t files = cached.delFolders.size() + cached.delFiles.size() + cached.delShortcuts.size();
    return static_cast<DWORD>(heavy * kHeavyUnits + files * kFileUnits + cached.delReg.size() * kRegistryUnits);
}

}  // namespace

bool CProductUninstall::SortCachedOps() {
    m_cached.SortAndThin();
    m_restartDel.Sort();  // holds no text twice
    return true;
}

struct CProductUninstall::DeletionTexts {
    logging::LogFormat<const wchar_t*, const wchar_t*> toRestart;
    logging::LogFormat<const wchar_t*, const wchar_t*> failed;
};

struct CProductUninstall::Step {
    bool (*isDue)(const CachedOperations& cached);  // asked when the step's turn comes
    OperationResult (CProductUninstall::*run)();
    OperationKind kind;
};

// The order of a removal. The two registry steps are due by delReg alone.
// clang-format off
const CProductUninstall::Step CProductUninstall::kSteps[] = {
    {[](const CachedOperations& cached) { return !cached.disableAndStopDrivers.empty(); },
     &CProductUninstall::ExecuteCachedOp_DisableAndStopDriver, OPERATION_DISABLEANDSTOP_DRIVER},
    {[](const CachedOperations& cached) { return !cached.disableDrivers.empty(); },
     &CProductUninstall::ExecuteCachedOp_DisableDriver,        OPERATION_DISABLE_DRIVER},
    {[](const CachedOperations& cached) { return !cached.execDllMethods.empty() || !cached.execTools.empty(); },
     &CProductUninstall::ExecuteLibraryMethodsAndTools,        OPERATION_EXEC_TOOL},
    {[](const CachedOperations& cached) { return !cached.killProcesses.empty(); },
     &CProductUninstall::ExecuteCachedOp_KillProcess,          OPERATION_KILL_PROCESS},
    {[](const CachedOperations& cached) { return !cached.delFolders.empty(); },
     &CProductUninstall::ExecuteCachedOp_DelFolder,            OPERATION_DEL_FOLDER},
    {[](const CachedOperations& cached) { return !cached.delFiles.empty(); },
     &CProductUninstall::ExecuteCachedOp_DelFile,              OPERATION_DEL_FILE},
    {[](const CachedOperations& cached) { return !cached.delShortcuts.empty(); },
     &CProductUninstall::ExecuteCachedOp_DelShortcut,          OPERATION_DEL_SHORTCUT},
    {[](const CachedOperations& cached) { return !cached.delReg.empty(); },
     &CProductUninstall::ExecuteCachedOp_DelRegKeys,           OPERATION_DEL_REGKEY},
    {[](const CachedOperations& cached) { return !cached.delReg.empty(); },
     &CProductUninstall::ExecuteCachedOp_DelRegValues,         OPERATION_DEL_REGVALUE},
};
// clang-format on

bool CProductUninstall::ExecuteCachedOps() {
    // Every kind has a step but the two service kinds that stand for their driver kinds.
    static_assert(std::size(kSteps) == OPERATION_DISABLEANDSTOP_SERVICE - OPERATION_DEL_FILE + 1 - 2);
    m_doneUnits = 0;
    m_totalUnits = TotalUnits(m_cached);
    for (const Step& step : kSteps) {
        if (step.isDue(m_cached)) {
            const OperationResult result = (this->*step.run)();
            Notify(Callback(), step.kind, static_cast<LONG>(result));
        }
    }
    return true;
}

OperationResult CProductUninstall::ExecuteCachedOp_DisableAndStopDriver() {
    OperationResult kind = _ERROR_SUCCESS;
    for (const DeferredOp& driver : m_cached.disableAndStopDrivers) {
        // Adds to m_cached.disableDrivers, which the next step disables.
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
    for (const std::wstring& name : m_cached.disableDrivers) {
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
    for (const DeferredOp& method : m_cached.execDllMethods) {
        if (!ProcessExecDllMethod(method.attributes, method.text)) {
            kind = _ERROR_FAILED;
        }
        FinishEntry(kHeavyUnits);
    }
    return kind;
}

OperationResult CProductUninstall::ExecuteCachedOp_ExecTool() {
    OperationResult kind = _ERROR_SUCCESS;
    for (const ExecToolOp& tool : m_cached.execTools) {
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
    for (const std::wstring& name : m_cached.killProcesses) {
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
    for (const std::wstring& path : m_cached.delFolders) {
        FinishDeletion(CALLER, kTexts, RemoveFolder(path), path, kind);
    }
    return kind;
}

OperationResult CProductUninstall::ExecuteCachedOp_DelFile() {
    constexpr DeletionTexts kTexts = {L"failed %s delete file \"%s\"", L"failed %s delete file \"%s\""};
    OperationResult kind = _ERROR_SUCCESS;
    for (const std::wstring& path : m_cached.delFiles) {
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
    for (const DelShortcutOp& shortcut : m_cached.delShortcuts) {
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
    for (const DelRegKeyDataOp& key : m_cached.delRegKeyData) {
        finish(RemoveKeysBySearch(key), key.keyPath);
    }
    for (const DelRegOp& key : m_cached.delReg) {
        if (!key.isValue) {
            finish(RemoveKey(key), key.keyPath);
        }
    }
    return kind;
}

OperationResult CProductUninstall::ExecuteCachedOp_DelRegValues() {
    OperationResult kind = _ERROR_SUCCESS;
    for (const DelRegOp& value : m_cached.delReg) {
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
