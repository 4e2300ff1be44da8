#include "foundation/CSplitKeyPath.h"
#include "foundation/log_statement.h"
#include "foundation/path.h"
#include "operations/CRegKeyHelper.h"
#include "operations/registry_walk.h"
#include "operations/value_pattern.h"

namespace {

constexpr HiveTexts kTexts = {L"can't expand unknown hkey=0x%x, subkey=\"%s\"", L"\"%s\" \\ \"%s\""};

RegistryEntry EntryBelow(const std::wstring& base, const std::wstring& name, bool x32view) {
    RegistryEntry entry = {base, x32view};
    PathJoin(entry.path, name);
    return entry;
}

}  // namespace

OperationResult CRegKeyHelper::ExpandKey(const std::wstring& path, bool x32view, std::vector<RegistryEntry>& keys,
                                         std::vector<RegistryEntry>& values) {
    LOG(kInfo, L"->\"%s\"", path.c_str());
    return AtPath(path, [&](HKEY hive, const std::wstring& subkey) {
        keys.push_back({path, x32view});
        return ExpandKey(hive, subkey, x32view, keys, values);
    });
}

OperationResult CRegKeyHelper::ExpandKey(HKEY hive, const std::wstring& subkey, bool x32view,
                                         std::vector<RegistryEntry>& keys, std::vector<RegistryEntry>& values) {
    const wchar_t* const hiveName = RequireHiveName(CALLER, kTexts, hive, subkey);
    if (hiveName == nullptr) {
        return _ERROR_FAILED;
    }
    OwnedRegKey key;
    if (!OpenKeyOrLog(CALLER, hive, subkey, x32view, key)) {
        return _ERROR_NOT_FOUND;
    }
    const std::wstring base = FullKeyPath(hiveName, subkey);
    std::vector<std::wstring> names;
    OperationResult result = GetValues(key.Get(), names);
    if (result != _ERROR_SUCCESS) {
        LOG(kError, L"GetValues failed %s", ResultName(result));
    }
    for (const std::wstring& name : names) {
        values.push_back(EntryBelow(base, name, x32view));
    }
    names.clear();
    result = GetSubKeys(key.Get(), names);
    if (result != _ERROR_SUCCESS) {
        LOG(kError, L"GetSubKeys failed %s", ResultName(result));
    }
    for (const std::wstring& name : names) {
        keys.push_back(EntryBelow(base, name, x32view));
        std::wstring child = subkey;
        PathJoin(child, name);
        result = ExpandKey(hive, child, x32view, keys, values);
        if (result != _ERROR_SUCCESS) {
            LOG(kWarning, L"ExpandKey \"%s\" \\ \"%s\" failed %s", hiveName, child.c_str(), ResultName(result));
        }
    }
    return _ERROR_SUCCESS;
}

OperationResult CRegKeyHelper::ExpandKeySearch(const std::wstring& path, const std::vector<std::wstring>& search,
                                               bool complete, bool x32view, std::vector<RegistryEntry>& keys,
                                               std::vector<RegistryEntry>& values) {
    LOG(kInfo, L"path = \"%s\"", path.c_str());
    const OperationResult result = AtPath(path, [&](HKEY hive, const std::wstring& subkey) {
        return ExpandKeySearch(hive, subkey, search, complete, x32view, keys, values);
    });
    LOG(kInfo, L"path = \"%s\", err = %s", path.c_str(), ResultName(result));
    return result;
}

OperationResult CRegKeyHelper::ExpandKeySearch(HKEY hive, const std::wstring& subkey,
                                               const std::vector<std::wstring>& search, bool complete, bool x32view,
                                               std::vector<RegistryEntry>& keys, std::vector<RegistryEntry>& values) {
    const wchar_t* const hiveName = RequireHiveName(CALLER, kTexts, hive, subkey);
    if (hiveName == nullptr) {
        return _ERROR_FAILED;
    }
    OwnedRegKey key;
    if (!OpenKeyOrLog(CALLER, hive, subkey, x32view, key)) {
        return _ERROR_NOT_FOUND;
    }
    LongestEntries longest;
    if (!ReadLongestOrLog(CALLER, key.Get(), subkey, longest)) {
        return _ERROR_UNKNOWN;
    }
    constexpr logging::LogFormat<> kRetry = L"RegEnumValue ERROR_MORE_DATA";
    const Found found = SearchValues(CALLER, key.Get(), subkey, longest, search, complete, &kRetry);
    if (found == Found::Match) {
        key.Reset();
        keys.push_back({FullKeyPath(hiveName, subkey), x32view});
        return ExpandKey(hive, subkey, x32view, keys, values);
    }
    if (found == Found::Failure) {
        return _ERROR_UNKNOWN;
    }
    SubkeyEnumeration subkeys(key.Get(), longest);
    for (;;) {
        const LONG error = subkeys.Next();
        if (error == ERROR_NO_MORE_ITEMS) {
            return _ERROR_SUCCESS;
        }
        if (error == ERROR_MORE_DATA) {
            LOG(kInfo, L"RegEnumKeyEx ERROR_MORE_DATA");
            continue;
        }
        if (error != ERROR_SUCCESS) {
            LOG(kError, L"RegEnumKeyEx \"%s\" failed 0x%x", subkey.c_str(), error);
            return _ERROR_UNKNOWN;
        }
        const std::wstring child = subkey + L'\\' + subkeys.Name();
        const OperationResult result = ExpandKeySearch(hive, child, search, complete, x32view, keys, values);
        if (result != _ERROR_SUCCESS) {
            LOG(kWarning, L"ExpandKeySearch \"%s\" \\ \"%s\" failed %s", hiveName, child.c_str(), ResultName(result));
        }
    }
}

OperationResult CRegKeyHelper::ExpandValue(const std::wstring& path, const std::wstring& nameOrPattern, bool x32view,
                                           std::vector<RegistryEntry>& values) {
    LOG(kInfo, L"->\"%s\" \"%s\"", path.c_str(), nameOrPattern.c_str());
    return AtPath(path, [&](HKEY hive, const std::wstring& subkey) {
        return ExpandValue(hive, subkey, nameOrPattern, x32view, values);
    });
}

OperationResult CRegKeyHelper::ExpandValue(HKEY hive, const std::wstring& subkey, const std::wstring& nameOrPattern,
                                           bool x32view, std::vector<RegistryEntry>& values) {
    const wchar_t* const hiveName = RequireHiveName(CALLER, kTexts, hive, subkey);
    if (hiveName == nullptr) {
        return _ERROR_FAILED;
    }
    OwnedRegKey key;
    const LONG error = OpenKey(hive, subkey, x32view, key);
    if (error != ERROR_SUCCESS) {
        LOG(kError, L"RegOpenKeyEx \"%s\" \\ \"%s\" failed 0x%x", hiveName, subkey.c_str(), error);
        return _ERROR_NOT_FOUND;
    }
    const std::wstring base = FullKeyPath(hiveName, subkey);
    if (!ValuePattern::IsPattern(nameOrPattern)) {
        values.push_back(EntryBelow(base, nameOrPattern, x32view));
        return _ERROR_SUCCESS;
    }
    const ValuePattern pattern(nameOrPattern);
    if (!AcceptPattern(CALLER, pattern, nameOrPattern, key)) {
        return _ERROR_FAILED;
    }
    std::vector<std::wstring> names;
    const OperationResult result = GetValues(key.Get(), names);
    if (result != _ERROR_SUCCESS) {
        LOG(kError, L"GetValues failed %s", ResultName(result));
    }
    for (const std::wstring& name : names) {
        if (pattern.Matches(name)) {
            values.push_back(EntryBelow(base, name, x32view));
        }
    }
    return result;
}
