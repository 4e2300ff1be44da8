#include "embedded.h"

#include <windows.h>

#include <algorithm>

#include "common/failure.h"
#include "foundation/embedded_document.h"
#include "foundation/owned.h"

namespace tools::lint {

bool IsProgramFile(const Bytes& bytes) {
    return bytes.size() > 2 && bytes[0] == 'M' && bytes[1] == 'Z';
}

Bytes ReadEmbedded(const std::wstring& library) {
    const OwnedModule module(::LoadLibraryExW(library.c_str(), nullptr, LOAD_LIBRARY_AS_DATAFILE));
    const HRSRC resource =
        module ? ::FindResourceW(module.Get(), MAKEINTRESOURCEW(kDocumentId), kDocumentType) : nullptr;
    const HGLOBAL loaded = resource != nullptr ? ::LoadResource(module.Get(), resource) : nullptr;
    const BYTE* const stored = loaded != nullptr ? static_cast<const BYTE*>(::LockResource(loaded)) : nullptr;
    if (stored == nullptr) {
        throw Failure(ERROR_INSTALL_FAILURE, L"it holds no document");
    }
    Bytes bytes(stored, stored + ::SizeofResource(module.Get(), resource));
    if (!DecipherDocument(bytes)) {
        throw Failure(ERROR_INSTALL_FAILURE, L"its document was enciphered by another build");
    }
    bytes.erase(std::find(bytes.begin(), bytes.end(), BYTE{0}), bytes.end());
    return bytes;
}

}  // namespace tools::lint
