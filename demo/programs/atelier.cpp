// A program that holds a file open, without letting anyone delete it, until it is told to end or is ended.
//
//     atelier hold NAME FILE     prints "holding" once the file is open; NAME tells holders apart
//     atelier release NAME       tells that holder to end

#include <windows.h>

#include <cstdio>
#include <cstdlib>
#include <string>

namespace {

constexpr DWORD kLongestHoldMilliseconds = 300000;

int Fail(const char* what) {
    std::fprintf(stderr, "atelier: %s: error %lu\n", what, ::GetLastError());
    return EXIT_FAILURE;
}

int Hold(const std::wstring& event, const wchar_t* file) {
    const HANDLE released = ::CreateEventW(nullptr, TRUE, FALSE, event.c_str());
    const HANDLE held = ::CreateFileW(file, GENERIC_READ, FILE_SHARE_READ, nullptr, OPEN_EXISTING, 0, nullptr);
    if (released == nullptr || held == INVALID_HANDLE_VALUE) {
        return Fail("cannot hold the file");
    }
    std::puts("holding");
    std::fflush(stdout);
    ::WaitForSingleObject(released, kLongestHoldMilliseconds);
    return EXIT_SUCCESS;
}

int Release(const std::wstring& event) {
    const HANDLE released = ::OpenEventW(EVENT_MODIFY_STATE, FALSE, event.c_str());
    return released != nullptr && ::SetEvent(released) ? EXIT_SUCCESS : Fail("nobody holds");
}

}  // namespace

int wmain(int count, wchar_t** arguments) {
    const std::wstring command = count > 1 ? arguments[1] : L"";
    const std::wstring event = count > 2 ? std::wstring(L"atelier-") + arguments[2] : L"";
    if (command == L"hold" && count == 4) {
        return Hold(event, arguments[3]);
    }
    if (command == L"release" && count == 3) {
        return Release(event);
    }
    std::fputs("atelier hold NAME FILE | atelier release NAME\n", stderr);
    return EXIT_FAILURE;
}
