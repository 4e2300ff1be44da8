#include "library.h"

#include "common/failure.h"
#include "common/files.h"
#include "foundation/CCrypt.h"
#include "foundation/embedded_document.h"
#include "foundation/owned.h"
#include "foundation/XmlData.h"
#include "image.h"

namespace tools::pack {

namespace {

// A copy of the library in its own folder, so that it can take the library's place by a mere change of names.
class WorkingCopy {
public:
    explicit WorkingCopy(const std::wstring& library)
        : m_library(library), m_path(library + L"." + std::to_wstring(::GetCurrentProcessId()) + L".tmp") {
        if (!::CopyFileW(library.c_str(), m_path.c_str(), TRUE)) {
            const DWORD error = ::GetLastError();
            // A copy that broke off stays behind; a file of that name which stood there before is not ours.
            if (error != ERROR_FILE_EXISTS && error != ERROR_ALREADY_EXISTS) {
                ::DeleteFileW(m_path.c_str());
            }
            throw SystemFailure(L"cannot make a working copy beside", library, error);
        }
    }
    ~WorkingCopy() {
        if (!m_placed) {
            ::DeleteFileW(m_path.c_str());
        }
    }
    WorkingCopy(const WorkingCopy&) = delete;
    WorkingCopy& operator=(const WorkingCopy&) = delete;

    const std::wstring& Path() const { return m_path; }

    void TakePlaceOfLibrary() {
        if (!::MoveFileExW(m_path.c_str(), m_library.c_str(), MOVEFILE_REPLACE_EXISTING | MOVEFILE_WRITE_THROUGH)) {
            throw SystemFailure(L"cannot replace", m_library);
        }
        m_placed = true;
    }

private:
    std::wstring m_library;
    std::wstring m_path;
    bool m_placed = false;
};

// The bytes of the library. Tells a missing, protected, loaded or damaged file before any work is done on its copy.
Bytes CheckLibrary(const std::wstring& library) {
    const DWORD attributes = ::GetFileAttributesW(library.c_str());
    if (attributes != INVALID_FILE_ATTRIBUTES && (attributes & FILE_ATTRIBUTE_READONLY) != 0) {
        throw SystemFailure(L"cannot write to the library", library, ERROR_ACCESS_DENIED);
    }
    Bytes bytes = ReadWholeFile(L"library", library, GENERIC_READ | GENERIC_WRITE);
    CheckImage(library, bytes);
    return bytes;
}

Bytes Encipher(const Bytes& document, const std::wstring& library) {
    CCrypt crypt;
    Bytes bytes = document;
    bytes.resize(document.size() + kCipherBlockBytes);
    DWORD size = static_cast<DWORD>(document.size());
    if (!crypt.PrepareKey() ||
        !::CryptEncrypt(crypt.Key(), 0, TRUE, 0, bytes.data(), &size, static_cast<DWORD>(bytes.size()))) {
        throw SystemFailure(L"cannot encipher the document for", library);
    }
    bytes.resize(size);
    return bytes;
}

// The document as the library will find it in that file; empty if it will not.
Bytes ReadBack(const std::wstring& file) {
    const OwnedModule module(::LoadLibraryExW(file.c_str(), nullptr, LOAD_LIBRARY_AS_DATAFILE));
    const HRSRC resource =
        module ? ::FindResourceW(module.Get(), MAKEINTRESOURCEW(kDocumentId), kDocumentType) : nullptr;
    const HGLOBAL loaded = resource != nullptr ? ::LoadResource(module.Get(), resource) : nullptr;
    const BYTE* const stored = loaded != nullptr ? static_cast<const BYTE*>(::LockResource(loaded)) : nullptr;
    if (stored == nullptr) {
        return {};
    }
    Bytes bytes(stored, stored + ::SizeofResource(module.Get(), resource));
    return DecipherDocument(bytes) ? bytes : Bytes();
}

void WriteMended(const Bytes& before, const std::wstring& copy) {
    Bytes after = ReadWholeFile(L"library", copy);
    MendSymbolTable(before, after);
    const OwnedFileHandle file(::CreateFileW(copy.c_str(), GENERIC_WRITE, 0, nullptr, OPEN_EXISTING, 0, nullptr));
    DWORD written = 0;
    if (!file || !::WriteFile(file.Get(), after.data(), static_cast<DWORD>(after.size()), &written, nullptr)) {
        throw SystemFailure(L"cannot write to the library", copy);
    }
}

}  // namespace

void EmbedDocument(const Bytes& document, const std::wstring& library) {
    const Bytes before = CheckLibrary(library);
    const Bytes enciphered = Encipher(document, library);
    const DWORD size = static_cast<DWORD>(enciphered.size());
    WorkingCopy copy(library);
    ::SetLastError(ERROR_SUCCESS);
    if (const DWORD code = XmlData().WriteData(copy.Path(), kDocumentType, kDocumentId, enciphered.data(), &size)) {
        const DWORD error = ::GetLastError();
        throw SystemFailure(L"cannot store the document in", library, error != ERROR_SUCCESS ? error : code);
    }
    WriteMended(before, copy.Path());
    if (ReadBack(copy.Path()) != document) {
        throw Failure(ERROR_INSTALL_FAILURE, L"cannot store the document in \"" + library +
                                                 L"\": what was written does not read back as the document");
    }
    copy.TakePlaceOfLibrary();
}

}  // namespace tools::pack
