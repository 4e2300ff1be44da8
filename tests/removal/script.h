#pragma once

#include <windows.h>

#include <string>
#include <vector>

using Lines = std::vector<std::wstring>;

inline std::string Utf8(const std::wstring& text) {
    std::string bytes(text.size() * 3, '\0');
    const int size = ::WideCharToMultiByte(CP_UTF8, 0, text.data(), static_cast<int>(text.size()), bytes.data(),
                                           static_cast<int>(bytes.size()), nullptr, nullptr);
    bytes.resize(static_cast<std::size_t>(size));
    return bytes;
}

inline std::wstring Section(const std::wstring& opCode, const std::wstring& attributes) {
    return L"<s op_code=\"" + opCode + L"\"><o " + attributes + L"/></s>";
}

// A script of one version, whose product lies in the folder "P" below the program files.
inline std::wstring Script(const std::wstring& sections) {
    return L"<uninstall_information><version_list><v1/></version_list><v1><install_folder name=\"P\"/><win_nt>" +
           sections + L"</win_nt></v1></uninstall_information>";
}
