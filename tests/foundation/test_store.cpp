#include <windows.h>
#include <doctest/doctest.h>

#include <algorithm>
#include <memory>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

#include "foundation/CConfigFileMngr.h"
#include "foundation/CCrypt.h"
#include "foundation/owned.h"
#include "foundation/XmlData.h"
#include "support/import_patch.h"
#include "support/log_recorder.h"
#include "support/temp_folder.h"

namespace {

using Bytes = std::vector<BYTE>;

constexpr wchar_t kType[] = L"XMLBIN";

Bytes BytesOf(std::string_view text) {
    return {text.begin(), text.end()};
}

Bytes Enciphered(Bytes bytes) {
    CCrypt crypt;
    REQUIRE(crypt.PrepareKey());
    DWORD size = static_cast<DWORD>(bytes.size());
    bytes.resize(bytes.size() + 16);
    REQUIRE(::CryptEncrypt(crypt.Key(), 0, TRUE, 0, bytes.data(), &size, static_cast<DWORD>(bytes.size())));
    bytes.resize(size);
    return bytes;
}

// What the resource calls of this process answer in the scope of a PlayedResource.
struct Played {
    Bytes bytes;
    DWORD size = 0;
    bool found = true;
    bool loads = true;
    BOOL freed = TRUE;
    int searches = 0;
};
Played g_played;

HRSRC WINAPI PlayFindResource(HMODULE, LPCWSTR, LPCWSTR) {
    ++g_played.searches;
    ::SetLastError(ERROR_RESOURCE_NAME_NOT_FOUND);
    return g_played.found ? reinterpret_cast<HRSRC>(&g_played) : nullptr;
}
HGLOBAL WINAPI PlayLoadResource(HMODULE, HRSRC) {
    ::SetLastError(ERROR_RESOURCE_DATA_NOT_FOUND);
    return g_played.loads ? reinterpret_cast<HGLOBAL>(&g_played) : nullptr;
}
DWORD WINAPI PlaySizeofResource(HMODULE, HRSRC) {
    return g_played.size;
}
LPVOID WINAPI PlayLockResource(HGLOBAL) {
    return g_played.bytes.data();
}
BOOL WINAPI PlayFreeResource(HGLOBAL) {
    return g_played.freed;
}

class PlayedResource {
public:
    explicit PlayedResource(const Bytes& bytes) {
        g_played = {};
        g_played.bytes = bytes;
        g_played.size = static_cast<DWORD>(bytes.size());
    }

private:
    ImportPatch m_find{"FindResourceW", &PlayFindResource};
    ImportPatch m_load{"LoadResource", &PlayLoadResource};
    ImportPatch m_size{"SizeofResource", &PlaySizeofResource};
    ImportPatch m_lock{"LockResource", &PlayLockResource};
    ImportPatch m_free{"FreeResource", &PlayFreeResource};
};

std::wstring TextOf(const CConfigFileMngr& store) {
    std::wstring text = L"untouched";
    CHECK(store.GetText(text) == 0);
    return text;
}

int g_updatesEnded = 0;
BOOL WINAPI RefuseUpdate(HANDLE, LPCWSTR, LPCWSTR, WORD, LPVOID, DWORD) {
    return FALSE;
}
BOOL WINAPI CountEndOfUpdate(HANDLE, BOOL) {
    ++g_updatesEnded;
    return TRUE;
}

}  // namespace

TEST_CASE("the cipher is AES-256 in CBC mode, keyed by the SHA-256 of the material") {
    KeyMaterial material;
    for (std::size_t index = 0; index < material.size(); ++index) {
        material[index] = static_cast<BYTE>(index);
    }
    // "<a/>", enciphered by another implementation with a zero initialisation vector.
    Bytes bytes = {0xF4, 0xDE, 0x18, 0xC3, 0xE0, 0x82, 0x9B, 0x7E, 0xE4, 0xCF, 0x2D, 0x78, 0x8E, 0x5D, 0x6E, 0x32};
    DWORD size = static_cast<DWORD>(bytes.size());
    CCrypt crypt(&material);
    REQUIRE(crypt.PrepareKey());
    REQUIRE(::CryptDecrypt(crypt.Key(), 0, TRUE, 0, bytes.data(), &size));
    CHECK(std::string(bytes.begin(), bytes.begin() + size) == "<a/>");
}

TEST_CASE("the store deciphers its resource and keeps the text up to the first zero byte") {
    using namespace std::string_view_literals;
    const PlayedResource resource(Enciphered(BytesOf("<a>\xF0\x9F\x8C\xBF \xD0\x96</a>\0behind"sv)));
    CConfigFileMngr store;
    std::unique_ptr<BYTE[]> buffer;
    DWORD bytes = 99;
    CHECK(store.GetBuffer(buffer, bytes) == 0);
    CHECK(bytes == 0);
    REQUIRE(buffer != nullptr);

    CHECK(store.LoadFromResource(101) == 0);
    const std::wstring text = L"<a>\xD83C\xDF3F \x0416</a>";
    CHECK(TextOf(store) == text);
    CHECK(store.GetBuffer(buffer, bytes) == 0);
    REQUIRE(bytes == 2 * text.size());
    CHECK(std::equal(text.begin(), text.end(), reinterpret_cast<const wchar_t*>(buffer.get())));

    g_played.found = false;
    CHECK(store.LoadFromResource(101) == ERROR_RESOURCE_NAME_NOT_FOUND);
    g_played.found = true;
    g_played.loads = false;
    CHECK(store.LoadFromResource(101) == ERROR_RESOURCE_DATA_NOT_FOUND);
    g_played.freed = FALSE;
    CHECK(store.LoadFromResource(101) == ERROR_GEN_FAILURE);
    CHECK(TextOf(store) == text);
}

TEST_CASE("ReadData looks at a resource of the host and never writes the pointer") {
    struct Row {
        DWORD size;
        bool found, loads, pointer;
        DWORD code, sizeOut;
    };
    constexpr DWORD kUntouched = 77;
    const Row rows[] = {
        {3, false, true, true, 0x2, kUntouched},
        {0, true, true, true, 0x18, 0},
        {0x100001, true, true, true, 0x18, 0x100001},
        {0x100000, true, true, true, 0, 0x100000},
        {3, true, false, true, 0x138F, 3},
        {3, true, true, false, 0x138E, 3},
        {3, true, true, true, 0, 3},
    };
    for (const Row& row : rows) {
        CAPTURE(row.code);
        CAPTURE(row.sizeOut);
        const Bytes stored(std::max<DWORD>(row.size, 1), 'x');
        const PlayedResource resource(stored);
        g_played.size = row.size;
        g_played.found = row.found;
        g_played.loads = row.loads;
        BYTE own = 'o';
        BYTE* const before = row.pointer ? &own : nullptr;
        BYTE* data = before;
        DWORD size = kUntouched;
        CHECK(XmlData().ReadData(kType, 101, &data, &size) == row.code);
        CHECK(size == row.sizeOut);
        CHECK(data == before);
        CHECK(own == 'o');
        CHECK(g_played.bytes == stored);
    }
    const PlayedResource resource(BytesOf("x"));
    CHECK(XmlData().ReadData(kType, 101, nullptr, nullptr) == 0xA0);
    CHECK(g_played.searches == 0);
}

TEST_CASE("WriteData stores bytes as they are, and leaves a refused update open") {
    const TempFolder folder;
    const std::wstring file = folder.Path(L"\x0436.dll");
    REQUIRE(::CopyFileW(LogRecorder::ModulePath().c_str(), file.c_str(), TRUE));
    const Bytes bytes = BytesOf("\x01\xFFstored");
    const DWORD size = static_cast<DWORD>(bytes.size());
    CHECK(XmlData().WriteData(file, kType, 101, bytes.data(), &size) == 0);
    {
        const OwnedModule module(::LoadLibraryExW(file.c_str(), nullptr, LOAD_LIBRARY_AS_DATAFILE));
        const HRSRC resource = ::FindResourceExW(module.Get(), kType, MAKEINTRESOURCEW(101), 0);
        REQUIRE(resource != nullptr);
        const BYTE* const stored = static_cast<BYTE*>(::LockResource(::LoadResource(module.Get(), resource)));
        CHECK(Bytes(stored, stored + ::SizeofResource(module.Get(), resource)) == bytes);
    }
    CHECK(XmlData().WriteData(folder.Path(L"missing.dll"), kType, 101, bytes.data(), &size) == ERROR_GEN_FAILURE);

    const ImportPatch refuse("UpdateResourceW", &RefuseUpdate);
    const ImportPatch count("EndUpdateResourceW", &CountEndOfUpdate);
    CHECK(XmlData().WriteData(file, kType, 101, bytes.data(), &size) == ERROR_GEN_FAILURE);
    CHECK(g_updatesEnded == 0);
}
