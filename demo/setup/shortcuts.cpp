#include "setup.h"

#include <objbase.h>
#include <shlobj.h>

namespace {

void MakeShortcut(const std::wstring& path, const std::wstring& target, const std::wstring& folder) {
    IShellLinkW* link = nullptr;
    IPersistFile* file = nullptr;
    RequireNoError(::CoCreateInstance(CLSID_ShellLink, nullptr, CLSCTX_INPROC_SERVER, IID_IShellLinkW,
                                      reinterpret_cast<void**>(&link)),
                   L"CoCreateInstance");
    RequireNoError(link->SetPath(target.c_str()), L"SetPath");
    RequireNoError(link->SetWorkingDirectory(folder.c_str()), L"SetWorkingDirectory");
    RequireNoError(link->QueryInterface(IID_IPersistFile, reinterpret_cast<void**>(&file)), L"QueryInterface");
    RequireNoError(file->Save(path.c_str(), TRUE), path.c_str());
    file->Release();
    link->Release();
}

}  // namespace

void InstallShortcuts(const std::wstring& folder) {
    RequireNoError(::CoInitialize(nullptr), L"CoInitialize");
    for (const int place : {CSIDL_COMMON_PROGRAMS, CSIDL_DESKTOPDIRECTORY}) {
        MakeShortcut(SystemFolder(place) + L"\\Atlas öffnen.lnk", folder + L"\\atlas.exe", folder);
    }
    ::CoUninitialize();
}
