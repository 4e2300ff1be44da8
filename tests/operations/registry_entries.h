#pragma once

#include <windows.h>

#include <string>
#include <vector>

#include "support/registry_sandbox.h"

using Texts = std::vector<std::wstring>;

// No row of the table of hives.
inline const HKEY kNoHive = reinterpret_cast<HKEY>(static_cast<ULONG_PTR>(0x80000050));

// Makes what a dump lists: "key\" is a key, "key\=name" a value with the text "data". The 64-bit view is the one that
// the library reads unless it is asked for the other.
inline void Fill(const RegistrySandbox& sandbox, const Texts& entries, View view = View::Bits64) {
    for (const std::wstring& entry : entries) {
        const std::size_t value = entry.find(L"\\=");
        if (value == std::wstring::npos) {
            sandbox.MakeKey(entry.substr(0, entry.size() - 1), view);
        } else {
            sandbox.SetString(entry.substr(0, value), entry.substr(value + 2), L"data", view);
        }
    }
}
