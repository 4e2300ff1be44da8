#include "foundation/CSplitKeyPath.h"
#include "foundation/log_statement.h"
#include "operations/CRegKeyHelper.h"
#include "operations/registry_walk.h"
#include "operations/value_pattern.h"

namespace {

// A handle that is no hive is named by the subkey alone, and the check goes on.
void LogStart(const wchar_t* caller, HKEY base, const std::wstring& subkey) {
    if (const wchar_t* const hiveName = HiveName(base)) {
        LOG_AS(caller, kInfo, L"\"%s\" \\ \"%s\"", hiveName, subkey.c_str());
    } else {
        LOG_AS(caller, kInfo, L"\"%s\"", subkey.c_str());
    }
}

}  // namespace

OperationResult CRegKeyHelper::CheckKey(const std::wstring& path, bool x32view) {
    LOG(kInfo, L"->\"%s\"", path.c_str());
    return AtPath(path, [&](HKEY hive, const std::wstring& subkey) { return CheckKey(hive, subkey, x32view); });
}

OperationResult CRegKeyHelper::CheckKey(HKEY hive, const std::wstring& subkey, bool x32view) {
    LogStart(CALLER, hive, subkey);
    OwnedRegKey key;
    if (!OpenKeyOrLog(CALLER, hive, subkey, x32view, key)) {
        return _ERROR_NOT_FOUND;
    }
    return _ERROR_SUCCESS;
}

OperationResult CRegKeyHelper::CheckKeySearch(const std::wstring& path, const std::vector<std::wstring>& search,
                                              bool complete, bool x32view) {
    LOG(kInfo, L"path = \"%s\"", path.c_str());
    return AtPath(path, [&](HKEY hive, const std::wstring& subkey) {
        const OperationResult result = CheckKeySearch(hive, subkey, search, complete, x32view);
        LOG(kInfo, L"path = \"%s\", err = %s", path.c_str(), ResultName(result));
        return result;
    });
}

OperationResult CRegKeyHelper::CheckKeySearch(HKEY base, const std::wstring& subkey,
                                              const std::vector<std::wstring>& search, bool complete, bool x32view) {
    LogStart(CALLER, base, subkey);
    OwnedRegKey key;
    if (!OpenKeyOrLog(CALLER, base, subkey, x32view, key)) {
        return _ERROR_NOT_FOUND;
    }
    LongestEntries longest;
    if (!ReadLongestOrLog(CALLER, key.Get(), subkey, longest)) {
        return _ERROR_UNKNOWN;
    }
    const Found found = SearchValues(CALLER, key.Get(), subkey, longest, search, complete, nullptr);
    if (found != Found::Nothing) {
        return found == Found::Match ? _ERROR_SUCCESS : _ERROR_UNKNOWN;
    }
    SubkeyEnumeration subkeys(key.Get(), longest);
    for (;;) {
        const LONG error = subkeys.Next();
        if (error == ERROR_NO_MORE_ITEMS) {
            return _ERROR_SUCCESS;
        }
        if (error == ERROR_MORE_DATA) {
            continue;
        }
        if (error != ERROR_SUCCESS) {
            LOG(kError, L"RegEnumKeyEx \"%s\" failed 0x%x", subkey.c_str(), error);
            return _ERROR_UNKNOWN;
        }
        // The child's whole path is looked for below this key, not below the hive: the subkey stands there twice, such
        // a path rarely exists, and in effect the values of the first key alone are read.
        const std::wstring child = subkey + L'\\' + subkeys.Name();
        if (CheckKeySearch(key.Get(), child, search, complete, x32view) == _ERROR_SUCCESS) {
            return _ERROR_SUCCESS;
        }
    }
}

OperationResult CRegKeyHelper::CheckValue(const std::wstring& path, const std::wstring& nameOrPattern, bool x32view) {
    LOG(kInfo, L"\"%s\" \"%s\"", path.c_str(), nameOrPattern.c_str());
    return AtPath(
        path, [&](HKEY hive, const std::wstring& subkey) { return CheckValue(hive, subkey, nameOrPattern, x32view); });
}

OperationResult CRegKeyHelper::CheckValue(HKEY hive, const std::wstring& subkey, const std::wstring& nameOrPattern,
                                          bool x32view) {
    LogStart(CALLER, hive, subkey);
    OwnedRegKey key;
    const LONG error = OpenKey(hive, subkey, x32view, key);
    if (error != ERROR_SUCCESS) {
        if (const wchar_t* const hiveName = HiveName(hive)) {
            LOG(kError, L"RegOpenKeyEx \"%s\" \\ \"%s\" failed 0x%x", hiveName, subkey.c_str(), error);
        } else {
            LOG(kError, L"RegOpenKeyEx \"%s\" failed 0x%x", subkey.c_str(), error);
        }
        return _ERROR_NOT_FOUND;
    }
    if (!ValuePattern::IsPattern(nameOrPattern)) {
        const LONG queried = ::RegQueryValueExW(key.Get(), nameOrPattern.c_str(), nullptr, nullptr, nullptr, nullptr);
        return queried == ERROR_SUCCESS ? _ERROR_SUCCESS : _ERROR_NOT_FOUND;
    }
    const ValuePattern pattern(nameOrPattern);
    if (!AcceptPattern(CALLER, pattern, nameOrPattern, key)) {
        return _ERROR_FAILED;
    }
    std::vector<std::wstring> names;
    const OperationResult read = GetValues(key.Get(), names);
    if (read != _ERROR_SUCCESS) {
        LOG(kError, L"GetValues failed %s", ResultName(read));
        names.clear();
    }
    for (const std::wstring& name : names) {
        if (pattern.MatchesMirrored(name)) {
            return _ERROR_SUCCESS;
        }
    }
    return _ERROR_FAILED;
}
