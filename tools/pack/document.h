#pragma once

#include <windows.h>

#include <string>
#include <vector>

namespace tools::pack {

using Bytes = std::vector<BYTE>;

// Reads a document and checks that the library will read it: UTF-8 that the XML engine takes. The result is what the
// library sees after deciphering: no byte order mark, one terminating zero. COM must be initialised. Throws Failure.
Bytes ReadDocument(const std::wstring& file);

}  // namespace tools::pack
