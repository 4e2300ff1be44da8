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
    DWORD listedKeys = MAXDWORD;       // and that of subkeys
    int openKeys = 0;                  // opened and not closed
    std::vector<REGSAM> access;        // of each open, in order

private:
    template <typename Function>
    using Call = Played<Function, RegistryFaults>;

    Call<decltype(&::RegOpenKeyExW)> m_open{
        "RegOpenKeyExW", [this](HKEY key, LPCWSTR subkey, DWORD options, REGSAM wanted, HKEY* result) {
            access.push_back(wanted);
            const LONG error = std::wstring_view(subkey).ends_with(refusedOpen)
                                   ? ERROR_ACCESS_DENIED
                                   : m_open.Real(key, subkey, options, wanted, result);
            openKeys += error == ERROR_SUCCESS;
            return error;
        }};
    Call<decltype(&::RegCloseKey)> m_close{"RegCloseKey", [this](HKEY key) { return --openKeys, m_close.Real(key); }};
    // Leaves the lengths as the caller set them.
    Call<decltype(&::RegQueryInfoKeyW)> m_query{"RegQueryInfoKeyW", [](auto...) { return LONG{ERROR_SUCCESS}; }};
    Call<decltype(&::RegEnumValueW)> m_enumValue{
        "RegEnumValueW", [this](HKEY key, DWORD index, LPWSTR name, DWORD* nameChars, DWORD* reserved, DWORD* type,
                                BYTE* data, DWORD* dataBytes) {
            if (index >= listedValues) {
                return LONG{ERROR_GEN_FAILURE};
            }
            constexpr DWORD kAsked = 300;  // of both buffers; the length of a name that is too long is not told
            const bool shortData = dataBytes != nullptr && *dataBytes <= kAsked;
            if (shortData) {
                *dataBytes = kAsked;
            }
            if (shortData || *nameChars <= kAsked) {
                return LONG{ERROR_MORE_DATA};
            }
            return m_enumValue.Real(key, index, name, nameChars, reserved, type, data, dataBytes);
        }};
    Call<decltype(&::RegEnumKeyExW)> m_enumKey{"RegEnumKeyExW", [this](HKEY key, DWORD index, auto... more) {
                                                   return index >= listedKeys ? LONG{ERROR_GEN_FAILURE}
                                                                              : m_enumKey.Real(key, index, more...);
                                               }};
    Call<decltype(&::RegDeleteValueW)> m_deleteValue{"RegDeleteValueW", [this](HKEY key, LPCWSTR name) {
                                                         return name == refusedValue ? LONG{ERROR_ACCESS_DENIED}
                                                                                     : m_deleteValue.Real(key, name);
                                                     }};
};
