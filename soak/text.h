#pragma once

#include <string>
#include <string_view>
#include <vector>

std::string ToUtf8(std::wstring_view text);
std::wstring FromUtf8(std::string_view text);

// As the system folds names of files and keys.
std::wstring Lower(std::wstring text);

std::vector<std::wstring> Split(const std::wstring& text, wchar_t separator);

// Whole content of a file; an exception if it cannot be read or written.
std::string ReadWholeFile(const std::wstring& path);
void WriteWholeFile(const std::wstring& path, std::string_view content);
