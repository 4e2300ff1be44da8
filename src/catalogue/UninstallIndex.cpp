#include "catalogue/UninstallIndex.h"

#include <objbase.h>

#include "foundation/owned.h"

namespace {

constexpr DWORD kSubkeyNameChars = 255;
constexpr DWORD kDisplayNameBytes = 255;  // room for 126 wide characters and the terminator

bool IsClassId(const wchar_t* text) {
    CLSID id;
    return ::CLSIDFromString(text, &id) == S_OK;
}

// False for a name that is missing or too long to be read.
bool ReadDisplayName(const std::wstring& subkey, REGSAM access, std::wstring& name) {
    OwnedRegKey key;
    if (::RegOpenKeyExW(HKEY_LOCAL_MACHINE, subkey.c_str(), 0, access, key.Put()) != ERROR_SUCCESS) {
        return false;
    }
    wchar_t text[kDisplayNameBytes / sizeof(wchar_t) + 2] = {};  // a terminator always follows
    DWORD bytes = kDisplayNameBytes;
    if (::RegQueryValueExW(key.Get(), L"DisplayName", nullptr, nullptr, reinterpret_cast<BYTE*>(text), &bytes) !=
        ERROR_SUCCESS) {
        return false;
    }
    name = text;
    return true;
}

}  // namespace

const std::wstring* UninstallIndex::Find(REGSAM access, const std::wstring& displayName) {
    auto view = m_views.find(access);
    if (view == m_views.end()) {
        view = m_views.emplace(access, Read(access)).first;
    }
    const auto found = view->second.find(displayName);
    return found != view->second.end() ? &found->second : nullptr;
}

UninstallIndex::View UninstallIndex::Read(REGSAM access) {
    View view;
    OwnedRegKey uninstall;
    if (::RegOpenKeyExW(HKEY_LOCAL_MACHINE, kUninstallKey, 0, access, uninstall.Put()) != ERROR_SUCCESS) {
        return view;
    }
    wchar_t name[kSubkeyNameChars + 1];
    std::wstring displayName;
    for (DWORD index = 0; ::RegEnumKeyW(uninstall.Get(), index, name, kSubkeyNameChars) == ERROR_SUCCESS; ++index) {
        if (!ReadDisplayName(std::wstring(kUninstallKey) + name, access, displayName)) {
            continue;
        }
        const auto [entry, isFirst] = view.emplace(displayName, name);
        // A name that is no identifier displaces an earlier match; an identifier never does.
        if (!isFirst && !IsClassId(name)) {
            entry->second = name;
        }
    }
    return view;
}
