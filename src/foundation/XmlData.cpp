#include "foundation/XmlData.h"

#include "foundation/CCrypt.h"

namespace {

constexpr DWORD kMaxDocumentBytes = 0x100000;

// What the steps of ReadData answer.
constexpr DWORD kNoDataPointer = 0xA0;        // ERROR_BAD_ARGUMENTS
constexpr DWORD kNoResource = 0x2;            // ERROR_FILE_NOT_FOUND
constexpr DWORD kBadSize = 0x18;              // ERROR_BAD_LENGTH
constexpr DWORD kResourceNotLoaded = 0x138F;  // ERROR_RESOURCE_NOT_FOUND
constexpr DWORD kResourceNotThere = 0x138E;   // ERROR_RESOURCE_NOT_AVAILABLE

}  // namespace

DWORD XmlData::ReadData(const std::wstring& type, DWORD id, BYTE** data, DWORD* size) {
    if (data == nullptr) {
        return kNoDataPointer;
    }
    const HRSRC resource = ::FindResourceW(nullptr, MAKEINTRESOURCEW(id), type.c_str());
    if (resource == nullptr) {
        return kNoResource;
    }
    *size = ::SizeofResource(nullptr, resource);
    if (*size == 0 || *size > kMaxDocumentBytes) {
        return kBadSize;
    }
    const HGLOBAL loaded = ::LoadResource(nullptr, resource);
    if (loaded == nullptr) {
        return kResourceNotLoaded;
    }
    BYTE* const locked = static_cast<BYTE*>(::LockResource(loaded));
    if (*data == nullptr) {
        return kResourceNotThere;
    }
    // Without a prepared key the call is refused and the stored bytes stay as they are.
    const CCrypt crypt;
    ::CryptDecrypt(crypt.Key(), 0, TRUE, 0, locked, size);
    return ERROR_SUCCESS;
}

DWORD XmlData::WriteData(const std::wstring& file, const std::wstring& type, DWORD id, const BYTE* data,
                         const DWORD* size) {
    constexpr WORD kNeutralLanguage = MAKELANGID(LANG_NEUTRAL, SUBLANG_NEUTRAL);
    const HANDLE update = ::BeginUpdateResourceW(file.c_str(), FALSE);
    if (update == nullptr) {
        return ERROR_GEN_FAILURE;
    }
    // UpdateResourceW copies the data and takes it without const. A refused update leaves the handle open.
    if (!::UpdateResourceW(update, type.c_str(), MAKEINTRESOURCEW(id), kNeutralLanguage, const_cast<BYTE*>(data),
                           *size)) {
        return ERROR_GEN_FAILURE;
    }
    return ::EndUpdateResourceW(update, FALSE) ? ERROR_SUCCESS : ERROR_GEN_FAILURE;
}
