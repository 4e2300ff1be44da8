#include "embedded.h"

#include <windows.h>

#include <algorithm>

#include "common/failure.h"
#include "foundation/CCrypt.h"
#include "foundation/owned.h"

namespace tools::lint {

namespace {

constexpr wchar_t kResourceType[] = L"XMLBIN";
constexpr WORD kResourceId = 101;
constexpr std::size_t kCipherBlockBytes = 16;

}  // namespace

bool IsProgramFile(const Bytes& bytes) {
    return bytes.size() > 2 && bytes[0] == 'M' && bytes[1] == 'Z';
}

Bytes ReadEmbedded(const std::wstring& library) {
    const OwnedModule module(::LoadLibraryExW(library.c_str(), nullptr, LOAD_LIBRARY_AS_DATAFILE));
    const HRSRC resource =
        module ? ::FindResourceW(module.Get(), MAKEINTRESOURCEW(kResourceId), kResourceType) : nullptr;
    const HGLOBAL loaded = resource != nullptr ? ::LoadResource(module.Get(), resource) : nullptr;
    if (loaded == nullptr) {
        throw Failure(ERROR_INSTALL_FAILURE, L"it holds no document");
    }
    DWORD size = ::SizeofResource(module.Get(), resource);
    Bytes bytes(size + kCipherBlockBytes);
    std::copy_n(static_cast<const BYTE*>(::LockResource(loaded)), size, bytes.begin());
    CCrypt crypt;
    if (!crypt.PrepareKey() || !::CryptDecrypt(crypt.Key(), 0, TRUE, 0, bytes.data(), &size)) {
        throw Failure(ERROR_INSTALL_FAILURE, L"its document was enciphered by another build");
    }
    bytes.erase(std::find(bytes.begin(), bytes.begin() + static_cast<std::ptrdiff_t>(size), BYTE{0}), bytes.end());
    return bytes;
}

}  // namespace tools::lint
