#pragma once

#include <windows.h>

#include <string>
#include <unordered_map>

// The Uninstall key of the system by display name: one walk over each view that is asked for, made when it is asked
// for. Made for one load of a catalogue.
class UninstallIndex {
public:
    // Name of the subkey that stands for a display name, compared exactly, in the view of `access`; null if there is
    // none.
    const std::wstring* Find(REGSAM access, const std::wstring& displayName);

private:
    using View = std::unordered_map<std::wstring, std::wstring>;

    static View Read(REGSAM access);

    std::unordered_map<REGSAM, View> m_views;
};

// Path of the Uninstall key below HKEY_LOCAL_MACHINE, with a backslash at its end.
inline constexpr wchar_t kUninstallKey[] = L"Software\\Microsoft\\Windows\\CurrentVersion\\Uninstall\\";
