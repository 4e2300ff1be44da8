#pragma once

#include <windows.h>

#include <doctest/doctest.h>

#include <vector>

#include "foundation/CConfigFileMngr.h"
#include "foundation/CCrypt.h"
#include "support/import_patch.h"
#include "support/show_text.h"

using Bytes = std::vector<BYTE>;

inline Bytes BytesOf(std::string_view text) {
    return {text.begin(), text.end()};
}

// As the packer enciphers.
inline Bytes Enciphered(Bytes bytes) {
    CCrypt crypt;
    REQUIRE(crypt.PrepareKey());
    DWORD size = static_cast<DWORD>(bytes.size());
    bytes.resize(bytes.size() + 16);
    REQUIRE(::CryptEncrypt(crypt.Key(), 0, TRUE, 0, bytes.data(), &size, static_cast<DWORD>(bytes.size())));
    bytes.resize(size);
    return bytes;
}

// What the resource calls of this process answer in a scope.
struct PlayedResource {
    explicit PlayedResource(Bytes stored) : bytes(std::move(stored)), size(static_cast<DWORD>(bytes.size())) {}

    Bytes bytes;
    DWORD size;
    bool found = true, loads = true, freed = true;
    int searches = 0;

private:
    HRSRC Found() {
        ++searches;
        ::SetLastError(ERROR_RESOURCE_NAME_NOT_FOUND);
        return found ? reinterpret_cast<HRSRC>(this) : nullptr;
    }
    HGLOBAL Loaded() {
        ::SetLastError(ERROR_RESOURCE_DATA_NOT_FOUND);
        return loads ? reinterpret_cast<HGLOBAL>(this) : nullptr;
    }

    Played<decltype(&::FindResourceW), PlayedResource> m_find{"FindResourceW", [this](auto...) { return Found(); }};
    Played<decltype(&::LoadResource), PlayedResource> m_load{"LoadResource", [this](auto...) { return Loaded(); }};
    Played<decltype(&::SizeofResource), PlayedResource> m_size{"SizeofResource", [this](auto...) { return size; }};
    Played<decltype(&::LockResource), PlayedResource> m_lock{"LockResource", [this](auto...) { return bytes.data(); }};
    Played<decltype(&::FreeResource), PlayedResource> m_free{"FreeResource", [this](auto...) { return freed; }};
};

// Lets the store of the process read `document` as it reads the library's resource.
inline void Embed(const std::wstring& document) {
    const PlayedResource resource(Enciphered(BytesOf(Utf8(document))));
    REQUIRE(CConfigFileMngr::Instance().LoadFromResource(101) == 0);
}
