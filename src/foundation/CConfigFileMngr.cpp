#include "foundation/CConfigFileMngr.h"

#include <algorithm>
#include <cstring>
#include <stdexcept>
#include <vector>

#include "foundation/embedded_document.h"
#include "foundation/module.h"

namespace {

std::unique_ptr<CConfigFileMngr> g_instance;

}  // namespace

IConfigFileManager& CConfigFileMngr::Instance() {
    if (!g_instance) {
        g_instance = std::make_unique<CConfigFileMngr>();
        g_instance->LoadFromResource(g_instance->m_resourceId);
    }
    return *g_instance;
}

DWORD CConfigFileMngr::LoadFromResource(DWORD id) {
    DWORD code = ERROR_SUCCESS;
    HGLOBAL loaded = nullptr;
    const HRSRC resource = ::FindResourceW(OwnModule(), MAKEINTRESOURCEW(id), kDocumentType);
    if (resource != nullptr) {
        loaded = ::LoadResource(OwnModule(), resource);
    }
    const BYTE* const stored = loaded != nullptr ? static_cast<const BYTE*>(::LockResource(loaded)) : nullptr;
    if (stored == nullptr) {
        code = ::GetLastError();
    } else {
        std::vector<BYTE> bytes(stored, stored + ::SizeofResource(OwnModule(), resource));
        // Bytes that cannot be deciphered are read as they are.
        if (!DecipherDocument(bytes)) {
            code = ERROR_GEN_FAILURE;
        }
        m_text = DecodeUtf8(bytes.data(), bytes.size());
    }
    if (!::FreeResource(loaded)) {
        code = ERROR_GEN_FAILURE;
    }
    return code;
}

DWORD CConfigFileMngr::GetBuffer(std::unique_ptr<BYTE[]>& buffer, DWORD& bytes) const {
    const std::size_t size = m_text.size() * sizeof(wchar_t);
    buffer = std::make_unique<BYTE[]>(size + 1);
    std::memcpy(buffer.get(), m_text.data(), size);
    bytes = static_cast<DWORD>(size);
    return ERROR_SUCCESS;
}

DWORD CConfigFileMngr::GetText(std::wstring& text) const {
    text = m_text;
    return ERROR_SUCCESS;
}

std::wstring DecodeUtf8(const BYTE* bytes, std::size_t size) {
    const int length = static_cast<int>(std::find(bytes, bytes + size, BYTE{0}) - bytes);
    if (length == 0) {
        return {};
    }
    const char* const text = reinterpret_cast<const char*>(bytes);
    const int units = ::MultiByteToWideChar(CP_UTF8, MB_ERR_INVALID_CHARS, text, length, nullptr, 0);
    if (units == 0) {
        throw std::range_error("bad conversion");
    }
    std::wstring wide(static_cast<std::size_t>(units), L'\0');
    ::MultiByteToWideChar(CP_UTF8, MB_ERR_INVALID_CHARS, text, length, wide.data(), units);
    return wide;
}
