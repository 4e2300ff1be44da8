#include "support/registry_sandbox.h"

#include <algorithm>
#include <stdexcept>

namespace {

HKEY Open(HKEY hive, const std::wstring& subkey, View view, bool create) {
    HKEY key = nullptr;
    const REGSAM access = KEY_ALL_ACCESS | static_cast<REGSAM>(view);
    const LONG error = create ? ::RegCreateKeyExW(hive, subkey.c_str(), 0, nullptr, 0, access, nullptr, &key, nullptr)
                              : ::RegOpenKeyExW(hive, subkey.c_str(), 0, access, &key);
    if (create && error != ERROR_SUCCESS) {
        throw std::runtime_error("cannot make a test key");
    }
    return error == ERROR_SUCCESS ? key : nullptr;
}

std::vector<std::wstring> SubkeysOf(HKEY key) {
    std::vector<std::wstring> names;
    wchar_t name[256];
    for (DWORD index = 0; ::RegEnumKeyW(key, index, name, 256) == ERROR_SUCCESS; ++index) {
        names.emplace_back(name);
    }
    return names;
}

void DumpKey(HKEY hive, const std::wstring& subkey, View view, const std::wstring& relative,
             std::vector<std::wstring>& lines) {
    const HKEY key = Open(hive, subkey, view, false);
    if (key == nullptr) {
        return;
    }
    static wchar_t name[16384];
    DWORD length = 16384;
    for (DWORD index = 0;
         ::RegEnumValueW(key, index, name, &length, nullptr, nullptr, nullptr, nullptr) == ERROR_SUCCESS;
         ++index, length = 16384) {
        lines.push_back(relative + L"=" + name);
    }
    for (const std::wstring& child : SubkeysOf(key)) {
        lines.push_back(relative + child + L"\\");
        DumpKey(hive, subkey + L"\\" + child, view, relative + child + L"\\", lines);
    }
    ::RegCloseKey(key);
}

}  // namespace

bool UnderWow64() {
    BOOL wow64 = FALSE;
    const auto ask = reinterpret_cast<BOOL(WINAPI*)(HANDLE, BOOL*)>(
        reinterpret_cast<void*>(::GetProcAddress(::GetModuleHandleW(L"kernel32.dll"), "IsWow64Process")));
    return ask != nullptr && ask(::GetCurrentProcess(), &wow64) && wow64;
}

RegistrySandbox::RegistrySandbox(const std::wstring& parent) {
    static int count = 0;
    m_subkey = parent + L"\\prodrm-" + std::to_wstring(::GetCurrentProcessId()) + L"-" + std::to_wstring(++count);
    MakeKey({}, View::Bits32);
    MakeKey({}, View::Bits64);
}

RegistrySandbox::~RegistrySandbox() {
    RemoveKeyTree(HKEY_LOCAL_MACHINE, m_subkey, View::Bits32);
    RemoveKeyTree(HKEY_LOCAL_MACHINE, m_subkey, View::Bits64);
}

std::wstring RegistrySandbox::Subkey(const std::wstring& relative) const {
    return relative.empty() ? m_subkey : m_subkey + L'\\' + relative;
}

void RegistrySandbox::MakeKey(const std::wstring& relative, View view) const {
    ::RegCloseKey(Open(HKEY_LOCAL_MACHINE, Subkey(relative), view, true));
}

void RegistrySandbox::SetString(const std::wstring& relative, const std::wstring& name, const std::wstring& text,
                                View view) const {
    SetValue(relative, name, REG_SZ, text.c_str(), static_cast<DWORD>((text.size() + 1) * sizeof(wchar_t)), view);
}

void RegistrySandbox::SetValue(const std::wstring& relative, const std::wstring& name, DWORD type, const void* data,
                               DWORD size, View view) const {
    const HKEY key = Open(HKEY_LOCAL_MACHINE, Subkey(relative), view, true);
    ::RegSetValueExW(key, name.c_str(), 0, type, static_cast<const BYTE*>(data), size);
    ::RegCloseKey(key);
}

void RegistrySandbox::Fill(const std::vector<std::wstring>& entries, View view) const {
    for (const std::wstring& entry : entries) {
        const std::size_t value = entry.find(L'=');
        if (value == std::wstring::npos) {
            MakeKey(entry.substr(0, entry.size() - 1), view);
        } else {
            SetString(entry.substr(0, value - 1), entry.substr(value + 1), L"data", view);
        }
    }
}

std::vector<std::wstring> RegistrySandbox::Dump(View view) const {
    std::vector<std::wstring> lines;
    DumpKey(HKEY_LOCAL_MACHINE, m_subkey, view, {}, lines);
    std::sort(lines.begin(), lines.end());
    return lines;
}

void RemoveKeyTree(HKEY hive, const std::wstring& subkey, View view) {
    const HKEY key = Open(hive, subkey, view, false);
    if (key == nullptr) {
        return;
    }
    for (const std::wstring& child : SubkeysOf(key)) {
        RemoveKeyTree(hive, subkey + L"\\" + child, view);
    }
    ::RegCloseKey(key);
    const auto deleteInView = reinterpret_cast<LONG(WINAPI*)(HKEY, LPCWSTR, REGSAM, DWORD)>(
        reinterpret_cast<void*>(::GetProcAddress(::GetModuleHandleW(L"advapi32.dll"), "RegDeleteKeyExW")));
    deleteInView(hive, subkey.c_str(), static_cast<REGSAM>(view), 0);
}
