// The handlers of the walk: each adds a record to the list of its kind.

#include <cwchar>
#include <optional>

#include "foundation/CWow64.h"
#include "foundation/log_statement.h"
#include "script/CProductUninstall.h"
#include "script/operation_request.h"
#include "script/vocabulary.h"

namespace {

constexpr logging::LogFormat<> kNoName = L"name attributte is missing";

// True, with a line, if the element is not meant for this system.
bool IsForOtherSystem(const wchar_t* caller, const OperationAttributes& attributes, const std::wstring& appPath) {
    const std::wstring* const os = attributes.Find(attribute::kOs);
    if (os == nullptr) {
        return false;
    }
    const bool is64Bit = CWow64::Instance().Is64BitSystem();
    if (*os == L"x32" && is64Bit) {
        LOG_AS(caller, kNotice, L"Will not execute x32 operation on x64 OS! AppPath=%s", appPath.c_str());
        return true;
    }
    if (*os == L"x64" && !is64Bit) {
        LOG_AS(caller, kNotice, L"Will not execute x64 operation on x32 OS! AppPath=%s", appPath.c_str());
        return true;
    }
    return false;
}

}  // namespace

bool CProductUninstall::ExecOperation(const OperationAttributes& attributes, const std::wstring& appPath) {
    const std::wstring* const restart = attributes.Find(attribute::kRestartRequired);
    // Every value but "yes" asks for a restart; scripts are written to this sense.
    if (!m_restartRequired && restart != nullptr && !IsYes(restart)) {
        LOG(kInfo, L"RESTART REQUIRED");
        m_restartRequired = true;
    }
    return CProductConfig::ExecOperation(attributes, appPath);
}

bool CProductUninstall::ProcessDelFile(const OperationAttributes& attributes, const std::wstring& appPath) {
    FileRequest request;
    if (!ReadFileRequest(CALLER, attributes, appPath, request)) {
        return false;
    }
    if (!request.atRestart) {
        m_cached.delFiles.push_back(std::move(request.path));
    } else if (m_operations.CheckFile(request.path) == _ERROR_NOT_FOUND) {
        LOG(kInfo, L"##### \"%s\" ERROR_NOT_FOUND", request.path.c_str());
    } else if (IsUsedFile(request.path)) {
        LOG(kInfo, L"in use");
    } else {
        AddRestartDel(request.path);
    }
    return true;
}

bool CProductUninstall::ProcessDelFolder(const OperationAttributes& attributes, const std::wstring& appPath) {
    std::wstring path;
    if (!ReadFolderRequest(CALLER, attributes, appPath, path)) {
        return false;
    }
    m_cached.delFolders.push_back(std::move(path));
    return true;
}

bool CProductUninstall::ProcessDelShortcut(const OperationAttributes& attributes, const std::wstring& appPath) {
    ShortcutRequest request;
    if (!ReadShortcutRequest(CALLER, attributes, appPath, request)) {
        return false;
    }
    m_cached.delShortcuts.push_back({std::move(request.path), std::move(request.target), request.targetIsWholePath});
    return true;
}

bool CProductUninstall::ProcessDelRegKey(const OperationAttributes& attributes, const std::wstring&) {
    RegKeyRequest request;
    if (!ReadRegKeyRequest(CALLER, attributes, LastPiece::Kept, request)) {
        return false;
    }
    if (request.search) {
        m_cached.delRegKeyData.push_back(
            {std::move(request.keyPath), std::move(request.dataStrings), request.completeStr, request.x32view});
    } else {
        m_cached.delReg.push_back({std::move(request.keyPath), {}, request.x32view, false});
    }
    return true;
}

bool CProductUninstall::ProcessDelRegVal(const OperationAttributes& attributes, const std::wstring& appPath) {
    RegValueRequest request;
    if (!ReadRegValueRequest(CALLER, attributes, appPath, L"unknow special folder \"%s\"", request)) {
        return false;
    }
    m_cached.delReg.push_back({std::move(request.keyPath), std::move(request.valueName), request.x32view, true});
    return true;
}

bool CProductUninstall::ProcessKillProcess(const OperationAttributes& attributes, const std::wstring&) {
    const std::wstring* const name = attributes.Find(attribute::kTargetName);
    if (name == nullptr) {
        return false;
    }
    m_cached.killProcesses.push_back(*name);
    return true;
}

bool CProductUninstall::ProcessExecTool(const OperationAttributes& attributes, const std::wstring& appPath) {
    if (attributes.Find(attribute::kModule) != nullptr) {
        m_cached.execDllMethods.push_back({attributes, appPath});
        return true;
    }
    if (IsForOtherSystem(CALLER, attributes, appPath)) {
        return true;
    }
    std::wstring path;
    if (!ReadToolPath(CALLER, attributes, appPath, attribute::kToolName, path)) {
        return false;
    }
    const std::wstring* const given = attributes.Find(attribute::kCmdLine);
    const std::wstring parameters = given != nullptr ? *given : std::wstring();
    if (IsUsedTool(path, parameters)) {
        LOG(kInfo, L"in use");
        return true;
    }
    m_cached.execTools.push_back({L"\"" + path + L"\" " + parameters, IsYes(attributes.Find(attribute::kWait)),
                                  IsYes(attributes.Find(attribute::kShowWindow)),
                                  IsYes(attributes.Find(attribute::kDisableWow64Redir))});
    return true;
}

bool CProductUninstall::ProcessExecDllMethod(const OperationAttributes& attributes, const std::wstring& appPath) {
    if (!RequireModule(CALLER, attributes)) {
        return false;
    }
    if (IsForOtherSystem(CALLER, attributes, appPath)) {
        return true;
    }
    const std::wstring* const method = RequireMethodName(CALLER, attributes);
    std::wstring path;
    if (method == nullptr || !ReadToolPath(CALLER, attributes, appPath, attribute::kModule, path)) {
        return false;
    }
    if (IsUsedTool(path, *method)) {
        LOG(kInfo, L"in use");
        return true;
    }
    std::optional<Wow64Redirection> off;
    if (IsYes(attributes.Find(attribute::kDisableWow64Redir))) {
        off.emplace(CALLER);
    }
    const OperationResult result = CallMethod(path, *method);
    if (result != _ERROR_SUCCESS) {
        LOG(kWarning, L"failed %s, \"%s\" \"%s\"", ResultName(result), path.c_str(), method->c_str());
        return false;
    }
    if (const std::wstring* const sleep = attributes.Find(attribute::kSleepAfterExec)) {
        ProcessSleep(::_wtoi(sleep->c_str()));
    }
    return true;
}

bool CProductUninstall::ProcessSleep(int milliseconds) {
    LOG(kInfo, L"SLEEP %d", milliseconds);
    ::Sleep(static_cast<DWORD>(milliseconds));
    return true;
}

bool CProductUninstall::ProcessDisableDriver(const OperationAttributes& attributes, const std::wstring&) {
    const std::wstring* const name = RequireDriverName(CALLER, attributes, kNoName);
    if (name == nullptr) {
        return false;
    }
    m_cached.disableDrivers.push_back(*name);
    return true;
}

bool CProductUninstall::ProcessDisableAndStopDriver(const OperationAttributes& attributes, const std::wstring&) {
    const std::wstring* const name = RequireDriverName(CALLER, attributes, kNoName);
    if (name == nullptr) {
        return false;
    }
    m_cached.disableAndStopDrivers.push_back({attributes, *name});
    return true;
}
