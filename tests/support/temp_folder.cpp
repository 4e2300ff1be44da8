#include "support/temp_folder.h"

#include <windows.h>

#include <algorithm>
#include <stdexcept>

namespace {

// Calls visit(relative path, attributes) for all entries below `root`, folders after what they hold.
template <typename Visit>
void Walk(const std::wstring& root, const std::wstring& relative, const Visit& visit) {
    WIN32_FIND_DATAW data = {};
    const HANDLE find = ::FindFirstFileW((root + L'\\' + relative + L"*").c_str(), &data);
    if (find == INVALID_HANDLE_VALUE) {
        return;
    }
    std::vector<WIN32_FIND_DATAW> entries;
    do {
        const std::wstring name = data.cFileName;
        if (name != L"." && name != L"..") {
            entries.push_back(data);
        }
    } while (::FindNextFileW(find, &data));
    ::FindClose(find);
    for (const WIN32_FIND_DATAW& entry : entries) {
        std::wstring path = relative + entry.cFileName;
        if ((entry.dwFileAttributes & FILE_ATTRIBUTE_DIRECTORY) != 0) {
            path += L'\\';
            Walk(root, path, visit);
        }
        visit(path, entry.dwFileAttributes);
    }
}

}  // namespace

TempFolder::TempFolder() {
    static int count = 0;
    wchar_t temp[MAX_PATH] = {};
    ::GetTempPathW(MAX_PATH, temp);
    m_path =
        std::wstring(temp) + L"prodrm-" + std::to_wstring(::GetCurrentProcessId()) + L"-" + std::to_wstring(++count);
    RemoveTree(m_path);
    if (!::CreateDirectoryW(m_path.c_str(), nullptr)) {
        throw std::runtime_error("no temporary folder");
    }
}

TempFolder::~TempFolder() {
    RemoveTree(m_path);
}

std::wstring TempFolder::Path(const std::wstring& relative) const {
    return relative.empty() ? m_path : m_path + L'\\' + relative;
}

std::wstring TempFolder::MakeFolder(const std::wstring& relative) const {
    for (std::size_t at = relative.find(L'\\'); at != std::wstring::npos; at = relative.find(L'\\', at + 1)) {
        ::CreateDirectoryW(Path(relative.substr(0, at)).c_str(), nullptr);
    }
    ::CreateDirectoryW(Path(relative).c_str(), nullptr);
    return Path(relative);
}

std::wstring TempFolder::WriteFile(const std::wstring& relative, std::string_view content) const {
    if (const std::size_t separator = relative.rfind(L'\\'); separator != std::wstring::npos) {
        MakeFolder(relative.substr(0, separator));
    }
    const std::wstring path = Path(relative);
    const HANDLE file =
        ::CreateFileW(path.c_str(), GENERIC_WRITE, 0, nullptr, CREATE_ALWAYS, FILE_ATTRIBUTE_NORMAL, nullptr);
    DWORD written = 0;
    if (file == INVALID_HANDLE_VALUE ||
        !::WriteFile(file, content.data(), static_cast<DWORD>(content.size()), &written, nullptr)) {
        throw std::runtime_error("cannot write a test file");
    }
    ::CloseHandle(file);
    return path;
}

std::vector<std::wstring> TempFolder::Tree() const {
    std::vector<std::wstring> tree;
    Walk(m_path, {}, [&](const std::wstring& path, DWORD) { tree.push_back(path); });
    std::sort(tree.begin(), tree.end());
    return tree;
}

void RemoveTree(const std::wstring& path) {
    Walk(path, {}, [&](const std::wstring& relative, DWORD attributes) {
        const std::wstring entry = path + L'\\' + relative;
        ::SetFileAttributesW(entry.c_str(), FILE_ATTRIBUTE_NORMAL);
        if ((attributes & FILE_ATTRIBUTE_DIRECTORY) != 0) {
            ::RemoveDirectoryW(entry.c_str());
        } else {
            ::DeleteFileW(entry.c_str());
        }
    });
    ::RemoveDirectoryW(path.c_str());
}

bool FileExists(const std::wstring& path) {
    return ::GetFileAttributesW(path.c_str()) != INVALID_FILE_ATTRIBUTES;
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
