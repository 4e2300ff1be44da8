#pragma once

#include <windows.h>

#include <oleauto.h>

#include <string>
#include <vector>

#include "support/import_patch.h"
#include "support/show_text.h"

// Product scripts put together from their parts, and a road for them.

using Lines = std::vector<std::wstring>;

inline std::string Utf8(const std::wstring& text) {
    std::string bytes(text.size() * 3, '\0');
    const int size = ::WideCharToMultiByte(CP_UTF8, 0, text.data(), static_cast<int>(text.size()), bytes.data(),
                                           static_cast<int>(bytes.size()), nullptr, nullptr);
    bytes.resize(static_cast<std::size_t>(size));
    return bytes;
}

// `text` with every `mark` replaced.
inline std::wstring Replaced(std::wstring text, const std::wstring& mark, const std::wstring& by) {
    for (std::size_t at = text.find(mark); at != std::wstring::npos; at = text.find(mark, at + by.size())) {
        text.replace(at, mark.size(), by);
    }
    return text;
}

inline std::wstring Section(const std::wstring& opCode, const std::wstring& attributes) {
    return L"<s op_code=\"" + opCode + L"\"><o " + attributes + L"/></s>";
}

inline std::wstring Document(const std::wstring& listed, const std::wstring& versions) {
    return L"<uninstall_information><version_list>" + listed + L"</version_list>" + versions +
           L"</uninstall_information>";
}

// A script of one version, whose product lies in the folder "P" below the program files.
inline std::wstring Script(const std::wstring& sections) {
    return Document(L"<v1/>", L"<v1><install_folder name=\"P\"/><win_nt>" + sections + L"</win_nt></v1>");
}

// For a scope, a document that is asked to load no text gets this one. So a script reaches the processors whose source
// hands out none, by their own road.
class ArrivingText {
public:
    explicit ArrivingText(const std::wstring& text) { s_text = text; }

private:
    static BSTR WINAPI Allocate(const OLECHAR* text) {
        const std::wstring given = text != nullptr ? text : s_text;
        return ::SysAllocStringLen(given.c_str(), static_cast<UINT>(given.size()));
    }

    inline static std::wstring s_text;

    ImportPatch m_patch{"SysAllocString", &Allocate};
};
