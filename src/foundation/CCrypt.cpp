#include "foundation/CCrypt.h"

CCrypt::~CCrypt() {
    if (m_key != 0) {
        ::CryptDestroyKey(m_key);
    }
    if (m_hash != 0) {
        ::CryptDestroyHash(m_hash);
    }
    if (m_provider != 0) {
        ::CryptReleaseContext(m_provider, 0);
    }
}

bool CCrypt::PrepareKey() {
    constexpr ALG_ID kSha256 = ALG_CLASS_HASH | ALG_TYPE_ANY | 12;  // CALG_SHA_256, named by newer headers only
    constexpr DWORD kAes256KeyBits = 256u << 16;  // the upper half of the flags holds the key's length
    return ::CryptAcquireContextW(&m_provider, nullptr, nullptr, PROV_RSA_AES, CRYPT_VERIFYCONTEXT) &&
           ::CryptCreateHash(m_provider, kSha256, 0, 0, &m_hash) &&
           ::CryptHashData(m_hash, m_material->data(), static_cast<DWORD>(m_material->size()), 0) &&
           ::CryptDeriveKey(m_provider, CALG_AES_256, m_hash, kAes256KeyBits, &m_key);
}
