#include <windows.h>
#include <doctest/doctest.h>

#include <oleauto.h>

#include <atomic>

#include "product.h"
#include "support/notifications.h"
#include "support/registry_sandbox.h"
#include "support/script_builder.h"

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

// A second thread of the host, which reads the progress value until it is told to end.
struct Poller {
    LONG(__cdecl* read)();
    std::atomic<LONG> seen{-1};
    std::atomic<bool> ended{false};

    static DWORD WINAPI Poll(void* self) {
        Poller& poller = *static_cast<Poller*>(self);
        while (!poller.ended) {
            poller.seen = poller.read();
        }
        return 0;
    }
};

}  // namespace

TEST_CASE("the library exports its eight functions by their ordinals, needs system modules alone, has its document") {
    const ProductFolder folder;
    const OwnedModule library = folder.Load();
    const HMODULE module = library.Get();
    const auto& exports =
        *At<IMAGE_EXPORT_DIRECTORY>(module, Directory(module, IMAGE_DIRECTORY_ENTRY_EXPORT).VirtualAddress);
    CHECK(exports.Base == 1);
    CHECK(exports.NumberOfFunctions == 8);
    REQUIRE(exports.NumberOfNames == 8);
    CHECK(std::string(At<char>(module, exports.Name)) == "prodrm.dll");
    std::string names;
    for (DWORD index = 0; index < 8; ++index) {
        names += At<char>(module, At<DWORD>(module, exports.AddressOfNames)[index]) + std::string(" ");
        CHECK(At<WORD>(module, exports.AddressOfNameOrdinals)[index] == index);
    }
    CHECK(names ==
          "GetInstalledProducts GetInstalledProductsEx GetProducts GetProgressPercent UninstallAllInstalled "
          "UninstallForceAll UninstallProduct UninstallProducts ");

    const DWORD table = Directory(module, IMAGE_DIRECTORY_ENTRY_IMPORT).VirtualAddress;
    const std::string system =
        " advapi32.dll kernel32.dll msvcrt.dll ole32.dll oleaut32.dll shell32.dll shlwapi.dll user32.dll ";
    int count = 0;
    for (auto* import = At<IMAGE_IMPORT_DESCRIPTOR>(module, table); import->Name != 0; ++import, ++count) {
        std::string name = At<char>(module, import->Name);
        ::CharLowerA(name.data());
        CHECK_MESSAGE(system.find(" " + name + " ") != std::string::npos, name);
    }
    CHECK(count > 0);
    CHECK(::FindResourceW(module, MAKEINTRESOURCEW(101), L"XMLBIN") != nullptr);
}

TEST_CASE("every export leaves its arguments on the stack") {
    const ProductFolder folder;
    folder.Catalogue(L"products.xml", "");
    const OwnedModule library = folder.Load();
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
        CHECK(BytesTaken(::GetProcAddress(library.Get(), row.name), row.first, row.second, nullptr) == 0);
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
        OwnedModule library = folder.Load();
        wchar_t path[MAX_PATH] = {};
        ::GetModuleFileNameW(::GetModuleHandleW(L"log.dll"), path, MAX_PATH);
        CHECK(std::wstring(path) == folder.Path(L"log.dll"));
        library.Reset();
        CHECK(::GetModuleHandleW(L"log.dll") == nullptr);
    }
    const LogRecorder recorder;  // now loaded first, and found under its name
    {
        const OwnedModule library = folder.Load();
        CHECK(Joined(recorder.Texts()) == L"C LogInit: ");
    }
    CHECK(Joined(recorder.Texts()) ==
          L"C LogInit:  / C LogDeinit:  / C LogUninitDeskMetrics:  / C LogRemoveModule: "
          L"logging::CLogDLL::~CLogDLL");
}

TEST_CASE("the sample hosts list what is there, and say so when nothing can be listed") {
    const ProductFolder folder;
    const RegistrySandbox registry;
    registry.SetString(L"UpdateLocation", L"Path", L"x");
    folder.Catalogue(
        L"products.xml",
        "<product name='Present' file='p.xml'><v name='v' keypath='" + Utf8(registry.Path()) +
            "' keyvalue='Path'><b>2</b><a>1</a><b>3</b></v></product><product name='Absent' file='a.xml'/>");
    CHECK(folder.RunSample(L"list_products.exe").starts_with("1 "));
    CHECK(folder.RunSample(L"list_installed.exe").starts_with("1 "));
    folder.Catalogue(L"detection.xml", "<product name='Foreign' file='f.xml'/>");
    CHECK(folder.RunSample(L"list_products.exe") == "0 family   Present\r\nfamily   Absent\r\nforeign  Foreign\r\n");
    CHECK(folder.RunSample(L"list_installed.exe") ==
          "0 Present\r\n  UpdateLocation\r\n    a = 1\r\n    b = 2\r\n    b = 3\r\n");
}

TEST_CASE("a removal takes what the packed document names, and a second thread sees how far it is") {
    const TempFolder machine;
    const RegistrySandbox sandbox;
    OwnedFileHandle held = HoldFile(machine.WriteFile(L"data\\held"));
    machine.WriteFile(L"data\\inner\\loose");
    sandbox.MakeKey(L"Key\\Below");
    const ProductFolder folder;
    folder.Catalogue(L"products.xml", "<product name='One' file='one.xml'/><product name='Two' file='two.xml'/>");
    const std::wstring document = folder.WriteFile(
        L"document.xml", Utf8(Script(Section(L"del_regkey", L"name='" + sandbox.Path(L"Key") + L"'") +
                                     Section(L"del_folder", L"name='" + machine.Path(L"data") + L"'"))));
    REQUIRE(ExitCode(Start(L"\"" + InProduct(L"prodrm-pack.exe") + L"\" \"" + document + L"\" \"" +
                           folder.Path(L"prodrm.dll") + L"\"")) == 0);
    const OwnedModule library = folder.Load();
    Notifications::Clear(Export<decltype(&::GetProgressPercent)>(library, "GetProgressPercent"));
    CHECK(Notifications::readProgress() == 0);
    Poller poller{Notifications::readProgress};
    const OwnedHandle thread(::CreateThread(nullptr, 0, &Poller::Poll, &poller, 0, nullptr));
    Notifications::then = [&](const std::wstring&) {
        const LONG value = Notifications::readProgress();
        for (int waited = 0; waited < 10000 && poller.seen != value; ++waited) {
            ::Sleep(1);
        }
        CHECK(poller.seen == value);
    };
    bool restart = false;
    const auto uninstall = Export<decltype(&::UninstallForceAll)>(library, "UninstallForceAll");
    CHECK(uninstall(UNINSTALL_TYPE_FAMILY, &restart, &Notifications::Hear));
    CHECK(restart);
    poller.ended = true;
    ::WaitForSingleObject(thread.Get(), INFINITE);
    CHECK(Notifications::Heard() == L"0/0 2, 13/0 One, 14/0, 1/0, 3/0, 5/0, 6/0, 13/0 Two, 14/0, 1/0, 3/0, 5/0, 6/0");
    CHECK(Notifications::progress == L"0 0 0 30 93 100 100 0 0 30 93 100 100");
    CHECK(Notifications::readProgress() == 100);
    CHECK(Joined(machine.Tree(), L" ") == LR"(data\ data\held)");
    CHECK(sandbox.Dump().empty());
}
