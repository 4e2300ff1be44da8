#pragma once

#include <windows.h>

#include <string>
#include <vector>

// Views of the registry: that of the process, the 32-bit one, and the 64-bit one, which the library reads unless it is
// asked for another. Without WOW64 all three are the same.
enum class View : REGSAM { Default = 0, Bits32 = KEY_WOW64_32KEY, Bits64 = KEY_WOW64_64KEY };

// True when this process runs under WOW64: only then do the two views differ.
bool UnderWow64();

// A key of its own below HKEY_LOCAL_MACHINE, in both views, removed with all it holds at the end of the scope.
class RegistrySandbox {
public:
    explicit RegistrySandbox(const std::wstring& parent = L"Software");
    ~RegistrySandbox();
    RegistrySandbox(const RegistrySandbox&) = delete;
    RegistrySandbox& operator=(const RegistrySandbox&) = delete;

    // Path below the hive, of `relative` below the sandbox where given: "Software\prodrm-1-1\relative".
    std::wstring Subkey(const std::wstring& relative = {}) const;
    // The same with the long hive name in front.
    std::wstring Path(const std::wstring& relative = {}) const { return L"HKEY_LOCAL_MACHINE\\" + Subkey(relative); }

    void MakeKey(const std::wstring& relative, View view = View::Bits64) const;
    void SetString(const std::wstring& relative, const std::wstring& name, const std::wstring& text,
                   View view = View::Bits64) const;
    // Raw bytes under any type.
    void SetValue(const std::wstring& relative, const std::wstring& name, DWORD type, const void* data, DWORD size,
                  View view = View::Bits64) const;
    // What a dump lists; the values hold the text "data".
    void Fill(const std::vector<std::wstring>& entries, View view = View::Bits64) const;

    // All keys ("sub\key\") and values ("sub\key\=name") below the sandbox in that view, relative and sorted.
    std::vector<std::wstring> Dump(View view = View::Bits64) const;

private:
    std::wstring m_subkey;
};

// Deletes a key and all below it in one view.
void RemoveKeyTree(HKEY hive, const std::wstring& subkey, View view = View::Bits64);
