#pragma once

#include <windows.h>

#include <string>
#include <vector>

namespace tools {

// The content of a file of at most 64 MB, what a 32-bit process can hold several times over. While it is read nobody
// may write to it; with GENERIC_WRITE in `access` the right to write is asked for as well. `what` names the file's part
// in a message, as in `cannot read the document "C:\\a.xml": ...`. Throws Failure.
std::vector<BYTE> ReadWholeFile(const std::wstring& what, const std::wstring& file, DWORD access = GENERIC_READ);

}  // namespace tools
