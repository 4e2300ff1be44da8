// Shows a map: keeps its file open, which nobody may delete meanwhile, until the program is ended.
#include <windows.h>
#include <cstdio>

int wmain(int count, wchar_t** arguments) {
    if (count != 2) {
        return 2;
    }
    const HANDLE map = ::CreateFileW(arguments[1], GENERIC_READ, FILE_SHARE_READ, nullptr, OPEN_EXISTING, 0, nullptr);
    if (map == INVALID_HANDLE_VALUE) {
        std::printf("cannot open the map: error %lu\n", ::GetLastError());
        return 1;
    }
    std::puts("shown");
    std::fflush(stdout);
    ::Sleep(INFINITE);
    return 0;
}
