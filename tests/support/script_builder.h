#pragma once

#include <windows.h>

#include <oleauto.h>

#include "support/import_patch.h"
#include "support/show_text.h"

// Product scripts put together from their parts, and a road for them.

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
    explicit ArrivingText(std::wstring text)
        : m_text(std::move(text)), m_patch("SysAllocString", [this](const OLECHAR* given) {
              const std::wstring taken = given != nullptr ? given : m_text;
              return ::SysAllocStringLen(taken.c_str(), static_cast<UINT>(taken.size()));
          }) {}

private:
    std::wstring m_text;
    Played<decltype(&::SysAllocString), ArrivingText> m_patch;
};
