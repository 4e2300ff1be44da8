// The product's library, which enters and removes its file type: the installer calls the one, the removal the other.
#include <windows.h>
#include <shlwapi.h>

namespace {

constexpr wchar_t kExtension[] = L"Software\\Classes\\.karte";
constexpr wchar_t kType[] = L"Software\\Classes\\Wendelbach.Karte";
constexpr wchar_t kTypeName[] = L"Wendelbach.Karte";
constexpr wchar_t kTitle[] = L"Karte für Wendelbach Atlas";

LSTATUS SetDefault(const wchar_t* path, const wchar_t* text, DWORD bytes) {
    return ::SHSetValueW(HKEY_LOCAL_MACHINE, path, nullptr, REG_SZ, text, bytes);
}

}  // namespace

extern "C" __declspec(dllexport) DWORD Register() {
    const LSTATUS error = SetDefault(kExtension, kTypeName, sizeof(kTypeName));
    return static_cast<DWORD>(error != ERROR_SUCCESS ? error : SetDefault(kType, kTitle, sizeof(kTitle)));
}

extern "C" __declspec(dllexport) DWORD Unregister() {
    const LSTATUS error = ::SHDeleteKeyW(HKEY_LOCAL_MACHINE, kExtension);
    return static_cast<DWORD>(error != ERROR_SUCCESS ? error : ::SHDeleteKeyW(HKEY_LOCAL_MACHINE, kType));
}
