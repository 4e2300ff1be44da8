#pragma once

#include <string>

#include "document.h"

namespace tools::pack {

// Enciphers the document and puts it into the library file as its embedded document. The work is done on a copy beside
// the library, which takes the library's place as the last step: on failure the library is byte for byte as it was and
// the copy is gone. Throws Failure.
void EmbedDocument(const Bytes& document, const std::wstring& library);

}  // namespace tools::pack
