// The product's library; a removal calls its one method.

#include <windows.h>

// Forgets what the product keeps for the user. 0, or the platform's code.
extern "C" DWORD __cdecl ForgetUser() {
    return static_cast<DWORD>(::RegDeleteKeyW(HKEY_CURRENT_USER, L"Software\\Atelier user"));
}
