#pragma once

#include <windows.h>
#include <shlobj.h>

#include <doctest/doctest.h>

#include <string>

#include "foundation/com.h"

// Makes a link file; COM stands on the thread.
inline void MakeLink(const std::wstring& path, const std::wstring& target) {
    ComPtr<IShellLinkW> link;
    ComPtr<IPersistFile> file;
    REQUIRE(::CoCreateInstance(CLSID_ShellLink, nullptr, CLSCTX_INPROC_SERVER, IID_IShellLinkW,
                               reinterpret_cast<void**>(link.Put())) == S_OK);
    REQUIRE(SUCCEEDED(link->SetPath(target.c_str())));
    REQUIRE(link.As(IID_IPersistFile, file) == S_OK);
    REQUIRE(file->Save(path.c_str(), TRUE) == S_OK);
}
