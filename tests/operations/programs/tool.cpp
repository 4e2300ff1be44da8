// A product's tool. "tool FILE ..." writes the show command and the whole command line it was given to FILE and ends
// with a failure code; without arguments it stays, as a program that has to be killed.
#include <windows.h>

#include <string>

int wmain(int argc, wchar_t** argv) {
    if (argc == 1) {
        ::Sleep(60000);
        return 0;
    }
    STARTUPINFOW startup = {};
    ::GetStartupInfoW(&startup);
    const std::wstring text = std::to_wstring(startup.dwFlags & STARTF_USESHOWWINDOW) + L" " +
                              std::to_wstring(startup.wShowWindow) + L" " + ::GetCommandLineW();
    const std::string bytes(text.begin(), text.end());
    const HANDLE file = ::CreateFileW(argv[1], GENERIC_WRITE, 0, nullptr, CREATE_ALWAYS, 0, nullptr);
    DWORD written = 0;
    ::WriteFile(file, bytes.data(), static_cast<DWORD>(bytes.size()), &written, nullptr);
    ::CloseHandle(file);
    return 7;
}
