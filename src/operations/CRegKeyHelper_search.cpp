#include <algorithm>

#include "foundation/CSplitKeyPath.h"
#include "foundation/log_statement.h"
#include "operations/CRegKeyHelper.h"
#include "operations/registry_walk.h"

namespace {

// Values that cannot be read to the end hold no match.
bool HoldsMatch(HKEY key, const std::vector<std::wstring>& search, bool complete) {
    std::vector<RegValueEntry> values;
    return CRegKeyHelper::GetValues(key, values) == _ERROR_SUCCESS &&
           std::any_of(values.begin(), values.end(), [&](const RegValueEntry& value) {
               return DataMatches(value.type, value.data, search, complete);
           });
}

}  // namespace

OperationResult CRegKeyHelper::DelKeySearch(const std::wstring& path, const std::vector<std::wstring>& search,
                                            bool complete, bool x32view, IUsed* used) {
    LOG(kInfo, L"path = \"%s\"", path.c_str());
    const OperationResult result = AtPath(path, [&](HKEY hive, const std::wstring& subkey) {
        bool unread = false;
        return DelKeySearch(hive, subkey, search, complete, x32view, used, &unread);
    });
    LOG(kInfo, L"path = \"%s\", err = %s", path.c_str(), ResultName(result));
    return result;
}

OperationResult CRegKeyHelper::DelKeySearch(HKEY hive, const std::wstring& subkey,
                                            const std::vector<std::wstring>& search, bool complete, bool x32view,
                                            IUsed* used, bool* usedFlag) {
    constexpr HiveTexts kTexts = {L"DelKeySearch unknown hkey=0x%x, subkey=\"%s\"", L"DelKeySearch \"%s\" \\ \"%s\""};
    if (RequireHiveName(CALLER, kTexts, hive, subkey) == nullptr) {
        return _ERROR_FAILED;
    }
    OwnedRegKey key;
    if (!OpenKeyOrLog(CALLER, hive, subkey, x32view, key)) {
        return _ERROR_NOT_FOUND;
    }
    if (usedFlag != nullptr) {
        *usedFlag = false;
    }
    if (HoldsMatch(key.Get(), search, complete)) {
        key.Reset();
        return DeleteKey(hive, subkey, x32view, used, usedFlag);
    }
    std::vector<std::wstring> names;
    OperationResult result = GetSubKeys(key.Get(), names);
    if (result != _ERROR_SUCCESS) {
        LOG(kError, L"GetSubKeys failed 0x%x", 0);  // the number is always this one
        return result;
    }
    for (const std::wstring& name : names) {
        const std::wstring child = subkey + L'\\' + name;
        bool childKept = false;
        const OperationResult deleted = DelKeySearch(hive, child, search, complete, x32view, used, &childKept);
        if (childKept && usedFlag != nullptr) {
            *usedFlag = true;
        }
        if (deleted != _ERROR_SUCCESS && deleted != _ERROR_NOT_FOUND) {
            LOG(kError, L"DelKeySearch %s failed 0x%x", child.c_str(), deleted);
            result = deleted;
        }
    }
    return result;
}
