// A removal through the built library, with a document that the packer put into a copy of it.

#include <windows.h>
#include <objbase.h>
#include <process.h>

#include <doctest/doctest.h>

#include <atomic>

#include "removal/notifications.h"
#include "support/registry_sandbox.h"
#include "support/temp_folder.h"

namespace {

std::wstring Product(const std::wstring& name) {
    wchar_t folder[MAX_PATH] = {};
    REQUIRE(::GetEnvironmentVariableW(L"PRODRM_DIST", folder, MAX_PATH) > 0);
    return std::wstring(folder) + L'\\' + name;
}

// A copy of the library with a catalogue of the products "One" and "Two" and with `sections` as what is removed.
class PackedLibrary {
public:
    explicit PackedLibrary(const std::wstring& sections) {
        const auto quoted = [](const std::wstring& text) { return L"\"" + text + L"\""; };
        const std::wstring library = m_folder.Path(L"prodrm.dll");
        const std::wstring packer = Product(L"prodrm-pack.exe");
        REQUIRE(::CopyFileW(Product(L"prodrm.dll").c_str(), library.c_str(), FALSE));
        m_folder.WriteFile(L"products.xml",
                           "<uninstall_information><product name='One' file='one.xml'/>"
                           "<product name='Two' file='two.xml'/></uninstall_information>");
        const std::wstring document = m_folder.WriteFile(L"document.xml", Utf8(Script(sections)));
        REQUIRE(::_wspawnl(_P_WAIT, packer.c_str(), quoted(packer).c_str(), quoted(document).c_str(),
                           quoted(library).c_str(), nullptr) == 0);
        m_module = ::LoadLibraryW(library.c_str());
        REQUIRE(m_module != nullptr);
        Notifications::Clear();
        Notifications::readProgress = Export<decltype(&::GetProgressPercent)>("GetProgressPercent");
    }
    ~PackedLibrary() { ::FreeLibrary(m_module); }
    PackedLibrary(const PackedLibrary&) = delete;
    PackedLibrary& operator=(const PackedLibrary&) = delete;

    template <typename Function>
    Function Export(const char* name) const {
        return reinterpret_cast<Function>(reinterpret_cast<void*>(::GetProcAddress(m_module, name)));
    }

private:
    TempFolder m_folder;
    HMODULE m_module = nullptr;
};

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

TEST_CASE("a removal takes what the packed document names, and a second thread sees how far it is") {
    const TempFolder folder;
    const RegistrySandbox sandbox;
    const std::wstring held = folder.WriteFile(L"data\\held");
    folder.WriteFile(L"data\\inner\\loose");
    sandbox.MakeKey(L"Key\\Below", UnderWow64() ? View::Bits64 : View::Default);
    const PackedLibrary library(Section(L"del_regkey", L"name='" + sandbox.Path(L"Key") + L"'") +
                                Section(L"del_folder", L"name='" + folder.Path(L"data") + L"'"));
    CHECK(Notifications::readProgress() == 0);
    const HANDLE hold = ::CreateFileW(held.c_str(), GENERIC_READ, 0, nullptr, OPEN_EXISTING, 0, nullptr);
    REQUIRE(hold != INVALID_HANDLE_VALUE);
    Poller poller{Notifications::readProgress};
    const HANDLE thread = ::CreateThread(nullptr, 0, &Poller::Poll, &poller, 0, nullptr);
    Notifications::then = [&](const std::wstring&) {
        const LONG value = Notifications::progress.back();
        for (int waited = 0; waited < 10000 && poller.seen != value; ++waited) {
            ::Sleep(1);
        }
        CHECK(poller.seen == value);
    };
    bool restart = false;
    const auto uninstall = library.Export<decltype(&::UninstallForceAll)>("UninstallForceAll");
    CHECK(uninstall(UNINSTALL_TYPE_FAMILY, &restart, &Notifications::Hear));
    CHECK(restart);
    poller.ended = true;
    ::WaitForSingleObject(thread, INFINITE);
    ::CloseHandle(thread);
    ::CloseHandle(hold);
    CHECK(Notifications::events == Lines{L"0/0 2", L"13/0 One", L"14/0", L"1/0", L"3/0", L"5/0", L"6/0", L"13/0 Two",
                                         L"14/0", L"1/0", L"3/0", L"5/0", L"6/0"});
    CHECK(Notifications::progress == std::vector<LONG>{0, 0, 0, 30, 93, 100, 100, 0, 0, 30, 93, 100, 100});
    CHECK(Notifications::readProgress() == 100);
    CHECK(folder.Tree() == Lines{L"data\\", L"data\\held"});
    CHECK(sandbox.Dump(UnderWow64() ? View::Bits64 : View::Default).empty());
}
