#include "files.h"

#include <windows.h>

#include <algorithm>

#include "foundation/owned.h"
#include "foundation/text.h"

namespace tools::lint {

namespace {

bool HasEnding(const std::wstring& name, std::wstring_view ending) {
    return name.size() > ending.size() &&
           EqualsBlind(std::wstring_view(name).substr(name.size() - ending.size()), ending);
}

// Names of the files in a folder, sorted; none if it is not there.
std::vector<std::wstring> NamesIn(const std::wstring& folder) {
    std::vector<std::wstring> names;
    WIN32_FIND_DATAW entry;
    const OwnedFindHandle found(::FindFirstFileW((folder + L"\\*").c_str(), &entry));
    for (BOOL more = static_cast<bool>(found); more; more = ::FindNextFileW(found.Get(), &entry)) {
        if ((entry.dwFileAttributes & FILE_ATTRIBUTE_DIRECTORY) == 0) {
            names.emplace_back(entry.cFileName);
        }
    }
    std::sort(names.begin(), names.end());
    return names;
}

}  // namespace

bool IsFolder(const std::wstring& path) {
    const DWORD attributes = ::GetFileAttributesW(path.c_str());
    return attributes != INVALID_FILE_ATTRIBUTES && (attributes & FILE_ATTRIBUTE_DIRECTORY) != 0;
}

bool IsFile(const std::wstring& path) {
    const DWORD attributes = ::GetFileAttributesW(path.c_str());
    return attributes != INVALID_FILE_ATTRIBUTES && (attributes & FILE_ATTRIBUTE_DIRECTORY) == 0;
}

std::vector<std::wstring> FilesBelow(const std::wstring& folder) {
    std::vector<std::wstring> files = NamesIn(folder);
    std::erase_if(
        files, [](const std::wstring& name) { return !HasEnding(name, L".xml") && !EqualsBlind(name, L"prodrm.dll"); });
    for (const wchar_t* const scripts : {L"intern", L"extern"}) {
        for (const std::wstring& name : NamesIn(folder + L"\\" + scripts)) {
            files.push_back(std::wstring(scripts) + L"\\" + name);
        }
    }
    return files;
}

std::wstring FileName(const std::wstring& path) {
    return path.substr(path.find_last_of(L"\\/:") + 1);
}

std::wstring FolderOf(const std::wstring& path) {
    const std::size_t separator = path.find_last_of(L"\\/");
    return separator != std::wstring::npos ? path.substr(0, separator) : L".";
}

}  // namespace tools::lint
