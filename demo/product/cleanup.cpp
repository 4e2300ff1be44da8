// The product's own clean-up tool: removes the settings of the user, whose place it alone knows.
#include <windows.h>
#include <shlobj.h>
#include <string>

int wmain() {
    wchar_t data[MAX_PATH] = {};
    if (FAILED(::SHGetFolderPathW(nullptr, CSIDL_APPDATA, nullptr, SHGFP_TYPE_CURRENT, data))) {
        return 1;
    }
    const std::wstring folder = std::wstring(data) + L"\\Wendelbach Atlas";
    const bool removed = ::DeleteFileW((folder + L"\\Einstellungen.ini").c_str()) && ::RemoveDirectoryW(folder.c_str());
    return removed ? 0 : 1;
}
