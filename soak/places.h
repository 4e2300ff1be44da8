#pragma once

#include <string>

// Texts of machines and documents name folders of the system in braces, by the words that scripts use:
// {program_files}\Product. They are put in here, as the environment knows them and not as the library does.
std::wstring Expand(const std::wstring& text);
std::string Expand(const std::string& utf8);

// This program's own folder, which the comparison of states leaves out, and the current folder of the library's host,
// which it does not.
inline constexpr wchar_t kWorkFolder[] = L"C:\\prodrm-soak";
inline constexpr wchar_t kHostFolder[] = L"C:\\prodrm-soak-host";
