#pragma once

#include <windows.h>

#include <doctest/doctest.h>

#include <objbase.h>
#include <oleauto.h>

#include <string>
#include <vector>

#include "support/import_patch.h"

// What an export asks of COM and of the arrays, in order. One call of the function named by g_failing fails, the one
// that brings g_before to nothing; an access is ended first.
inline std::vector<std::string> g_calls;
inline std::string g_failing;
inline int g_before = 0;
inline HRESULT g_initialized = E_FAIL;

template <typename... Parameters>
HRESULT Watch(const char* name, HRESULT(WINAPI* /* the signature */)(Parameters...), Parameters... arguments) {
    g_calls.emplace_back(name);
    const bool fails = g_failing == name && g_before-- == 0;
    if (fails && g_failing != "SafeArrayUnaccessData") {
        return E_OUTOFMEMORY;
    }
    const HMODULE module = ::GetModuleHandleW(*name == 'S' ? L"oleaut32.dll" : L"ole32.dll");
    const HRESULT hr = reinterpret_cast<HRESULT(WINAPI*)(Parameters...)>(
        reinterpret_cast<void*>(::GetProcAddress(module, name)))(arguments...);
    return fails ? E_OUTOFMEMORY : hr;
}

inline HRESULT WINAPI WatchCoInitialize(void* reserved) {
    CHECK(reserved == nullptr);
    g_initialized = Watch("CoInitialize", &::CoInitialize, reserved);
    return g_initialized;
}
inline void WINAPI WatchCoUninitialize() {
    g_calls.emplace_back("CoUninitialize");
    reinterpret_cast<void(WINAPI*)()>(
        reinterpret_cast<void*>(::GetProcAddress(::GetModuleHandleW(L"ole32.dll"), "CoUninitialize")))();
}
inline HRESULT WINAPI WatchAllocDescriptor(UINT dimensions, SAFEARRAY** array) {
    return Watch("SafeArrayAllocDescriptor", &::SafeArrayAllocDescriptor, dimensions, array);
}
inline HRESULT WINAPI WatchAllocData(SAFEARRAY* array) {
    return Watch("SafeArrayAllocData", &::SafeArrayAllocData, array);
}
inline HRESULT WINAPI WatchAccessData(SAFEARRAY* array, void** data) {
    return Watch("SafeArrayAccessData", &::SafeArrayAccessData, array, data);
}
inline HRESULT WINAPI WatchUnaccessData(SAFEARRAY* array) {
    return Watch("SafeArrayUnaccessData", &::SafeArrayUnaccessData, array);
}
inline HRESULT WINAPI WatchDestroyData(SAFEARRAY* array) {
    return Watch("SafeArrayDestroyData", &::SafeArrayDestroyData, array);
}
inline HRESULT WINAPI WatchDestroyDescriptor(SAFEARRAY* array) {
    return Watch("SafeArrayDestroyDescriptor", &::SafeArrayDestroyDescriptor, array);
}

struct WatchedCalls {
    // So many calls of `failing` succeed before the one that does not.
    explicit WatchedCalls(const char* failing = "", int before = 0) {
        g_calls.clear();
        g_failing = failing;
        g_before = before;
    }
    ImportPatch initialize{"CoInitialize", &WatchCoInitialize};
    ImportPatch uninitialize{"CoUninitialize", &WatchCoUninitialize};
    ImportPatch allocDescriptor{"SafeArrayAllocDescriptor", &WatchAllocDescriptor};
    ImportPatch allocData{"SafeArrayAllocData", &WatchAllocData};
    ImportPatch accessData{"SafeArrayAccessData", &WatchAccessData};
    ImportPatch unaccessData{"SafeArrayUnaccessData", &WatchUnaccessData};
    ImportPatch destroyData{"SafeArrayDestroyData", &WatchDestroyData};
    ImportPatch destroyDescriptor{"SafeArrayDestroyDescriptor", &WatchDestroyDescriptor};
};
