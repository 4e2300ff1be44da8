// The reads and snapshots that deletion, checking and expansion share.

#include "foundation/CSplitKeyPath.h"
#include "foundation/log_statement.h"
#include "foundation/registry_access.h"
#include "operations/CRegKeyHelper.h"
#include "operations/registry_walk.h"

namespace {

constexpr DWORD kValueBufferBytes = 0x104;  // 130 wide characters with the terminator

bool ReadLongest(const wchar_t* caller, HKEY key, LongestEntries& longest) {
    const LONG error = longest.Read(key);
    if (error != ERROR_SUCCESS) {
        LOG_AS(caller, kError, L"RegQueryInfoKey failed 0x%x", error);
        return false;
    }
    return true;
}

}  // namespace

OperationResult CRegKeyHelper::GetValue(HKEY hive, const std::wstring& subkey, const std::wstring& valueName,
                                        wchar_t* buffer) {
    const wchar_t* const hiveName = HiveName(hive);
    OwnedRegKey key;
    LONG error = ::RegOpenKeyExW(hive, subkey.c_str(), 0, QueryValueAccess(), key.Put());
    if (error != ERROR_SUCCESS) {
        if (hiveName != nullptr) {
            LOG(kError, L"RegOpenKeyEx failed %s\\%s error = 0x%x", hiveName, subkey.c_str(), error);
        }
        return MeansMissing(static_cast<DWORD>(error)) ? _ERROR_NOT_FOUND : _ERROR_FAILED;
    }
    DWORD type = REG_NONE;
    DWORD bytes = kValueBufferBytes;
    error = ::RegQueryValueExW(key.Get(), valueName.c_str(), nullptr, &type, reinterpret_cast<BYTE*>(buffer), &bytes);
    // The key stays open for the life of the process.
    key.LeaveOpen();
    if (error == ERROR_SUCCESS && type == REG_SZ) {
        return _ERROR_SUCCESS;
    }
    if (hiveName != nullptr && error == ERROR_SUCCESS) {
        LOG(kError, L"RegQueryValueEx failed %s\\%s %s, type must be REG_SZ", hiveName, subkey.c_str(),
            valueName.c_str());
    } else if (hiveName != nullptr) {
        LOG(kError, L"RegQueryValueEx failed %s\\%s %s error = 0x%x", hiveName, subkey.c_str(), valueName.c_str(),
            error);
    }
    return _ERROR_NOT_FOUND;
}

OperationResult CRegKeyHelper::GetValues(HKEY key, std::vector<RegValueEntry>& values) {
    LongestEntries longest;
    if (!ReadLongest(CALLER, key, longest)) {
        return _ERROR_UNKNOWN;
    }
    ValueEnumeration enumeration(key, longest, ValueParts::NamesAndData);
    for (;;) {
        const LONG error = enumeration.Next();
        if (error == ERROR_SUCCESS) {
            values.push_back({enumeration.Type(), enumeration.Data(), enumeration.Name()});
        } else if (error == ERROR_MORE_DATA) {
            LOG(kInfo, L"RegEnumValue ERROR_MORE_DATA");
        } else if (error == ERROR_NO_MORE_ITEMS) {
            return _ERROR_SUCCESS;
        } else {
            LOG(kError, L"RegEnumValue failed 0x%x", error);
            return _ERROR_UNKNOWN;
        }
    }
}

OperationResult CRegKeyHelper::GetValues(HKEY key, std::vector<std::wstring>& names) {
    LongestEntries longest;
    if (!ReadLongest(CALLER, key, longest)) {
        return _ERROR_UNKNOWN;
    }
    ValueEnumeration enumeration(key, longest, ValueParts::Names);
    for (;;) {
        const LONG error = enumeration.Next();
        if (error == ERROR_SUCCESS) {
            LOG(kInfo, L"\"%s\" %d", enumeration.Name(), enumeration.Index());
            names.emplace_back(enumeration.Name());
        } else if (error == ERROR_MORE_DATA) {
            LOG(kInfo, L"RegEnumValue ERROR_MORE_DATA  Index = %d", enumeration.Index());
        } else if (error == ERROR_NO_MORE_ITEMS) {
            return _ERROR_SUCCESS;
        } else {
            LOG(kError, L"RegEnumValue failed 0x%x", error);
            return _ERROR_UNKNOWN;
        }
    }
}

OperationResult CRegKeyHelper::GetSubKeys(HKEY key, std::vector<std::wstring>& names) {
    LongestEntries longest;
    if (!ReadLongest(CALLER, key, longest)) {
        return _ERROR_UNKNOWN;
    }
    SubkeyEnumeration enumeration(key, longest);
    for (;;) {
        const LONG error = enumeration.Next();
        if (error == ERROR_SUCCESS) {
            names.emplace_back(enumeration.Name());
        } else if (error == ERROR_NO_MORE_ITEMS) {
            return _ERROR_SUCCESS;
        } else if (error != ERROR_MORE_DATA) {
            LOG(kError, L"RegEnumKeyEx failed 0x%x", error);
            return _ERROR_UNKNOWN;
        }
    }
}
