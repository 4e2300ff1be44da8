#include "foundation/embedded_document.h"

#include "foundation/CCrypt.h"

bool DecipherDocument(std::vector<BYTE>& bytes) {
    const std::size_t storedSize = bytes.size();
    DWORD size = static_cast<DWORD>(storedSize);
    bytes.resize(storedSize + kCipherBlockBytes);
    CCrypt crypt;
    const bool deciphered = crypt.PrepareKey() && ::CryptDecrypt(crypt.Key(), 0, TRUE, 0, bytes.data(), &size);
    bytes.resize(deciphered ? size : storedSize);
    return deciphered;
}
