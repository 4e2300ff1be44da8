#include <windows.h>
#include <doctest/doctest.h>

#include <process.h>

#include <set>
#include <string>

#include "foundation/CConfigFileMngr.h"
#include "foundation/owned.h"
#include "support/import_patch.h"
#include "support/programs.h"
#include "support/temp_folder.h"

namespace {

intptr_t Pack(const std::wstring& document, const std::wstring& library) {
    const std::wstring packer = InProduct(L"prodrm-pack.exe");
    const auto quoted = [](const std::wstring& text) { return L"\"" + text + L"\""; };
    return ::_wspawnl(_P_WAIT, packer.c_str(), quoted(packer).c_str(), L"--force", quoted(document).c_str(),
                      quoted(library).c_str(), nullptr);
}

HMODULE g_searched = nullptr;
decltype(&::FindResourceW) g_findResource = nullptr;
HRSRC WINAPI FindInSearched(HMODULE, LPCWSTR name, LPCWSTR type) {
    return g_findResource(g_searched, name, type);
}
decltype(&::LoadResource) g_loadResource = nullptr;
HGLOBAL WINAPI LoadFromSearched(HMODULE, HRSRC resource) {
    return g_loadResource(g_searched, resource);
}
decltype(&::SizeofResource) g_sizeofResource = nullptr;
DWORD WINAPI SizeInSearched(HMODULE, HRSRC resource) {
    return g_sizeofResource(g_searched, resource);
}

// The document that the store reads when it takes another file for its own.
std::wstring StoredIn(const std::wstring& library) {
    const OwnedModule module(::LoadLibraryExW(library.c_str(), nullptr, LOAD_LIBRARY_AS_DATAFILE));
    REQUIRE(module);
    g_searched = module.Get();
    const ImportPatch find("FindResourceW", &FindInSearched);
    const ImportPatch load("LoadResource", &LoadFromSearched);
    const ImportPatch size("SizeofResource", &SizeInSearched);
    g_findResource = find.Original<decltype(g_findResource)>();
    g_loadResource = load.Original<decltype(g_loadResource)>();
    g_sizeofResource = size.Original<decltype(g_sizeofResource)>();
    CConfigFileMngr store;
    store.LoadFromResource(101);
    std::wstring text;
    store.GetText(text);
    return text;
}

ULONGLONG SizeOf(const std::wstring& file) {
    WIN32_FILE_ATTRIBUTE_DATA data;
    REQUIRE(::GetFileAttributesExW(file.c_str(), GetFileExInfoStandard, &data));
    return data.nFileSizeLow;
}

}  // namespace

TEST_CASE("a library packed over and over holds the last document, keeps its size and still loads") {
    const TempFolder folder;
    const std::wstring library = folder.Path(L"\x0436 packed.dll");
    const std::wstring small = folder.WriteFile(L"\x4E00 small.xml", "\xEF\xBB\xBF<a>\xD0\x96</a>");
    const std::wstring large = folder.WriteFile(L"large.xml", "<a>" + std::string(50000, 'x') + "</a>");
    REQUIRE(::CopyFileW(InProduct(L"prodrm.dll").c_str(), library.c_str(), TRUE));
    CHECK(StoredIn(library).find(L"<version_list/>") != std::wstring::npos);

    std::set<ULONGLONG> sizes;
    for (int round = 0; round < 10; ++round) {
        REQUIRE(Pack(large, library) == 0);
        CHECK(StoredIn(library).size() == 50007);
        REQUIRE(Pack(small, library) == 0);
        CHECK(StoredIn(library) == L"<a>\x0416</a>");
        sizes.insert(SizeOf(library));
    }
    CHECK(sizes.size() == 1);
    CHECK(folder.Tree().size() == 3);

    const OwnedModule module(::LoadLibraryW(library.c_str()));
    REQUIRE(module);
    CHECK(static_cast<bool>(::GetProcAddress(module.Get(), "GetProducts")));
    const HRSRC version = ::FindResourceW(module.Get(), MAKEINTRESOURCEW(1), MAKEINTRESOURCEW(16));  // VERSIONINFO
    REQUIRE(version != nullptr);
    CHECK(::SizeofResource(module.Get(), version) > sizeof(VS_FIXEDFILEINFO));
}
