#pragma once

#include <windows.h>
#include <prodrm.h>

#include <string>

#include "support/temp_folder.h"

// The finished library in a folder of its own, with the recording log.dll beside it and catalogues as a test lays them.
class ProductFolder {
public:
    // Without the library's own log module if `withLog` is false.
    explicit ProductFolder(bool withLog = true);

    std::wstring Path(const std::wstring& relative) const { return m_folder.Path(relative); }
    void Catalogue(const std::wstring& file, const std::string& content) const;

    // Copies a sample host from beside the test program, runs it here and gives what it wrote.
    std::string RunSample(const std::wstring& name, DWORD& exitCode) const;

private:
    TempFolder m_folder;
};

// The library loaded from a folder for a scope.
class LoadedProduct {
public:
    explicit LoadedProduct(const ProductFolder& folder);
    ~LoadedProduct() { Unload(); }
    LoadedProduct(const LoadedProduct&) = delete;
    LoadedProduct& operator=(const LoadedProduct&) = delete;

    HMODULE Module() const { return m_module; }
    void Unload();

    template <typename Function>
    Function* Export(const char* name, Function* /* the prototype */) const {
        return reinterpret_cast<Function*>(reinterpret_cast<void*>(::GetProcAddress(m_module, name)));
    }

private:
    HMODULE m_module;
};
