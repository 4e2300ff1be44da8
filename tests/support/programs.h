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

inline std::wstring InFolderOf(const wchar_t* variable, const std::wstring& name) {
    wchar_t folder[MAX_PATH] = {};
    if (::GetEnvironmentVariableW(variable, folder, MAX_PATH) == 0) {
        throw std::runtime_error("a folder of the environment is not set");
    }
    return std::wstring(folder) + L'\\' + name;
}

// Full path of a file of the built product.
inline std::wstring InProduct(const std::wstring& name) {
    return InFolderOf(L"PRODRM_DIST", name);
}

// Full path of a file of the project.
inline std::wstring InSources(const std::wstring& name) {
    return InFolderOf(L"PRODRM_ROOT", name);
}
