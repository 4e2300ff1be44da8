// Lists what is installed: each product with the registry keys and the parameters of the versions found.
//
//     i686-w64-mingw32-g++ -std=c++20 list_installed.cpp -o list_installed.exe -I. -L. -lprodrm -loleaut32

#include <prodrm.h>

#include <oleauto.h>

#include <cstdio>
#include <span>

namespace {

// An array of the library may be null where it stands inside a record.
template <typename Entry>
std::span<Entry> Elements(const SAFEARRAY* array) {
    return array != nullptr ? std::span(static_cast<Entry*>(array->pvData), array->rgsabound[0].cElements)
                            : std::span<Entry>();
}

// Arrays are freed from the inside out: they free neither their texts nor their inner arrays with themselves.
template <typename Entry>
void Free(SAFEARRAY* array);

void FreeContent(BSTR text) {
    ::SysFreeString(text);
}
void FreeContent(const ParamEntry& param) {
    ::SysFreeString(param.name);
    Free<BSTR>(param.values);
}
void FreeContent(const VersionEntry& version) {
    ::SysFreeString(version.key);
    Free<ParamEntry>(version.params);
}
void FreeContent(const ProductEntry& product) {
    ::SysFreeString(product.name);
    ::SysFreeString(product.file);
    Free<VersionEntry>(product.guids);
}

template <typename Entry>
void Free(SAFEARRAY* array) {
    for (const Entry& entry : Elements<Entry>(array)) {
        FreeContent(entry);
    }
    ::SafeArrayDestroy(array);
}

void Print(const ProductEntry& product) {
    std::printf("%ls\n", product.name);
    for (const VersionEntry& version : Elements<VersionEntry>(product.guids)) {
        std::printf("  %ls\n", version.key);
        for (const ParamEntry& param : Elements<ParamEntry>(version.params)) {
            for (const BSTR value : Elements<BSTR>(param.values)) {
                std::printf("    %ls = %ls\n", param.name, value);
            }
        }
    }
}

}  // namespace

int main() {
    SAFEARRAY* products = nullptr;
    if (!::GetInstalledProductsEx(&products, PRODRM_FAMILY | PRODRM_FOREIGN)) {
        std::fputs("the catalogues cannot be read\n", stderr);
        return 1;
    }
    for (const ProductEntry& product : Elements<ProductEntry>(products)) {
        Print(product);
    }
    Free<ProductEntry>(products);
}
