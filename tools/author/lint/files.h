#pragma once

#include <string>
#include <vector>

namespace tools::lint {

bool IsFolder(const std::wstring& path);
bool IsFile(const std::wstring& path);

// What there is to check in a product folder, relative to it: the catalogues, other documents, the library, and the
// scripts in "intern" and "extern", in this order.
std::vector<std::wstring> FilesBelow(const std::wstring& folder);

// The last part of a path, and what stands before it without the separator.
std::wstring FileName(const std::wstring& path);
std::wstring FolderOf(const std::wstring& path);

}  // namespace tools::lint
