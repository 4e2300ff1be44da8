#include "foundation/CSplitKeyPath.h"
#include "foundation/CWow64.h"
#include "foundation/log_statement.h"
#include "foundation/module.h"
#include "foundation/path.h"
#include "foundation/registry_access.h"
#include "operations/CRegKeyHelper.h"
#include "operations/registry_walk.h"
#include "operations/value_pattern.h"

namespace {

using DeleteKeyExFunction = LONG(WINAPI*)(HKEY key, LPCWSTR subkey, REGSAM access, DWORD reserved);

void SetFlag(bool* flag, bool value) {
    if (flag != nullptr) {
        *flag = value;
    }
}

bool IsUsedKey(IUsed* used, const std::wstring& keyPath, bool x32view) {
    return used != nullptr && used->IsUsedRegKey(keyPath, x32view);
}

bool IsUsedValue(IUsed* used, const std::wstring& keyPath, const std::wstring& name, bool x32view) {
    return used != nullptr && used->IsUsedRegValue(keyPath, name, x32view);
}

constexpr HiveTexts kTexts = {L"can't delete unknown hkey=0x%x, subkey=\"%s\"", L"\"%s\" \\ \"%s\""};

// What deletion is about: one key in one view.
struct Target {
    HKEY hive;
    const std::wstring& subkey;
    bool x32view;
    IUsed* used;
    std::wstring full;  // with the long hive name
};

void DeleteValues(const wchar_t* caller, HKEY key, const Target& target, bool& keptSomething) {
    std::vector<std::wstring> names;
    const OperationResult result = CRegKeyHelper::GetValues(key, names);
    if (result != _ERROR_SUCCESS) {
        LOG_AS(caller, kError, L"GetValues failed %s", ResultName(result));
    }
    for (const std::wstring& name : names) {
        if (IsUsedValue(target.used, target.full, name, target.x32view)) {
            keptSomething = true;
            continue;
        }
        const LONG error = ::RegDeleteValueW(key, name.c_str());
        if (error != ERROR_SUCCESS) {
            LOG_AS(caller, kError, L"RegDeleteValue \"%s\" failed 0x%x", name.c_str(), error);
        }
    }
}

void DeleteSubkeys(const wchar_t* caller, HKEY key, const Target& target, bool& keptSomething) {
    std::vector<std::wstring> names;
    const OperationResult result = CRegKeyHelper::GetSubKeys(key, names);
    if (result != _ERROR_SUCCESS) {
        LOG_AS(caller, kError, L"GetSubKeys failed %s", ResultName(result));
    }
    for (const std::wstring& name : names) {
        std::wstring child = target.subkey;
        PathJoin(child, name);
        bool childKept = false;
        const OperationResult deleted =
            CRegKeyHelper::DeleteKey(target.hive, child, target.x32view, target.used, &childKept);
        if (deleted != _ERROR_SUCCESS) {
            LOG_AS(caller, kError, L"DeleteKey \"%s\" failed 0x%x", name.c_str(), deleted);
        } else if (childKept) {
            keptSomething = true;
        }
    }
}

OperationResult DeleteMatching(const wchar_t* caller, HKEY key, const ValuePattern& pattern, const Target& target,
                               bool* usedFlag) {
    std::vector<std::wstring> names;
    OperationResult result = CRegKeyHelper::GetValues(key, names);
    if (result != _ERROR_SUCCESS) {
        LOG_AS(caller, kError, L"GetValues failed %s", ResultName(result));
    }
    for (const std::wstring& name : names) {
        if (!pattern.Matches(name)) {
            continue;
        }
        LOG_AS(caller, kInfo, L"\t\tDelete \"%s\"", name.c_str());
        if (IsUsedValue(target.used, target.full, name, target.x32view)) {
            SetFlag(usedFlag, true);
            LOG_AS(caller, kInfo, L"in use");
            continue;
        }
        const LONG error = ::RegDeleteValueW(key, name.c_str());
        if (error != ERROR_SUCCESS) {
            LOG_AS(caller, kError, L"RegDeleteValue \"%s\" failed 0x%x", name.c_str(), error);
            result = _ERROR_FAILED;
        }
    }
    return result;
}

}  // namespace

OperationResult CRegKeyHelper::DeleteKey(const std::wstring& path, bool x32view, IUsed* used) {
    LOG(kInfo, L"->\"%s\"", path.c_str());
    if (IsUsedKey(used, path, x32view)) {
        LOG(kInfo, L"in use");
        return _ERROR_SUCCESS;
    }
    return AtPath(path, [&](HKEY hive, const std::wstring& subkey) {
        bool unread = false;
        return DeleteKey(hive, subkey, x32view, used, &unread);
    });
}

OperationResult CRegKeyHelper::DeleteKey(HKEY hive, const std::wstring& subkey, bool x32view, IUsed* used,
                                         bool* usedFlag) {
    const wchar_t* const hiveName = RequireHiveName(CALLER, kTexts, hive, subkey);
    if (hiveName == nullptr) {
        return _ERROR_FAILED;
    }
    const Target target = {hive, subkey, x32view, used, FullKeyPath(hiveName, subkey)};
    if (IsUsedKey(used, target.full, x32view)) {
        SetFlag(usedFlag, true);
        LOG(kInfo, L"in use");
        return _ERROR_SUCCESS;
    }
    OwnedRegKey key;
    if (!OpenKeyOrLog(CALLER, hive, subkey, x32view, key)) {
        return _ERROR_NOT_FOUND;
    }
    bool keptSomething = false;
    DeleteValues(CALLER, key.Get(), target, keptSomething);
    DeleteSubkeys(CALLER, key.Get(), target, keptSomething);
    key.Reset();
    SetFlag(usedFlag, keptSomething);
    // A caller that gave no flag does not care what is kept.
    if (usedFlag != nullptr && keptSomething) {
        return _ERROR_SUCCESS;
    }
    const LONG error = DeleteKeyEx(hive, subkey, FullAccess(x32view));
    if (error != ERROR_SUCCESS) {
        LOG(kError, L"DeleteKeyEx \"%s\" \\ \"%s\" failed 0x%x", hiveName, subkey.c_str(), error);
        return _ERROR_FAILED;
    }
    return _ERROR_SUCCESS;
}

LONG CRegKeyHelper::DeleteKeyEx(HKEY hive, const std::wstring& subkey, REGSAM access) {
    if (CWow64::Instance().IsWow64Process()) {
        const HMODULE advapi32 = ::GetModuleHandleW(L"Advapi32.dll");
        if (advapi32 == nullptr) {
            const DWORD error = ::GetLastError();
            LOG(kWarning, L"GetModuleHandle Advapi32.dll failed 0x%x", error);
        } else if (const FARPROC found = ::GetProcAddress(advapi32, "RegDeleteKeyExW")) {
            return EntryPointCast<DeleteKeyExFunction>(found)(hive, subkey.c_str(), access, 0);
        } else {
            const DWORD error = ::GetLastError();
            LOG(kWarning, L"GetProcAddress RegDeleteKeyEx failed 0x%x", error);
        }
    }
    return ::RegDeleteKeyW(hive, subkey.c_str());
}

OperationResult CRegKeyHelper::DeleteValue(const std::wstring& path, const std::wstring& nameOrPattern, bool x32view,
                                           IUsed* used) {
    LOG(kInfo, L"->\"%s\" \"%s\"", path.c_str(), nameOrPattern.c_str());
    return AtPath(path, [&](HKEY hive, const std::wstring& subkey) {
        bool unread = false;
        return DeleteValue(hive, subkey, nameOrPattern, x32view, used, &unread);
    });
}

OperationResult CRegKeyHelper::DeleteValue(HKEY hive, const std::wstring& subkey, const std::wstring& nameOrPattern,
                                           bool x32view, IUsed* used, bool* usedFlag) {
    const wchar_t* const hiveName = RequireHiveName(CALLER, kTexts, hive, subkey);
    if (hiveName == nullptr) {
        return _ERROR_FAILED;
    }
    const Target target = {hive, subkey, x32view, used, FullKeyPath(hiveName, subkey)};
    OwnedRegKey key;
    LONG error = OpenKey(hive, subkey, x32view, key);
    if (error != ERROR_SUCCESS) {
        LOG(kError, L"RegOpenKeyEx \"%s\" \\ \"%s\" failed 0x%x", hiveName, subkey.c_str(), error);
        return _ERROR_NOT_FOUND;
    }
    SetFlag(usedFlag, false);
    if (ValuePattern::IsPattern(nameOrPattern)) {
        const ValuePattern pattern(nameOrPattern);
        return AcceptPattern(CALLER, pattern, nameOrPattern, key)
                   ? DeleteMatching(CALLER, key.Get(), pattern, target, usedFlag)
                   : _ERROR_FAILED;
    }
    if (IsUsedValue(used, target.full, nameOrPattern, x32view)) {
        SetFlag(usedFlag, true);
        LOG(kInfo, L"in use");
        key.LeaveOpen();  // where the name is in use
        return _ERROR_SUCCESS;
    }
    error = ::RegDeleteValueW(key.Get(), nameOrPattern.c_str());
    if (error == ERROR_SUCCESS) {
        return _ERROR_SUCCESS;
    }
    return MeansMissing(static_cast<DWORD>(error)) ? _ERROR_NOT_FOUND : _ERROR_FAILED;
}
