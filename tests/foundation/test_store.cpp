#include <windows.h>
#include <doctest/doctest.h>

#include <memory>

#include "foundation/owned.h"
#include "foundation/XmlData.h"
#include "support/log_recorder.h"
#include "support/played_resource.h"
#include "support/temp_folder.h"

namespace {

constexpr wchar_t kType[] = L"XMLBIN";

std::wstring TextOf(const CConfigFileMngr& store) {
    std::wstring text = L"untouched";
    CHECK(store.GetText(text) == 0);
    return text;
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
    PlayedResource resource(Enciphered(BytesOf("<a>\xF0\x9F\x8C\xBF \xD0\x96</a>\0behind"sv)));
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

    resource.found = false;
    CHECK(store.LoadFromResource(101) == ERROR_RESOURCE_NAME_NOT_FOUND);
    resource.found = true;
    resource.loads = false;
    CHECK(store.LoadFromResource(101) == ERROR_RESOURCE_DATA_NOT_FOUND);
    resource.loads = true;
    Bytes stored;
    stored.swap(resource.bytes);  // locked, it gives null
    CHECK(store.LoadFromResource(101) == ERROR_RESOURCE_DATA_NOT_FOUND);
    resource.freed = false;
    CHECK(store.LoadFromResource(101) == ERROR_GEN_FAILURE);
    CHECK(TextOf(store) == text);
    resource.found = resource.loads = resource.freed = true;
    resource.bytes = Enciphered({});
    resource.size = static_cast<DWORD>(resource.bytes.size());
    CHECK(store.LoadFromResource(101) == 0);
    CHECK(TextOf(store).empty());
}

TEST_CASE("ReadData looks at a resource of the host and never writes the pointer") {
    constexpr DWORD kUntouched = 77;
    const struct {
        DWORD size;
        bool found, loads, pointer;
        DWORD code, sizeOut;
    } rows[] = {
        {3, false, true, true, 0x2, kUntouched},
        {0, true, true, true, 0x18, 0},
        {0x100001, true, true, true, 0x18, 0x100001},
        {0x100000, true, true, true, 0, 0x100000},
        {3, true, false, true, 0x138F, 3},
        {3, true, true, false, 0x138E, 3},
        {3, true, true, true, 0, 3},
    };
    for (const auto& row : rows) {
        CAPTURE(row.code);
        CAPTURE(row.sizeOut);
        const Bytes stored(std::max<DWORD>(row.size, 1), 'x');
        PlayedResource resource(stored);
        resource.size = row.size;
        resource.found = row.found;
        resource.loads = row.loads;
        BYTE own = 'o';
        BYTE* const before = row.pointer ? &own : nullptr;
        BYTE* data = before;
        DWORD size = kUntouched;
        CHECK(XmlData().ReadData(kType, 101, &data, &size) == row.code);
        CHECK(size == row.sizeOut);
        CHECK(data == before);
        CHECK(own == 'o');
        CHECK(resource.bytes == stored);
        resource.searches = 0;
        CHECK(XmlData().ReadData(kType, 101, nullptr, nullptr) == 0xA0);
        CHECK(resource.searches == 0);
    }
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
    int ended = 0;
    REFUSE(UpdateResourceW, FALSE, 0);
    PLAY(EndUpdateResourceW, [&](auto...) { return ++ended, TRUE; });
    CHECK(XmlData().WriteData(file, kType, 101, bytes.data(), &size) == ERROR_GEN_FAILURE);
    CHECK(ended == 0);
}
