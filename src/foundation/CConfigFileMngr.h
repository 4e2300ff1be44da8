#pragma once

#include <windows.h>

#include <memory>
#include <string>

#include "foundation/embedded_document.h"

// Hands out the document embedded in the library.
class IConfigFileManager {
public:
    virtual ~IConfigFileManager() = default;

    // 0 or a platform code. Raises std::range_error ("bad conversion") for a document that is no UTF-8.
    virtual DWORD LoadFromResource(DWORD id) = 0;

    // Replaces the buffer by one that holds the document's characters without a terminator; `bytes` is their size,
    // two bytes a character. Always 0.
    virtual DWORD GetBuffer(std::unique_ptr<BYTE[]>& buffer, DWORD& bytes) const = 0;

    // Always 0.
    virtual DWORD GetText(std::wstring& text) const = 0;
};

// The library's own resource of type XMLBIN: enciphered UTF-8, read once and kept as UTF-16.
class CConfigFileMngr : public IConfigFileManager {
public:
    // The one store of the process. The first call loads the document; a load that fails is not tried again.
    static IConfigFileManager& Instance();

    DWORD LoadFromResource(DWORD id) override;
    DWORD GetBuffer(std::unique_ptr<BYTE[]>& buffer, DWORD& bytes) const override;
    DWORD GetText(std::wstring& text) const override;

private:
    DWORD m_resourceId = kDocumentId;
    bool m_external = false;  // a document always comes from the resource; read by no operation
    std::wstring m_text;
};

// UTF-16 of the bytes up to the first zero byte, or of all of them. Raises std::range_error ("bad conversion").
std::wstring DecodeUtf8(const BYTE* bytes, std::size_t size);
