#pragma once

#include <windows.h>
#include <prodrm.h>

#include "support/log_recorder.h"
#include "support/programs.h"
#include "support/show_text.h"
#include "support/temp_folder.h"

// The finished library in a folder of its own, with the recording log.dll beside it and catalogues as a test lays them.
class ProductFolder : public TempFolder {
public:
    ProductFolder() {
        REQUIRE(::CopyFileW(InProduct(L"prodrm.dll").c_str(), Path(L"prodrm.dll").c_str(), FALSE));
        REQUIRE(::CopyFileW(LogRecorder::ModulePath().c_str(), Path(L"log.dll").c_str(), FALSE));
    }

    void Catalogue(const std::wstring& file, const std::string& content) const {
        WriteFile(file, "<uninstall_information>" + content + "</uninstall_information>");
    }

    // Copies a sample host from beside the test program, runs it here and gives its exit code and what it wrote.
    std::string RunSample(const std::wstring& name) const {
        REQUIRE(::CopyFileW(BesideTest(name).c_str(), Path(name).c_str(), FALSE));
        SECURITY_ATTRIBUTES inherit = {sizeof inherit, nullptr, TRUE};
        OwnedFileHandle out(
            ::CreateFileW(Path(L"out").c_str(), GENERIC_WRITE, FILE_SHARE_READ, &inherit, CREATE_ALWAYS, 0, nullptr));
        const DWORD code = ExitCode(Start(L"\"" + Path(name) + L"\"", out.Get()));
        out.Reset();
        ::DeleteFileW(Path(name).c_str());
        return std::to_string(code) + " " + FileContent(Path(L"out"));
    }

    OwnedModule Load() const {
        OwnedModule library(::LoadLibraryW(Path(L"prodrm.dll").c_str()));
        REQUIRE(library);
        return library;
    }
};

template <typename Function>
Function Export(const OwnedModule& library, const char* name) {
    return reinterpret_cast<Function>(reinterpret_cast<void*>(::GetProcAddress(library.Get(), name)));
}
