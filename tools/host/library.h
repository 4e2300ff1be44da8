#pragma once

#include <prodrm.h>

#include <string>
#include <vector>

#include "foundation/module.h"
#include "foundation/owned.h"

namespace tools::host {

struct Parameter {
    std::wstring name;
    std::vector<std::wstring> values;
};

struct Version {
    std::wstring key;
    std::vector<Parameter> parameters;  // of the extended form
};

struct Product {
    std::wstring name;
    std::wstring script;  // full path
    UninstallType type;
    std::vector<Version> versions;  // found on this machine
};

// "family" or "foreign".
const wchar_t* CatalogueName(UninstallType type);

// The product of that name. Throws a Failure if there is none, or one in either catalogue.
const Product& FindProduct(const std::vector<Product>& products, const std::wstring& name);

std::wstring Quoted(const std::wstring& name);

// The removing exports of the library.
struct RemovalExports {
    decltype(&::UninstallProduct) uninstallProduct;
    decltype(&::UninstallForceAll) uninstallForceAll;
    decltype(&::UninstallAllInstalled) uninstallAllInstalled;
    decltype(&::GetProgressPercent) getProgressPercent;
};

// The product-removal library. Every failure is thrown as a Failure.
class Library {
public:
    // `folder`: where the library lies.
    explicit Library(const std::wstring& folder);

    // `flags` are those of the exports. The catalogues are asked one by one, so that a failure can name the one
    // that cannot be read.
    std::vector<Product> Products(ULONG flags) const;
    std::vector<Product> InstalledProducts(ULONG flags) const;
    // With the parameters of each version.
    std::vector<Product> InstalledProductsEx(ULONG flags) const;

    // Tells on the error stream if this program and the library are not of one build: then its own classes may judge
    // and plan otherwise than the library does.
    void CheckBuild() const;

    RemovalExports Removal() const;
    HMODULE Module() const { return m_module.Get(); }
    const std::wstring& Folder() const { return m_folder; }

private:
    template <typename Function>
    Function Bind(const char* name) const {
        return EntryPointCast<Function>(Find(name));
    }
    FARPROC Find(const char* name) const;
    bool IsOfThisBuild() const;

    std::wstring m_folder;
    OwnedModule m_module;
};

}  // namespace tools::host
