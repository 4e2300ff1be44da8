// A removal through the built library, with a document that the packer put into a copy of it.

#include <windows.h>
#include <objbase.h>
#include <process.h>

#include <doctest/doctest.h>

#include <atomic>
#include <set>

#include "removal/notifications.h"
#include "support/registry_sandbox.h"
#include "support/temp_folder.h"

namespace {

std::wstring Product(const std::wstring& name) {
    wchar_t folder[MAX_PATH] = {};
    REQUIRE(::GetEnvironmentVariableW(L"PRODRM_DIST", folder, MAX_PATH) > 0);
    return std::wstring(folder) + L'\\' + name;
}

std::string Ascii(const std::wstring& text) {
    std::string bytes;
    for (const wchar_t unit : text) {
        bytes += static_cast<char>(unit);
    }
    return bytes;
}

// A copy of the library with a catalogue of the products "One" and "Two" and with `sections` as what is removed.
class PackedLibrary {
public:
    explicit PackedLibrary(const std::wstring& sections) {
        const std::wstring library = m_folder.Path(L"prodrm.dll");
        const std::wstring packer = Product(L"prodrm-pack.exe");
        REQUIRE(::CopyFileW(Product(L"prodrm.dll").c_str(), library.c_str(), FALSE));
        m_folder.WriteFile(L"products.xml",
                           "<uninstall_information><product name='One' file='one.xml'/>"
                           "<product name='Two' file='two.xml'/></uninstall_information>");
        const std::wstring document =
            m_folder.WriteFile(L"document.xml", "<uninstall_information><version_list><v/></version_list><v><win_nt>" +
                                                    Ascii(sections) + "</win_nt></v></uninstall_information>");
        REQUIRE(::_wspawnl(_P_WAIT, packer.c_str(), packer.c_str(), document.c_str(), library.c_str(), nullptr) == 0);
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

std::wstring Section(const wchar_t* opCode, const std::wstring& attributes) {
    return std::wstring(L"<s op_code='") + opCode + L"'><o " + attributes + L"/></s>";
}

// A second thread of the host that reads the progress value until it is told to end.
class Poller {
public:
    explicit Poller(LONG(__cdecl* read)()) : m_read(read) {
        m_thread = ::CreateThread(nullptr, 0, &Poll, this, 0, nullptr);
        REQUIRE(m_thread != nullptr);
    }
    ~Poller() {
        Join();
        ::CloseHandle(m_thread);
        ::CloseHandle(m_seenAwaited);
    }
    Poller(const Poller&) = delete;
    Poller& operator=(const Poller&) = delete;

    // Waits until the thread has seen `value`.
    bool Await(LONG value) {
        m_awaited = value;
        return ::WaitForSingleObject(m_seenAwaited, 10000) == WAIT_OBJECT_0;
    }
    std::set<LONG> Join() {
        m_ended = true;
        ::WaitForSingleObject(m_thread, INFINITE);
        return m_seen;
    }

private:
    static DWORD WINAPI Poll(void* self) {
        Poller& poller = *static_cast<Poller*>(self);
        while (!poller.m_ended) {
            const LONG value = poller.m_read();
            poller.m_seen.insert(value);
            LONG expected = value;
            if (poller.m_awaited.compare_exchange_strong(expected, kNothing)) {
                ::SetEvent(poller.m_seenAwaited);
            }
            ::SwitchToThread();
        }
        return 0;
    }

    static constexpr LONG kNothing = -1;

    LONG(__cdecl* m_read)();
    HANDLE m_thread = nullptr;
    HANDLE m_seenAwaited = ::CreateEventW(nullptr, FALSE, FALSE, nullptr);
    std::atomic<LONG> m_awaited{kNothing};
    std::atomic<bool> m_ended{false};
    std::set<LONG> m_seen;
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
    {
        Poller poller(Notifications::readProgress);
        Notifications::then = [&](const std::wstring&) { CHECK(poller.Await(Notifications::progress.back())); };
        bool restart = false;
        const auto uninstall = library.Export<decltype(&::UninstallForceAll)>("UninstallForceAll");
        CHECK(uninstall(UNINSTALL_TYPE_FAMILY, &restart, &Notifications::Hear));
        CHECK(restart);
        CHECK(poller.Join() == std::set<LONG>{0, 30, 93, 100});
    }
    ::CloseHandle(hold);
    CHECK(Notifications::events == Lines{L"0/0 2", L"13/0 One", L"14/0", L"1/0", L"3/0", L"5/0", L"6/0", L"13/0 Two",
                                         L"14/0", L"1/0", L"3/0", L"5/0", L"6/0"});
    CHECK(Notifications::progress == std::vector<LONG>{0, 0, 0, 30, 93, 100, 100, 0, 0, 30, 93, 100, 100});
    CHECK(Notifications::readProgress() == 100);
    CHECK(folder.Tree() == Lines{L"data\\", L"data\\held"});
    CHECK(sandbox.Dump(UnderWow64() ? View::Bits64 : View::Default).empty());
}

TEST_CASE("a callback is not needed, and the host's apartment is its own affair") {
    const TempFolder folder;
    const PackedLibrary library(Section(L"del_file", L"name='" + folder.WriteFile(L"x") + L"'"));
    const auto uninstall = library.Export<decltype(&::UninstallProduct)>("UninstallProduct");
    REQUIRE(SUCCEEDED(::CoInitializeEx(nullptr, COINIT_MULTITHREADED)));
    ProductEntry entry = {::SysAllocString(L"Two"), nullptr, UNINSTALL_TYPE_FAMILY, nullptr, 1};
    bool restart = true;
    CHECK(uninstall(&entry, &restart, nullptr));
    CHECK_FALSE(restart);
    CHECK(folder.Tree().empty());
    ::SysFreeString(entry.name);
    ::CoUninitialize();
}
