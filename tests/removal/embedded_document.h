#pragma once

#include <windows.h>

#include <doctest/doctest.h>

#include <vector>

#include "foundation/CConfigFileMngr.h"
#include "foundation/CCrypt.h"
#include "support/import_patch.h"
#include "support/script_builder.h"

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
