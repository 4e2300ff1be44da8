#pragma once

#include <windows.h>

#include <string>
#include <string_view>
#include <vector>

#include "support/import_patch.h"

// Stands between this program and the registry calls for a scope; one object at a time. Keys tell of no longest entry,
// so that what enumerates them has to grow its buffers; with no member set all other calls are passed on and counted.
class RegistryFaults {
public:
    std::wstring refusedOpen = L"?";   // opening a subkey that ends so is denied
    std::wstring refusedValue = L"?";  // so is deleting a value of this name
    DWORD listedValues = MAXDWORD;     // enumeration of values breaks behind so many
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

    // Leaves the lengths as the caller set them.
    static LONG WINAPI QueryInfo(HKEY, LPWSTR, DWORD*, DWORD*, DWORD*, DWORD*, DWORD*, DWORD*, DWORD*, DWORD*, DWORD*,
                                 FILETIME*) {
        return ERROR_SUCCESS;
    }

    static LONG WINAPI EnumValue(HKEY key, DWORD index, LPWSTR name, DWORD* nameChars, DWORD* reserved, DWORD* type,
                                 BYTE* data, DWORD* dataBytes) {
        if (index >= s_current->listedValues) {
            return ERROR_GEN_FAILURE;
        }
        DWORD unused = MAXDWORD;
        DWORD& dataSize = dataBytes != nullptr ? *dataBytes : unused;
        constexpr DWORD kAsked = 300;  // of both buffers, where the system may tell of one only
        if (*nameChars <= kAsked || dataSize <= kAsked) {
            *nameChars = dataSize = kAsked;
            return ERROR_MORE_DATA;
        }
        return s_current->m_enumValue.Original<decltype(&EnumValue)>()(key, index, name, nameChars, reserved, type,
                                                                       data, dataBytes);
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
    ImportPatch m_deleteValue = {"RegDeleteValueW", &DeleteValue};
};
