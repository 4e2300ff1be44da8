#include "setup.h"

#include <shlobj.h>
#include <cstdio>
#include <cstdlib>

void Require(bool worked, const wchar_t* step) {
    const DWORD error = ::GetLastError();
    if (!worked) {
        std::printf("%ls failed: error %lu\n", step, error);
        std::exit(1);
    }
}

void RequireNoError(LSTATUS error, const wchar_t* step) {
    ::SetLastError(static_cast<DWORD>(error));
    Require(error == ERROR_SUCCESS, step);
}

std::wstring SystemFolder(int csidl) {
    wchar_t path[MAX_PATH] = {};
    RequireNoError(::SHGetFolderPathW(nullptr, csidl, nullptr, SHGFP_TYPE_CURRENT, path), L"SHGetFolderPath");
    return path;
}

int wmain(int, wchar_t** arguments) {
    const std::wstring setup = arguments[0];
    const std::wstring source = setup.substr(0, setup.find_last_of(L'\\') + 1);
    const std::wstring folder = SystemFolder(CSIDL_PROGRAM_FILES) + L"\\" + kProduct;

    InstallFiles(source, folder);
    InstallRegistry(folder);
    InstallFileType(folder);
    InstallShortcuts(folder);
    InstallService(folder);
    return 0;
}
