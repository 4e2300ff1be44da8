#include "support/temp_folder.h"

#include <algorithm>
#include <filesystem>
#include <stdexcept>

namespace fs = std::filesystem;

TempFolder::TempFolder() {
    static int count = 0;
    const std::wstring name = std::to_wstring(::GetCurrentProcessId()) + L"-" + std::to_wstring(++count);
    m_path = (fs::temp_directory_path() / (L"prodrm-" + name)).wstring();
    RemoveTree(m_path);
    fs::create_directory(m_path);
}

TempFolder::~TempFolder() {
    RemoveTree(m_path);
}

std::wstring TempFolder::Path(const std::wstring& relative) const {
    return relative.empty() ? m_path : m_path + L'\\' + relative;
}

std::wstring TempFolder::MakeFolder(const std::wstring& relative) const {
    fs::create_directories(Path(relative));
    return Path(relative);
}

std::wstring TempFolder::WriteFile(const std::wstring& relative, std::string_view content) const {
    fs::create_directories(fs::path(Path(relative)).parent_path());
    WriteWhole(Path(relative), content);
    return Path(relative);
}

std::vector<std::wstring> TempFolder::Tree() const {
    std::vector<std::wstring> tree;
    for (const fs::directory_entry& entry : fs::recursive_directory_iterator(m_path)) {
        tree.push_back(entry.path().wstring().substr(m_path.size() + 1) + (entry.is_directory() ? L"\\" : L""));
    }
    std::sort(tree.begin(), tree.end());
    return tree;
}

void RemoveTree(const std::wstring& path) {
    std::error_code error;
    for (const fs::directory_entry& entry : fs::recursive_directory_iterator(path, error)) {
        ::SetFileAttributesW(entry.path().c_str(), FILE_ATTRIBUTE_NORMAL);
    }
    fs::remove_all(path, error);
}

bool FileExists(const std::wstring& path) {
    return ::GetFileAttributesW(path.c_str()) != INVALID_FILE_ATTRIBUTES;
}

void WriteWhole(const std::wstring& path, std::string_view content) {
    const OwnedFileHandle file(
        ::CreateFileW(path.c_str(), GENERIC_WRITE, 0, nullptr, CREATE_ALWAYS, FILE_ATTRIBUTE_NORMAL, nullptr));
    DWORD written = 0;
    if (!file || !::WriteFile(file.Get(), content.data(), static_cast<DWORD>(content.size()), &written, nullptr)) {
        throw std::runtime_error("cannot write a test file");
    }
}

std::string FileContent(const std::wstring& path) {
    const OwnedFileHandle file = HoldFile(path, FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE);
    std::string bytes(file ? ::GetFileSize(file.Get(), nullptr) : 0, '\0');
    DWORD read = 0;
    if (!file || !::ReadFile(file.Get(), bytes.data(), static_cast<DWORD>(bytes.size()), &read, nullptr)) {
        throw std::runtime_error("cannot read a test file");
    }
    return bytes;
}

OwnedFileHandle HoldFile(const std::wstring& path, DWORD share) {
    return OwnedFileHandle(::CreateFileW(path.c_str(), GENERIC_READ, share, nullptr, OPEN_EXISTING, 0, nullptr));
}
