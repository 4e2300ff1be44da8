#pragma once

#include <windows.h>
#include <wincrypt.h>

#include "foundation/key_material.h"

// The cipher of the embedded documents over CryptoAPI: acquire, derive, release. AES with a 256-bit key derived from a
// SHA-256 hash of the key material, in the provider's default mode. Handles go with the object.
class CCrypt {
public:
    explicit CCrypt(const KeyMaterial* material = &kKeyMaterial) : m_material(material) {}
    ~CCrypt();
    CCrypt(const CCrypt&) = delete;
    CCrypt& operator=(const CCrypt&) = delete;

    // Makes the key. False, with the cause as the thread's last error, if the provider refuses a step.
    bool PrepareKey();

    // For CryptDecrypt and CryptEncrypt; 0 until PrepareKey succeeded.
    HCRYPTKEY Key() const { return m_key; }

private:
    HCRYPTPROV m_provider = 0;
    HCRYPTHASH m_hash = 0;
    HCRYPTKEY m_key = 0;
    const KeyMaterial* m_material;
};
