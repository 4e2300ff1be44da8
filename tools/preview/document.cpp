#include "document.h"

#include <windows.h>
#include <wincrypt.h>

#include <array>
#include <stdexcept>
#include <string>

#include "common/modules.h"
#include "common/utf8.h"
#include "foundation/CConfigFileMngr.h"
#include "foundation/module.h"

namespace preview {

namespace {

// The bytes' SHA-256 in hexadecimal digits; empty if the system has no provider for it.
std::string Sha256(const std::string& bytes) {
    constexpr ALG_ID kSha256 = ALG_CLASS_HASH | ALG_TYPE_ANY | 12;  // CALG_SHA_256, named by newer headers only
    HCRYPTPROV provider = 0;
    if (!::CryptAcquireContextW(&provider, nullptr, nullptr, PROV_RSA_AES, CRYPT_VERIFYCONTEXT)) {
        return {};
    }
    std::array<BYTE, 32> sum = {};
    DWORD size = sum.size();
    HCRYPTHASH hash = 0;
    const bool done =
        ::CryptCreateHash(provider, kSha256, 0, 0, &hash) &&
        ::CryptHashData(hash, reinterpret_cast<const BYTE*>(bytes.data()), static_cast<DWORD>(bytes.size()), 0) &&
        ::CryptGetHashParam(hash, HP_HASHVAL, sum.data(), &size, 0);
    ::CryptDestroyHash(hash);
    ::CryptReleaseContext(provider, 0);
    std::string digits;
    for (const BYTE byte : sum) {
        constexpr char kDigits[] = "0123456789abcdef";
        digits += kDigits[byte >> 4];
        digits += kDigits[byte & 15];
    }
    return done ? digits : std::string();
}

}  // namespace

DocumentSource EmbeddedDocument() {
    std::wstring text;
    CConfigFileMngr::Instance().GetText(text);
    return {tools::ModulePath(OwnModule()), Sha256(tools::ToUtf8(text))};
}

}  // namespace preview
