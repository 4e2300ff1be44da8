#include "library.h"

#include <windows.h>

#include <algorithm>

#include "arrays.h"
#include "build_id.h"
#include "catalogue_failure.h"
#include "common/failure.h"
#include "common/modules.h"
#include "common/output.h"
#include "common/utf8.h"

namespace tools::host {

namespace {

constexpr wchar_t kLibraryName[] = L"prodrm.dll";

struct Catalogue {
    ULONG flag;
    UninstallType type;
    const wchar_t* name;
    const wchar_t* file;
};

constexpr Catalogue kCatalogues[] = {
    {PRODRM_FAMILY, UNINSTALL_TYPE_FAMILY, L"family", L"products.xml"},
    {PRODRM_FOREIGN, UNINSTALL_TYPE_FOREIGN, L"foreign", L"detection.xml"},
};

// A null BSTR reads as empty text.
std::wstring TextOf(BSTR text) {
    return {text, ::SysStringLen(text)};
}

void ReadVersion(const BSTR& key, Version& version) {
    version.key = TextOf(key);
}

void ReadVersion(const VersionEntry& entry, Version& version) {
    version.key = TextOf(entry.key);
    for (const ParamEntry& parameter : ElementsOf<ParamEntry>(entry.params)) {
        Parameter& read = version.parameters.emplace_back(Parameter{TextOf(parameter.name), {}});
        for (const BSTR value : ElementsOf<BSTR>(parameter.values)) {
            read.values.push_back(TextOf(value));
        }
    }
}

using ListFunction = decltype(&::GetProducts);

template <typename VersionForm>
std::vector<Product> List(ListFunction list, ULONG flags, const std::wstring& folder) {
    std::vector<Product> products;
    for (const Catalogue& catalogue : kCatalogues) {
        if ((flags & catalogue.flag) == 0) {
            continue;
        }
        SAFEARRAY* received = nullptr;
        if (!list(&received, catalogue.flag)) {
            throw Failure(ERROR_INSTALL_FAILURE, std::wstring(L"the ") + catalogue.name + L" catalogue (" +
                                                     catalogue.file + L" beside the library) cannot be read: " +
                                                     CatalogueTrouble(folder + L"\\" + catalogue.file, catalogue.type));
        }
        const Array<ProductOf<VersionForm>> entries(received);
        for (const ProductOf<VersionForm>& entry : entries.Elements()) {
            Product& product = products.emplace_back(
                Product{TextOf(entry.name), TextOf(entry.file), static_cast<UninstallType>(entry.type), {}});
            for (const VersionForm& version : ElementsOf<VersionForm>(entry.guids)) {
                ReadVersion(version, product.versions.emplace_back());
            }
        }
    }
    return products;
}

bool DiffersInCase(const std::wstring& left, const std::wstring& right) {
    return ::CompareStringW(LOCALE_INVARIANT, NORM_IGNORECASE, left.c_str(), -1, right.c_str(), -1) == CSTR_EQUAL;
}

}  // namespace

const wchar_t* CatalogueName(UninstallType type) {
    return kCatalogues[type == UNINSTALL_TYPE_FOREIGN].name;
}

const Product& FindProduct(const std::vector<Product>& products, const std::wstring& name) {
    const auto isNamed = [&](const Product& product) { return product.name == name; };
    const auto found = std::find_if(products.begin(), products.end(), isNamed);
    if (found == products.end()) {
        const auto alike = std::find_if(products.begin(), products.end(),
                                        [&](const Product& product) { return DiffersInCase(product.name, name); });
        throw Failure(ERROR_UNKNOWN_PRODUCT,
                      Quoted(name) + L" is in no catalogue" +
                          (alike != products.end() ? L"; is " + Quoted(alike->name) + L" meant?" : std::wstring()));
    }
    const auto isOther = [&](const Product& other) { return isNamed(other) && other.type != found->type; };
    if (std::any_of(found, products.end(), isOther)) {
        throw Failure(ERROR_INVALID_COMMAND_LINE,
                      Quoted(name) + L" is in both catalogues: choose one with --catalogue");
    }
    return *found;
}

std::wstring Quoted(const std::wstring& name) {
    return L"\"" + name + L"\"";
}

Library::Library(const std::wstring& folder) : m_folder(folder), m_module(LoadFrom(folder + L"\\" + kLibraryName)) {
    if (!m_module) {
        throw Failure(ERROR_INSTALL_FAILURE, folder + L"\\" + kLibraryName + L" cannot be loaded (error " +
                                                 std::to_wstring(::GetLastError()) + L")");
    }
}

bool Library::IsOfThisBuild() const {
    constexpr std::string_view kId = PRODRM_BUILD_ID;
    const HRSRC resource = ::FindResourceW(m_module.Get(), MAKEINTRESOURCEW(1), L"BUILDID");
    const HGLOBAL loaded = resource != nullptr ? ::LoadResource(m_module.Get(), resource) : nullptr;
    const void* const id = loaded != nullptr ? ::LockResource(loaded) : nullptr;
    return id != nullptr && ::SizeofResource(m_module.Get(), resource) >= kId.size() &&
           std::string_view(static_cast<const char*>(id), kId.size()) == kId;
}

void Library::CheckBuild() const {
    if (!IsOfThisBuild()) {
        Output(STD_ERROR_HANDLE)
            .WriteLine(std::wstring(L"prodrm: this program and ") + kLibraryName +
                       L" are not of one build: what is told here may differ from what the library does");
    }
}

FARPROC Library::Find(const char* name) const {
    const FARPROC address = ::GetProcAddress(m_module.Get(), name);
    if (address == nullptr) {
        throw Failure(ERROR_INSTALL_FAILURE, std::wstring(kLibraryName) + L" does not export " + FromUtf8(name));
    }
    return address;
}

std::vector<Product> Library::Products(ULONG flags) const {
    return List<BSTR>(Bind<ListFunction>("GetProducts"), flags, m_folder);
}

std::vector<Product> Library::InstalledProducts(ULONG flags) const {
    return List<BSTR>(Bind<ListFunction>("GetInstalledProducts"), flags, m_folder);
}

std::vector<Product> Library::InstalledProductsEx(ULONG flags) const {
    return List<VersionEntry>(Bind<ListFunction>("GetInstalledProductsEx"), flags, m_folder);
}

RemovalExports Library::Removal() const {
    return {
        Bind<decltype(&::UninstallProduct)>("UninstallProduct"),
        Bind<decltype(&::UninstallForceAll)>("UninstallForceAll"),
        Bind<decltype(&::UninstallAllInstalled)>("UninstallAllInstalled"),
        Bind<decltype(&::GetProgressPercent)>("GetProgressPercent"),
    };
}

}  // namespace tools::host
