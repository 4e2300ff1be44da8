#pragma once

#include <windows.h>

#include <doctest/doctest.h>

#include <string>
#include <vector>

#include "foundation/dom.h"
#include "support/show_text.h"

// Product scripts put together from their parts, and the walk of such a text by a processor.

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

// A processor that walks the text it is given, from the list of versions on, whatever its own source is.
template <typename Processor>
class Walked : public Processor {
public:
    using Processor::Processor;

    // False if the list of versions cannot be read; else whether one of the versions gave true.
    bool Walk(const std::wstring& text) {
        ComPtr<IXMLDOMDocument> document;
        ComPtr<IXMLDOMNode> root;
        HRESULT hr = S_OK;
        REQUIRE(SUCCEEDED(dom::CreateDocument(document)));
        REQUIRE(dom::LoadText(document.Get(), text.c_str(), hr));
        std::vector<std::wstring> versions;
        if (!this->SelectRoot(L"Walk", document.Get(), root) || !this->ReadVersions(root.Get(), versions)) {
            return false;
        }
        bool result = false;
        for (const std::wstring& version : versions) {
            result = this->WalkListedVersion(L"Walk", root.Get(), version) || result;
        }
        return result;
    }
};
