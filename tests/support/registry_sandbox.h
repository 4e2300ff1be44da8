#pragma once

#include <windows.h>

#include <string>
#include <vector>

enum class View : REGSAM { Default = 0, Bits32 = KEY_WOW64_32KEY, Bits64 = KEY_WOW64_64KEY };

// True when this process runs under WOW64: only then do the two views differ.
bool UnderWow64();

// A key of its own below HKEY_LOCAL_MACHINE\Software, in both views, removed with all it holds at the end of the scope.
class RegistrySandbox {
public:
    RegistrySandbox();
    ~RegistrySandbox();
    RegistrySandbox(const RegistrySandbox&) = delete;
    RegistrySandbox& operator=(const RegistrySandbox&) = delete;

    // Path below the hive, of `relative` below the sandbox where given: "Software\prodrm-1-1\relative".
    std::wstring Subkey(const std::wstring& relative = {}) const;
    // The same with the long hive name in front.
    std::wstring Path(const std::wstring& relative = {}) const { return L"HKEY_LOCAL_MACHINE\\" + Subkey(relative); }

    void MakeKey(const std::wstring& relative, View view = View::Default) const;
    void SetString(const std::wstring& relative, const std::wstring& name, const std::wstring& text,
                   View view = View::Default) const;
    // Raw bytes under any type.
    void SetValue(const std::wstring& relative, const std::wstring& name, DWORD type, const void* data, DWORD size,
                  View view = View::Default) const;

    // All keys ("sub\key\") and values ("sub\key\=name") below the sandbox in that view, relative and sorted.
    std::vector<std::wstring> Dump(View view = View::Default) const;

private:
    std::wstring m_subkey;
};

// Deletes a key and all below it in one view.
void RemoveKeyTree(HKEY hive, const std::wstring& subkey, View view = View::Default);
