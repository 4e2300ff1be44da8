#pragma once

#include <windows.h>

#include <stdexcept>
#include <string>

// Full path of a file in the folder of the test program.
inline std::wstring BesideTest(const std::wstring& name) {
    wchar_t program[MAX_PATH] = {};
    ::GetModuleFileNameW(nullptr, program, MAX_PATH);
    const std::wstring path = program;
    return path.substr(0, path.rfind(L'\\') + 1) + name;
}

// Full path of a file of the built product.
inline std::wstring InProduct(const std::wstring& name) {
    wchar_t folder[MAX_PATH] = {};
    if (::GetEnvironmentVariableW(L"PRODRM_DIST", folder, MAX_PATH) == 0) {
        throw std::runtime_error("PRODRM_DIST is not set");
    }
    return std::wstring(folder) + L'\\' + name;
}
