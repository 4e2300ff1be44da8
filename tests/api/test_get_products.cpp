#include <windows.h>
#include <doctest/doctest.h>

#include <oleauto.h>
#include <prodrm.h>

#include <string>
#include <vector>

#include "api/watched_calls.h"
#include "support/library_folder.h"
#include "support/recorded_log.h"
#include "support/show_text.h"

namespace {

using Lines = std::vector<std::wstring>;

// The log of a library with a folder of its own.
struct Library {
    RecordedLog log;
    LibraryFolder folder;
};

// The entries as "name type file", freed with the array.
Lines Take(SAFEARRAY* array) {
    Lines lines;
    ProductEntry* entries = nullptr;
    REQUIRE(::SafeArrayAccessData(array, reinterpret_cast<void**>(&entries)) == S_OK);
    for (ULONG index = 0; index < array->rgsabound[0].cElements; ++index) {
        const ProductEntry& entry = entries[index];
        CHECK(entry.guids == nullptr);
        CHECK(entry.force == 0);
        lines.push_back(std::wstring(entry.name) + L' ' + std::to_wstring(entry.type) + L' ' + entry.file);
        ::SysFreeString(entry.name);
        ::SysFreeString(entry.file);
    }
    ::SafeArrayUnaccessData(array);
    ::SafeArrayDestroy(array);
    return lines;
}

SAFEARRAY* const kUntouched = reinterpret_cast<SAFEARRAY*>(0xDEADBEEF);

}  // namespace

TEST_CASE("GetProducts lists the catalogues that the two low bits name, the family first") {
    Library library;
    library.folder.WriteCatalogue(L"products.xml", "<product name='B' file='b.xml'/><product name='A' file='a.xml'/>");
    library.folder.WriteCatalogue(L"detection.xml", "<product name='X' file='x.xml'/>");
    const Lines family = {L"B 1 " + library.folder.Path(L"intern\\b.xml"),
                          L"A 1 " + library.folder.Path(L"intern\\a.xml")};
    const Lines foreign = {L"X 2 " + library.folder.Path(L"extern\\x.xml")};
    Lines both = family;
    both.push_back(foreign[0]);
    const struct {
        ULONG flags;
        Lines expected;
    } rows[] = {{0, {}}, {1, family}, {2, foreign}, {3, both}, {0xFFFFFFFC, {}}, {0xF0000001, family}};
    for (const auto& row : rows) {
        CAPTURE(row.flags);
        library.log.Clear();
        SAFEARRAY* array = kUntouched;
        REQUIRE(::GetProducts(&array, row.flags));
        CHECK(array->cDims == 1);
        CHECK(array->cbElements == 20);
        CHECK(array->fFeatures == 0);
        CHECK(array->cLocks == 0);
        CHECK(array->rgsabound[0].lLbound == 0);
        CHECK(Take(array) == row.expected);
        CHECK(library.log.Of(L"GetProducts") == Lines{L"16 ->"});
    }
}

TEST_CASE("GetProducts fails with a catalogue that does not load, still tries the other and leaves the pointer") {
    Library library;
    const std::wstring noFamily = L"4 load products ZN \"" + library.folder.Path(L"products.xml") + L"\" failed";
    const std::wstring noForeign = L"4 load products EXT \"" + library.folder.Path(L"detection.xml") + L"\" failed";
    const auto run = [&](ULONG flags, const Lines& between) {
        library.log.Clear();
        SAFEARRAY* array = kUntouched;
        CHECK_FALSE(::GetProducts(&array, flags));
        CHECK(array == kUntouched);
        Lines lines = {L"16 ->"};
        lines.insert(lines.end(), between.begin(), between.end());
        CHECK(library.log.Of(L"GetProducts") == lines);
    };
    run(3, {noFamily, noForeign, L"16 <- false"});
    library.folder.WriteCatalogue(L"products.xml", "<product name='B' file='b.xml'/>");
    run(3, {noForeign, L"16 <- false"});
    library.folder.WriteCatalogue(L"detection.xml", "");
    library.folder.WriteCatalogue(L"products.xml", "<product/>");
    run(3, {noFamily, L"16 <- false"});
    library.folder.Lose();
    run(2, {L"4 GetCurrentPath failed"});
}

TEST_CASE("a failing array call undoes what was made, except the last one") {
    const struct {
        const char* call;
        std::vector<std::string> cleanUp;
    } rows[] = {
        {"SafeArrayAllocDescriptor", {}},
        {"SafeArrayAllocData", {"SafeArrayDestroyDescriptor"}},
        {"SafeArrayAccessData", {"SafeArrayDestroyData", "SafeArrayDestroyDescriptor"}},
    };
    Library library;
    for (const auto& row : rows) {
        CAPTURE(row.call);
        library.log.Clear();
        SAFEARRAY* array = nullptr;
        {
            const WatchedCalls calls(row.call);
            CHECK_FALSE(::GetProducts(&array, 0));
        }
        std::vector<std::string> cleanUp;
        for (std::size_t at = g_calls.size(); g_calls[at - 1] != row.call; --at) {
            cleanUp.insert(cleanUp.begin(), g_calls[at - 1]);
        }
        CHECK(cleanUp.back() == "CoUninitialize");
        cleanUp.pop_back();
        CHECK(cleanUp == row.cleanUp);
        const std::string line = "4 " + std::string(row.call) + " failed 0x8007000e";
        CHECK(library.log.Of(L"GetProducts") == Lines{L"16 ->", std::wstring(line.begin(), line.end())});
    }
    library.folder.WriteCatalogue(L"products.xml", "<product name='B' file='b.xml'/>");
    library.log.Clear();
    SAFEARRAY* array = nullptr;
    {
        const WatchedCalls calls("SafeArrayUnaccessData");
        CHECK(::GetProducts(&array, 1));
    }
    CHECK(Take(array).size() == 1);
    CHECK(library.log.Of(L"GetProducts") == Lines{L"16 ->", L"4 SafeArrayUnaccessData failed 0x8007000e"});
}

namespace {

// A thread on which COM stands as told; gives the calls that GetProducts made on it and how CoInitialize answered.
struct ComThread {
    bool initializedBefore;
    DWORD apartment;
    bool listed = false;
};

DWORD WINAPI ListOnThread(void* argument) {
    auto* const thread = static_cast<ComThread*>(argument);
    if (thread->initializedBefore) {
        ::CoInitializeEx(nullptr, thread->apartment);
    }
    SAFEARRAY* array = nullptr;
    {
        const WatchedCalls calls;
        thread->listed = ::GetProducts(&array, 1);
    }
    ::SafeArrayDestroy(array);
    return 0;
}

}  // namespace

TEST_CASE("COM is initialised once and released, as the last act, only after S_OK") {
    Library library;
    library.folder.WriteCatalogue(L"products.xml", "<product name='B' file='b.xml'/>");
    const struct {
        ComThread thread;
        HRESULT initialized;
        bool released;
    } rows[] = {
        {{false, 0}, S_OK, true},
        {{true, COINIT_APARTMENTTHREADED}, S_FALSE, false},
        {{true, COINIT_MULTITHREADED}, RPC_E_CHANGED_MODE, false},
    };
    for (const auto& row : rows) {
        ComThread thread = row.thread;
        const HANDLE running = ::CreateThread(nullptr, 0, &ListOnThread, &thread, 0, nullptr);
        REQUIRE(::WaitForSingleObject(running, 60000) == WAIT_OBJECT_0);
        ::CloseHandle(running);
        CHECK(thread.listed);
        CHECK(g_initialized == row.initialized);
        std::vector<std::string> calls = {"CoInitialize", "SafeArrayAllocDescriptor", "SafeArrayAllocData",
                                          "SafeArrayAccessData", "SafeArrayUnaccessData"};
        if (row.released) {
            calls.emplace_back("CoUninitialize");
        }
        CHECK(g_calls == calls);
    }
}
