// The product's own clean-up tool: removes the cache that no list of files could name.

#include <windows.h>

#include <string>

int wmain(int count, wchar_t** arguments) {
    wchar_t appData[MAX_PATH] = {};
    if (count != 2 || std::wstring(arguments[1]) != L"/cache" ||
        ::GetEnvironmentVariableW(L"APPDATA", appData, MAX_PATH) == 0) {
        return 1;
    }
    const std::wstring cache = std::wstring(appData) + L"\\Atelier cache";
    WIN32_FIND_DATAW entry;
    const HANDLE find = ::FindFirstFileW((cache + L"\\*.tmp").c_str(), &entry);
    if (find != INVALID_HANDLE_VALUE) {
        do {
            ::DeleteFileW((cache + L'\\' + entry.cFileName).c_str());
        } while (::FindNextFileW(find, &entry));
        ::FindClose(find);
    }
    return ::RemoveDirectoryW(cache.c_str()) ? 0 : 1;
}
