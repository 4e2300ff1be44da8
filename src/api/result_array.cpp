#include "api/result_array.h"

#include <oleauto.h>

#include "foundation/log.h"

bool MakeResultArray(const wchar_t* caller, SAFEARRAY** array, ULONG elementBytes, ULONG count, void** data) {
    HRESULT hr = ::SafeArrayAllocDescriptor(1, array);
    if (FAILED(hr)) {
        LOG_AS(caller, kError, L"SafeArrayAllocDescriptor failed 0x%x", hr);
        return false;
    }
    (*array)->cbElements = elementBytes;
    (*array)->rgsabound[0] = {count, 0};
    hr = ::SafeArrayAllocData(*array);
    if (FAILED(hr)) {
        ::SafeArrayDestroyDescriptor(*array);
        LOG_AS(caller, kError, L"SafeArrayAllocData failed 0x%x", hr);
        return false;
    }
    hr = ::SafeArrayAccessData(*array, data);
    if (FAILED(hr)) {
        ::SafeArrayDestroyData(*array);
        ::SafeArrayDestroyDescriptor(*array);
        LOG_AS(caller, kError, L"SafeArrayAccessData failed 0x%x", hr);
        return false;
    }
    return true;
}

void EndResultArrayAccess(const wchar_t* caller, SAFEARRAY* array) {
    const HRESULT hr = ::SafeArrayUnaccessData(array);
    if (FAILED(hr)) {
        LOG_AS(caller, kError, L"SafeArrayUnaccessData failed 0x%x", hr);
    }
}

bool MakeProductArray(const wchar_t* caller, const ProductLists& lists, GuidsReader readGuids, SAFEARRAY** products) {
    std::size_t count = 0;
    for (const std::vector<CProduct>& list : lists) {
        count += list.size();
    }
    void* data = nullptr;
    if (!MakeResultArray(caller, products, sizeof(ProductEntry), static_cast<ULONG>(count), &data)) {
        return false;
    }
    auto* entry = static_cast<ProductEntry*>(data);
    for (std::size_t index = 0; index < lists.size(); ++index) {
        for (const CProduct& product : lists[index]) {
            entry->name = ::SysAllocString(product.Name().c_str());
            entry->file = ::SysAllocString(product.File().c_str());
            entry->type = static_cast<ULONG>(kCatalogues[index].type);
            if (!readGuids(product.Versions(), &entry->guids)) {
                entry->guids = nullptr;
            }
            ++entry;
        }
    }
    EndResultArrayAccess(caller, *products);
    return true;
}
