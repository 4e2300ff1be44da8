#pragma once

#include <windows.h>

#include <doctest/doctest.h>

#include <string>
#include <string_view>
#include <vector>

#include "foundation/CConfigFileMngr.h"
#include "foundation/CCrypt.h"
#include "support/import_patch.h"

namespace embedded {

inline std::vector<BYTE> g_bytes;

inline HRSRC WINAPI Find(HMODULE, LPCWSTR, LPCWSTR) {
    return reinterpret_cast<HRSRC>(&g_bytes);
}
inline HGLOBAL WINAPI Load(HMODULE, HRSRC) {
    return reinterpret_cast<HGLOBAL>(&g_bytes);
}
inline DWORD WINAPI Size(HMODULE, HRSRC) {
    return static_cast<DWORD>(g_bytes.size());
}
inline LPVOID WINAPI Lock(HGLOBAL) {
    return g_bytes.data();
}
inline BOOL WINAPI Free(HGLOBAL) {
    return TRUE;
}

}  // namespace embedded

inline std::string Utf8(const std::wstring& text) {
    std::string bytes(text.size() * 3, '\0');
    const int size = ::WideCharToMultiByte(CP_UTF8, 0, text.data(), static_cast<int>(text.size()), bytes.data(),
                                           static_cast<int>(bytes.size()), nullptr, nullptr);
    bytes.resize(static_cast<std::size_t>(size));
    return bytes;
}

// Lets the store of the process read `document` as it reads the library's resource.
inline void Embed(const std::wstring& document) {
    const std::string text = Utf8(document);
    CCrypt crypt;
    REQUIRE(crypt.PrepareKey());
    DWORD size = static_cast<DWORD>(text.size());
    embedded::g_bytes.assign(text.begin(), text.end());
    embedded::g_bytes.resize(text.size() + 16);
    REQUIRE(::CryptEncrypt(crypt.Key(), 0, TRUE, 0, embedded::g_bytes.data(), &size,
                           static_cast<DWORD>(embedded::g_bytes.size())));
    embedded::g_bytes.resize(size);
    const ImportPatch find("FindResourceW", &embedded::Find);
    const ImportPatch load("LoadResource", &embedded::Load);
    const ImportPatch sizeOf("SizeofResource", &embedded::Size);
    const ImportPatch lock("LockResource", &embedded::Lock);
    const ImportPatch release("FreeResource", &embedded::Free);
    REQUIRE(CConfigFileMngr::Instance().LoadFromResource(101) == 0);
}

inline std::wstring Section(const std::wstring& opCode, const std::wstring& attributes) {
    return L"<s op_code=\"" + opCode + L"\"><o " + attributes + L"/></s>";
}

// A script of one version, whose product lies in the folder "Product" below the program files.
inline std::wstring Script(const std::wstring& sections) {
    return L"<uninstall_information><version_list><v1/></version_list><v1><install_folder name=\"Product\"/><win_nt>" +
           sections + L"</win_nt></v1></uninstall_information>";
}
