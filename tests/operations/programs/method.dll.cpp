// A product's library with a method to be called before the removal.
#include <windows.h>

extern "C" __declspec(dllexport) DWORD __cdecl Unregister() {
    return 0xC0DE0001;
}
