#include <windows.h>
#include <doctest/doctest.h>

#include <oleauto.h>

#include <algorithm>
#include <cstring>
#include <set>
#include <string>
#include <vector>

#include "product.h"
#include "support/log_recorder.h"
#include "support/registry_sandbox.h"
#include "support/show_text.h"

namespace {

template <typename T>
const T* At(HMODULE module, DWORD offset) {
    return reinterpret_cast<const T*>(reinterpret_cast<const BYTE*>(module) + offset);
}

const IMAGE_DATA_DIRECTORY& Directory(HMODULE module, int index) {
    const LONG headers = At<IMAGE_DOS_HEADER>(module, 0)->e_lfanew;
    return At<IMAGE_NT_HEADERS32>(module, static_cast<DWORD>(headers))->OptionalHeader.DataDirectory[index];
}

// Calls a function with three arguments and gives the bytes that it took off the stack itself.
int BytesTaken(FARPROC function, void* first, void* second, void* third) {
    void* arguments[] = {first, second, third};
    void** at = arguments;
    int taken = 0;
    asm volatile(
        "movl %%esp, %%ebx\n\t"
        "pushl 8(%[at])\n\t"
        "pushl 4(%[at])\n\t"
        "pushl (%[at])\n\t"
        "movl %%esp, %[taken]\n\t"
        "call *%[function]\n\t"
        "negl %[taken]\n\t"
        "addl %%esp, %[taken]\n\t"
        "movl %%ebx, %%esp\n\t"
        : [taken] "=&S"(taken), [function] "+a"(function), [at] "+c"(at)
        :
        : "ebx", "edx", "memory", "cc");
    return taken;
}

template <typename T>
T Field(const SAFEARRAY* array, ULONG offset) {
    T value;
    std::memcpy(&value, static_cast<const BYTE*>(array->pvData) + offset, sizeof value);
    return value;
}

}  // namespace

TEST_CASE("the library exports its eight functions by their ordinals and nothing else") {
    const char* const names[] = {"GetInstalledProducts", "GetInstalledProductsEx", "GetProducts",
                                 "GetProgressPercent",   "UninstallAllInstalled",  "UninstallForceAll",
                                 "UninstallProduct",     "UninstallProducts"};
    const ProductFolder folder;
    const LoadedProduct product(folder);
    const HMODULE module = product.Module();
    const auto& exports =
        *At<IMAGE_EXPORT_DIRECTORY>(module, Directory(module, IMAGE_DIRECTORY_ENTRY_EXPORT).VirtualAddress);
    CHECK(exports.Base == 1);
    CHECK(exports.NumberOfFunctions == 8);
    REQUIRE(exports.NumberOfNames == 8);
    CHECK(std::string(At<char>(module, exports.Name)) == "prodrm.dll");
    for (DWORD index = 0; index < 8; ++index) {
        CHECK(std::string(At<char>(module, At<DWORD>(module, exports.AddressOfNames)[index])) == names[index]);
        CHECK(At<WORD>(module, exports.AddressOfNameOrdinals)[index] == index);
    }
}

TEST_CASE("the library needs system modules alone and carries its document") {
    const std::set<std::string> system = {"advapi32.dll", "kernel32.dll", "msvcrt.dll", "ole32.dll",
                                          "oleaut32.dll", "shell32.dll",  "shlwapi.dll"};
    const ProductFolder folder;
    const LoadedProduct product(folder);
    const HMODULE module = product.Module();
    const DWORD table = Directory(module, IMAGE_DIRECTORY_ENTRY_IMPORT).VirtualAddress;
    int count = 0;
    for (auto* import = At<IMAGE_IMPORT_DESCRIPTOR>(module, table); import->Name != 0; ++import, ++count) {
        std::string name = At<char>(module, import->Name);
        std::transform(name.begin(), name.end(), name.begin(),
                       [](char c) { return c >= 'A' && c <= 'Z' ? char(c + 32) : c; });
        CHECK_MESSAGE(system.count(name) == 1, name);
    }
    CHECK(count > 0);
    CHECK(::FindResourceW(module, MAKEINTRESOURCEW(101), L"XMLBIN") != nullptr);
}

TEST_CASE("every export leaves its arguments on the stack") {
    const ProductFolder folder;
    folder.Catalogue(L"products.xml", "");
    const LoadedProduct product(folder);
    SAFEARRAY none = {};
    none.cDims = 1;
    none.cbElements = sizeof(ProductEntry);
    ProductEntry unused = {};
    none.pvData = &unused;
    ProductEntry unknown = {nullptr, nullptr, 99, nullptr, 0};
    SAFEARRAY* listed[3] = {};
    bool restart = false;
    void* const family = reinterpret_cast<void*>(1);
    const struct {
        const char* name;
        void* first;
        void* second;
    } rows[] = {
        {"GetInstalledProducts", &listed[0], family}, {"GetInstalledProductsEx", &listed[1], family},
        {"GetProducts", &listed[2], family},          {"GetProgressPercent", nullptr, nullptr},
        {"UninstallAllInstalled", family, &restart},  {"UninstallForceAll", family, &restart},
        {"UninstallProduct", &unknown, &restart},     {"UninstallProducts", &none, &restart},
    };
    for (const auto& row : rows) {
        CAPTURE(row.name);
        CHECK(BytesTaken(::GetProcAddress(product.Module(), row.name), row.first, row.second, nullptr) == 0);
    }
    // The measure itself: a function of the system that removes its three arguments.
    CHECK(BytesTaken(::GetProcAddress(::GetModuleHandleW(L"kernel32.dll"), "MulDiv"), family, family, family) == 12);
    for (SAFEARRAY* array : listed) {
        REQUIRE(array != nullptr);
        CHECK(::SafeArrayDestroy(array) == S_OK);
    }
}

TEST_CASE("the library holds the log module beside it from loading to unloading") {
    const ProductFolder folder;
    REQUIRE(::GetModuleHandleW(L"log.dll") == nullptr);
    {
        LoadedProduct product(folder);
        wchar_t path[MAX_PATH] = {};
        const HMODULE log = ::GetModuleHandleW(L"log.dll");
        REQUIRE(log != nullptr);
        ::GetModuleFileNameW(log, path, MAX_PATH);
        CHECK(std::wstring(path) == folder.Path(L"log.dll"));
        product.Unload();
        CHECK(::GetModuleHandleW(L"log.dll") == nullptr);
    }
    const LogRecorder recorder;  // now loaded first, and found under its name
    {
        const LoadedProduct product(folder);
        CHECK(recorder.Lines() == std::vector<LogLine>{{0, L"LogInit", L""}});
    }
    CHECK(recorder.Lines() == std::vector<LogLine>{{0, L"LogInit", L""},
                                                   {0, L"LogDeinit", L""},
                                                   {0, L"LogUninitDeskMetrics", L""},
                                                   {0, L"LogRemoveModule", L"logging::CLogDLL::~CLogDLL"}});
}

TEST_CASE("the sample hosts list what is there, and say so when nothing can be listed") {
    const ProductFolder folder;
    const RegistrySandbox registry;
    registry.SetString(L"UpdateLocation", L"Path", L"x", View::Bits64);
    const std::wstring path = registry.Path();
    folder.Catalogue(
        L"products.xml",
        "<product name='Present' file='p.xml'><v name='v' keypath='" + std::string(path.begin(), path.end()) +
            "' keyvalue='Path'><b>2</b><a>1</a><b>3</b></v></product><product name='Absent' file='a.xml'/>");
    DWORD code = 99;
    folder.RunSample(L"list_products.exe", code);
    CHECK(code == 1);
    folder.RunSample(L"list_installed.exe", code);
    CHECK(code == 1);
    folder.Catalogue(L"detection.xml", "<product name='Foreign' file='f.xml'/>");
    CHECK(folder.RunSample(L"list_products.exe", code) ==
          "family   Present\r\nfamily   Absent\r\nforeign  Foreign\r\n");
    CHECK(code == 0);
    CHECK(folder.RunSample(L"list_installed.exe", code) ==
          "Present\r\n  UpdateLocation\r\n    a = 1\r\n    b = 2\r\n    b = 3\r\n");
    CHECK(code == 0);
}
