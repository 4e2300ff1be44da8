#include "api/result_array.h"

#include <oleauto.h>

#include "foundation/log_statement.h"

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
