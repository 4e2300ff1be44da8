#include <windows.h>
#include <doctest/doctest.h>

#include <oleauto.h>
#include <wincrypt.h>

#include <log.h>

#include <string>

#include "product.h"
#include "support/import_patch.h"

namespace {

void* g_return[5];  // of __builtin_setjmp
DWORD g_code = 0;
HRESULT g_cause = S_OK;

// What a host's handler sees; it then goes on behind the call.
LONG CALLBACK HostHandler(EXCEPTION_POINTERS* exception) {
    g_code = exception->ExceptionRecord->ExceptionCode;
    g_cause = static_cast<HRESULT>(exception->ExceptionRecord->ExceptionInformation[0]);
    __builtin_longjmp(g_return, 1);
}

template <typename Call>
void CallUnderHandler(const Call& call) {
    g_code = 0;
    void* const handler = ::AddVectoredExceptionHandler(1, &HostHandler);
    if (__builtin_setjmp(g_return) == 0) {
        call();
    }
    ::RemoveVectoredExceptionHandler(handler);
}

BSTR WINAPI NoString(const wchar_t*) {
    return nullptr;
}
BOOL WINAPI NoDeciphering(HCRYPTKEY, HCRYPTHASH, BOOL, DWORD, BYTE*, DWORD*) {
    return FALSE;
}
DWORD WINAPI EndlessPath(const wchar_t*, DWORD, wchar_t*, wchar_t**) {
    return MAXDWORD - 1;  // characters
}

int g_uninitialized = 0;
void WINAPI CountUninitialize() {
    ++g_uninitialized;
    ::CoUninitialize();
}

void CheckExceptions() {
    const ProductFolder folder;
    folder.Catalogue(L"detection.xml", "<product name='P' file='p.xml'/>");
    const OwnedModule product = folder.Load();
    const ImportPatch uninitialize("CoUninitialize", &CountUninitialize, product.Get());
    {
        const ImportPatch patch("SysAllocString", &NoString, product.Get());
        SAFEARRAY* products = nullptr;
        CallUnderHandler([&] { Export<decltype(&::GetProducts)>(product, "GetProducts")(&products, PRODRM_FOREIGN); });
    }
    CHECK(g_code == PRODRM_EXCEPTION);
    CHECK(g_cause == E_OUTOFMEMORY);
    CHECK(g_uninitialized == 1);
    {
        const ImportPatch patch("CryptDecrypt", &NoDeciphering, product.Get());
        bool restart = false;
        CallUnderHandler([&] {
            Export<decltype(&::UninstallForceAll)>(product, "UninstallForceAll")(UNINSTALL_TYPE_FOREIGN, &restart,
                                                                                 nullptr);
        });
    }
    CHECK(g_code == PRODRM_EXCEPTION);
    CHECK(g_cause == PRODRM_E_DOCUMENT);
    CHECK(g_uninitialized == 2);
}

}  // namespace

TEST_CASE("an exception leaves an export as one that the host can handle, after everything was freed") {
    CheckExceptions();
}

TEST_CASE("child: an unwinder of the host" * doctest::skip()) {
    const OwnedModule unwinder(::LoadLibraryW(BesideTest(L"libgcc_s_dw2-1.dll").c_str()));
    REQUIRE(unwinder);
    CheckExceptions();
    const OwnedModule log(::LoadLibraryW(InProduct(L"log.dll").c_str()));
    const ImportPatch patch("GetFullPathNameW", &EndlessPath, log.Get());
    CHECK(Export<decltype(&::LogSetSettingsFile)>(log, "LogSetSettingsFile")(L"x") == E_FAIL);
}

TEST_CASE("an unwinder that the host has loaded is none of the library's business") {
    CHECK(RunChild(L"child: an unwinder of the host") == 0);
}
