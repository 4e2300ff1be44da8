// Holds files open until it is told to end:
//     prodrm-soak-holder EVENTS {SHARE FILE}...
// Sets the event EVENTS-ready when all are open and waits for EVENTS-end.

#include <windows.h>

#include <cstdlib>
#include <string>

int wmain(int count, wchar_t** arguments) {
    if (count < 2) {
        return EXIT_FAILURE;
    }
    // The paths are those of a 64-bit program.
    using Disable = BOOL(WINAPI*)(PVOID*);
    const auto disable = reinterpret_cast<Disable>(reinterpret_cast<void*>(
        ::GetProcAddress(::GetModuleHandleW(L"kernel32.dll"), "Wow64DisableWow64FsRedirection")));
    PVOID old = nullptr;
    if (disable != nullptr) {
        disable(&old);
    }
    for (int index = 2; index + 1 < count; index += 2) {
        const DWORD share = static_cast<DWORD>(::_wtoi(arguments[index]));
        const std::wstring path = std::wstring(L"\\\\?\\") + arguments[index + 1];
        if (::CreateFileW(path.c_str(), GENERIC_READ, share, nullptr, OPEN_EXISTING, 0, nullptr) ==
            INVALID_HANDLE_VALUE) {
            return EXIT_FAILURE;
        }
    }
    const std::wstring name = arguments[1];
    const HANDLE end = ::OpenEventW(SYNCHRONIZE, FALSE, (name + L"-end").c_str());
    const HANDLE ready = ::OpenEventW(EVENT_MODIFY_STATE, FALSE, (name + L"-ready").c_str());
    if (end == nullptr || !::SetEvent(ready)) {
        return EXIT_FAILURE;
    }
    // A soak that died must not leave it behind for good.
    constexpr DWORD kLongest = 600000;
    ::WaitForSingleObject(end, kLongest);
    return EXIT_SUCCESS;
}
