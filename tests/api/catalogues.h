#pragma once

#include <windows.h>

#include <memory>

#include "support/library_folder.h"
#include "support/notifications.h"
#include "support/played_resource.h"
#include "support/recorded_log.h"
#include "support/registry_sandbox.h"
#include "support/script_builder.h"

// A key in the system's list of installed programs.
class UninstallEntry {
public:
    explicit UninstallEntry(const std::wstring& subkey, View view = View::Bits64)
        : m_subkey(L"Software\\Microsoft\\Windows\\CurrentVersion\\Uninstall\\" + subkey), m_view(view) {
        REQUIRE(::RegCreateKeyExW(HKEY_LOCAL_MACHINE, m_subkey.c_str(), 0, nullptr, 0,
                                  KEY_ALL_ACCESS | static_cast<REGSAM>(view), nullptr, m_key.Put(), nullptr) == 0);
    }
    ~UninstallEntry() { RemoveKeyTree(HKEY_LOCAL_MACHINE, m_subkey, m_view); }
    UninstallEntry(const UninstallEntry&) = delete;
    UninstallEntry& operator=(const UninstallEntry&) = delete;

    void Name(const std::wstring& name, DWORD type = REG_SZ) const {
        ::RegSetValueExW(m_key.Get(), L"DisplayName", 0, type, reinterpret_cast<const BYTE*>(name.data()),
                         static_cast<DWORD>(name.size() * sizeof(wchar_t)));
    }

private:
    std::wstring m_subkey;
    View m_view;
    OwnedRegKey m_key;
};

// A library's folder with catalogues. KEY stands for the registry key of the marks, DIR for the folder.
class Catalogues {
public:
    void Write(const wchar_t* file, const std::wstring& products) const {
        folder.WriteCatalogue(file, Utf8(names.Real(products)));
    }

    // What the log holds of one function.
    std::wstring Told(const std::wstring& function) const { return names.Nick(log.Told(function)); }

    RecordedLog log;
    LibraryFolder folder;
    RegistrySandbox key;
    Nicknames names = {{L"DIR", folder.Path()}, {L"KEY", key.Path()}, {L"SUB", key.Subkey()}};
};
