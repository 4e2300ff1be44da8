#include <windows.h>
#include <oleauto.h>

#include <set>

#include "api/host_exception.h"
#include "api/listing.h"
#include "api/result_array.h"
#include "foundation/log_statement.h"

namespace {

// Name of the version's key: what follows the last backslash of its path. Null if there is none.
const wchar_t* KeyName(const CProductVersion& version) {
    const std::size_t separator = version.KeyPath().rfind(L'\\');
    return separator != std::wstring::npos ? version.KeyPath().c_str() + separator + 1 : nullptr;
}

bool IsFound(const CProductVersion& version) {
    return !version.KeyPath().empty() && version.IsInstalled2();
}

// The plain form: an array of the key names of the versions found; false if there are none.
bool GetInstalledGuids(const std::vector<CProductVersion>& versions, SAFEARRAY** guids) {
    *guids = nullptr;
    std::vector<const wchar_t*> names;
    for (const CProductVersion& version : versions) {
        if (!IsFound(version)) {
            continue;
        }
        if (const wchar_t* const name = KeyName(version)) {
            names.push_back(name);
        }
    }
    void* data = nullptr;
    if (names.empty() || !MakeResultArray(CALLER, guids, sizeof(BSTR), static_cast<ULONG>(names.size()), &data)) {
        return false;
    }
    auto* text = static_cast<BSTR*>(data);
    for (const wchar_t* const name : names) {
        *text++ = ::SysAllocString(name);
    }
    EndResultArrayAccess(CALLER, *guids);
    return true;
}

// Makes an array that stays locked for access. Reports failures and does not stop at them: the result is that of the
// last step, and a descriptor that could not be made is a null dereference.
HRESULT AllocSafeArray(SAFEARRAY** array, ULONG elementBytes, ULONG count, void** data) {
    *array = nullptr;
    HRESULT hr = ::SafeArrayAllocDescriptor(1, array);
    if (FAILED(hr)) {
        LOG(kError, L"SafeArrayAllocDescriptor failed 0x%x", hr);
    }
    (*array)->cbElements = elementBytes;
    (*array)->rgsabound[0] = {count, 0};
    hr = ::SafeArrayAllocData(*array);
    if (FAILED(hr)) {
        ::SafeArrayDestroyData(*array);
        LOG(kError, L"SafeArrayAllocData failed 0x%x", hr);
    }
    hr = ::SafeArrayAccessData(*array, data);
    if (FAILED(hr)) {
        ::SafeArrayDestroyData(*array);
        ::SafeArrayDestroyData(*array);
        LOG(kError, L"SafeArrayAccessData failed 0x%x", hr);
    }
    return hr;
}

void FillParams(const CProductVersion::Params& params, SAFEARRAY** array) {
    void* data = nullptr;
    AllocSafeArray(array, sizeof(ParamEntry), static_cast<ULONG>(params.size()), &data);
    auto* entry = static_cast<ParamEntry*>(data);
    for (const auto& [name, texts] : params) {
        entry->name = ::SysAllocString(name.c_str());
        void* values = nullptr;
        AllocSafeArray(&entry->values, sizeof(BSTR), static_cast<ULONG>(texts.size()), &values);
        auto* value = static_cast<BSTR*>(values);
        for (const std::wstring& text : texts) {
            *value++ = ::SysAllocString(text.c_str());
        }
        ::SafeArrayUnaccessData(entry->values);
        ++entry;
    }
    ::SafeArrayUnaccessData(*array);
}

// The extended form: key names with parameters, of several versions with one key path the first. Always true; without
// a version found the target stays as it is.
bool GetInstalledGuidsEx(const std::vector<CProductVersion>& versions, SAFEARRAY** guids) {
    std::vector<const CProductVersion*> found;
    std::set<std::wstring> seen;
    for (const CProductVersion& version : versions) {
        if (IsFound(version) && seen.insert(version.KeyPath()).second) {
            found.push_back(&version);
        }
    }
    if (found.empty()) {
        return true;
    }
    void* data = nullptr;
    const HRESULT hr = AllocSafeArray(guids, sizeof(VersionEntry), static_cast<ULONG>(found.size()), &data);
    if (FAILED(hr)) {
        LOG(kError, L"SafeArrayAllocDescriptor failed 0x%x", hr);  // whichever step it was
    } else {
        auto* entry = static_cast<VersionEntry*>(data);
        for (const CProductVersion* const version : found) {
            if (const wchar_t* const name = KeyName(*version)) {
                entry->key = ::SysAllocString(name);
                FillParams(version->Parameters(), &entry->params);
            }
            ++entry;
        }
    }
    if (data != nullptr) {
        ::SafeArrayUnaccessData(*guids);
    }
    return true;
}

bool ReadInstalled(const CProducts& catalogue, LONG type, std::vector<CProduct>& list) {
    return catalogue.GetInstalledProducts(list, type);
}

bool GetInstalledProductsHelper(SAFEARRAY** products, ULONG flags, bool extended) {
    LOG(kInfo, L"->");
    return AnswerListing(CALLER, products, flags, &ReadInstalled, extended ? &GetInstalledGuidsEx : &GetInstalledGuids);
}

}  // namespace

bool __cdecl GetInstalledProducts(SAFEARRAY** products, ULONG flags) {
    return RaisingToHost([&] {
        LOG(kInfo, L"->");
        return GetInstalledProductsHelper(products, flags, false);
    });
}

bool __cdecl GetInstalledProductsEx(SAFEARRAY** products, ULONG flags) {
    return RaisingToHost([&] {
        LOG(kInfo, L"->");
        return GetInstalledProductsHelper(products, flags, true);
    });
}
