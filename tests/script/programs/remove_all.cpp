// A host: "remove_all LIBRARY FILE ..." holds the files and removes all of the family's catalogue. The exit code is 2
// where a restart is required, 0 where not, and 1 where the removal failed.
#include <windows.h>

#include <prodrm.h>

int wmain(int argc, wchar_t** argv) {
    for (int index = 2; index < argc; ++index) {
        if (::CreateFileW(argv[index], GENERIC_READ, 0, nullptr, OPEN_EXISTING, 0, nullptr) == INVALID_HANDLE_VALUE) {
            return 3;
        }
    }
    const HMODULE library = ::LoadLibraryW(argv[1]);
    if (library == nullptr) {
        return 4;
    }
    const auto uninstall = reinterpret_cast<decltype(&::UninstallForceAll)>(
        reinterpret_cast<void*>(::GetProcAddress(library, "UninstallForceAll")));
    bool restart = false;
    if (!uninstall(UNINSTALL_TYPE_FAMILY, &restart, nullptr)) {
        return 1;
    }
    return restart ? 2 : 0;
}
