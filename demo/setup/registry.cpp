#include "setup.h"

namespace {

constexpr REGSAM k64BitView = KEY_WOW64_64KEY;
constexpr REGSAM k32BitView = KEY_WOW64_32KEY;

void SetText(HKEY hive, REGSAM view, const std::wstring& path, const wchar_t* name, const std::wstring& text) {
    HKEY key = nullptr;
    RequireNoError(::RegCreateKeyExW(hive, path.c_str(), 0, nullptr, 0, KEY_SET_VALUE | view, nullptr, &key, nullptr),
                   path.c_str());
    const auto bytes = static_cast<DWORD>((text.size() + 1) * sizeof(wchar_t));
    RequireNoError(::RegSetValueExW(key, name, 0, REG_SZ, reinterpret_cast<const BYTE*>(text.c_str()), bytes), name);
    ::RegCloseKey(key);
}

}  // namespace

void InstallRegistry(const std::wstring& folder) {
    const std::wstring product = std::wstring(L"Software\\") + kProduct;
    const std::wstring windows = L"Software\\Microsoft\\Windows\\CurrentVersion\\";

    SetText(HKEY_LOCAL_MACHINE, k64BitView, product, L"Folder", folder);
    SetText(HKEY_LOCAL_MACHINE, k32BitView, product, L"Folder", folder);
    SetText(HKEY_LOCAL_MACHINE, k32BitView, product + L"\\Karten\\東京", L"Maßstab", L"1:25000");
    SetText(HKEY_LOCAL_MACHINE, k32BitView, windows + L"Uninstall\\WendelbachAtlas", L"DisplayName", kProduct);
    SetText(HKEY_LOCAL_MACHINE, k64BitView, windows + L"Run", kProduct, folder + L"\\atlas.exe");
    SetText(HKEY_CURRENT_USER, 0, product, L"Zuletzt geöffnet", L"Übersicht");
}

// The product's library registers its file type itself.
void InstallFileType(const std::wstring& folder) {
    const HMODULE library = ::LoadLibraryW((folder + L"\\atlas-types.dll").c_str());
    Require(library != nullptr, L"atlas-types.dll");
    const auto enter = reinterpret_cast<DWORD (*)()>(::GetProcAddress(library, "Register"));
    Require(enter != nullptr, L"Register");
    RequireNoError(static_cast<LSTATUS>(enter()), L"Register");
    ::FreeLibrary(library);
}
