#pragma once

#include <windows.h>

#include <algorithm>
#include <cstring>
#include <string>
#include <string_view>
#include <vector>

#include "support/import_patch.h"

// Stands between this program and the registry calls for a scope; one object at a time. With no member set it passes
// every call on and counts.
class RegistryFaults {
public:
    std::wstring refusedOpen = L"?";   // opening a subkey that ends so is denied
    std::wstring refusedValue = L"?";  // so is deleting a value of this name
    DWORD values = MAXDWORD;           // enumeration breaks behind so many values
    DWORD subkeys = MAXDWORD;          // and behind so many subkeys
    LONG queryInfo = ERROR_SUCCESS;    // what asking for the longest entries gives
    bool forgetLengths = false;        // asking for the longest entries finds them all empty
    int openKeys = 0;                  // opened and not closed
    std::vector<REGSAM> access;        // of each open, in order

    RegistryFaults() { s_current = this; }
    ~RegistryFaults() { s_current = nullptr; }

private:
    static LONG WINAPI Open(HKEY key, LPCWSTR subkey, DWORD options, REGSAM access, HKEY* result) {
        s_current->access.push_back(access);
        if (std::wstring_view(subkey).ends_with(s_current->refusedOpen)) {
            return ERROR_ACCESS_DENIED;
        }
        const LONG error = s_current->m_open.Original<decltype(&Open)>()(key, subkey, options, access, result);
        s_current->openKeys += error == ERROR_SUCCESS;
        return error;
    }

    static LONG WINAPI Close(HKEY key) {
        --s_current->openKeys;
        return s_current->m_close.Original<decltype(&Close)>()(key);
    }

    static LONG WINAPI QueryInfo(HKEY key, LPWSTR name, DWORD* nameChars, DWORD* reserved, DWORD* count, DWORD* longest,
                                 DWORD* longestClass, DWORD* values, DWORD* longestName, DWORD* longestData,
                                 DWORD* security, FILETIME* written) {
        for (DWORD* const length : {longest, longestName, longestData}) {
            if (s_current->forgetLengths && length != nullptr) {
                *length = 0;
            }
        }
        if (s_current->forgetLengths || s_current->queryInfo != ERROR_SUCCESS) {
            return s_current->queryInfo;
        }
        return s_current->m_queryInfo.Original<decltype(&QueryInfo)>()(key, name, nameChars, reserved, count, longest,
                                                                       longestClass, values, longestName, longestData,
                                                                       security, written);
    }

    // Asks for more by the sizes of both buffers, where the system may tell of one only.
    static LONG WINAPI EnumValue(HKEY key, DWORD index, LPWSTR name, DWORD* nameChars, DWORD* reserved, DWORD* type,
                                 BYTE* data, DWORD* dataBytes) {
        if (index >= s_current->values) {
            return ERROR_GEN_FAILURE;
        }
        wchar_t wholeName[300];
        BYTE wholeData[300];
        DWORD wholeChars = 300;
        DWORD wholeBytes = 300;
        const LONG error = s_current->m_enumValue.Original<decltype(&EnumValue)>()(
            key, index, wholeName, &wholeChars, reserved, type, wholeData, &wholeBytes);
        if (error != ERROR_SUCCESS) {
            return error;
        }
        const bool nameFits = wholeChars < *nameChars;
        const bool dataFits = dataBytes == nullptr || wholeBytes <= *dataBytes;
        if (nameFits && dataFits) {
            std::memcpy(name, wholeName, (wholeChars + 1) * sizeof(wchar_t));
            if (data != nullptr) {
                std::memcpy(data, wholeData, wholeBytes);
            }
        }
        *nameChars = nameFits ? wholeChars : wholeChars + 1;
        if (dataBytes != nullptr) {
            *dataBytes = wholeBytes;
        }
        return nameFits && dataFits ? ERROR_SUCCESS : ERROR_MORE_DATA;
    }

    static LONG WINAPI EnumKey(HKEY key, DWORD index, LPWSTR name, DWORD* nameChars, DWORD* reserved, LPWSTR className,
                               DWORD* classChars, FILETIME* written) {
        return index >= s_current->subkeys ? ERROR_GEN_FAILURE
                                           : s_current->m_enumKey.Original<decltype(&EnumKey)>()(
                                                 key, index, name, nameChars, reserved, className, classChars, written);
    }

    static LONG WINAPI DeleteValue(HKEY key, LPCWSTR name) {
        return name == s_current->refusedValue ? ERROR_ACCESS_DENIED
                                               : s_current->m_deleteValue.Original<decltype(&DeleteValue)>()(key, name);
    }

    inline static RegistryFaults* s_current = nullptr;

    ImportPatch m_open = {"RegOpenKeyExW", &Open};
    ImportPatch m_close = {"RegCloseKey", &Close};
    ImportPatch m_queryInfo = {"RegQueryInfoKeyW", &QueryInfo};
    ImportPatch m_enumValue = {"RegEnumValueW", &EnumValue};
    ImportPatch m_enumKey = {"RegEnumKeyExW", &EnumKey};
    ImportPatch m_deleteValue = {"RegDeleteValueW", &DeleteValue};
};
