#include "text.h"

#include <windows.h>

#include <stdexcept>

#include "foundation/owned.h"

std::string ToUtf8(std::wstring_view text) {
    const int units = static_cast<int>(text.size());
    const int bytes = ::WideCharToMultiByte(CP_UTF8, 0, text.data(), units, nullptr, 0, nullptr, nullptr);
    std::string result(static_cast<std::size_t>(bytes), '\0');
    ::WideCharToMultiByte(CP_UTF8, 0, text.data(), units, result.data(), bytes, nullptr, nullptr);
    return result;
}

std::wstring FromUtf8(std::string_view text) {
    const int bytes = static_cast<int>(text.size());
    const int units = ::MultiByteToWideChar(CP_UTF8, 0, text.data(), bytes, nullptr, 0);
    std::wstring result(static_cast<std::size_t>(units), L'\0');
    ::MultiByteToWideChar(CP_UTF8, 0, text.data(), bytes, result.data(), units);
    return result;
}

std::wstring Lower(std::wstring text) {
    ::CharLowerBuffW(text.data(), static_cast<DWORD>(text.size()));
    return text;
}

std::vector<std::wstring> Split(const std::wstring& text, wchar_t separator) {
    std::vector<std::wstring> pieces;
    std::size_t begin = 0;
    for (std::size_t end = text.find(separator); end != std::wstring::npos; end = text.find(separator, begin)) {
        pieces.push_back(text.substr(begin, end - begin));
        begin = end + 1;
    }
    pieces.push_back(text.substr(begin));
    return pieces;
}

std::string ReadWholeFile(const std::wstring& path) {
    const OwnedFileHandle file(::CreateFileW(path.c_str(), GENERIC_READ, FILE_SHARE_READ | FILE_SHARE_WRITE, nullptr,
                                             OPEN_EXISTING, 0, nullptr));
    if (!file) {
        throw std::runtime_error("cannot read " + ToUtf8(path));
    }
    std::string content;
    char buffer[16384];
    DWORD read = 0;
    while (::ReadFile(file.Get(), buffer, sizeof buffer, &read, nullptr) && read != 0) {
        content.append(buffer, read);
    }
    return content;
}

void WriteWholeFile(const std::wstring& path, std::string_view content) {
    const OwnedFileHandle file(::CreateFileW(path.c_str(), GENERIC_WRITE, 0, nullptr, CREATE_ALWAYS, 0, nullptr));
    DWORD written = 0;
    if (!file || !::WriteFile(file.Get(), content.data(), static_cast<DWORD>(content.size()), &written, nullptr)) {
        throw std::runtime_error("cannot write " + ToUtf8(path));
    }
}
