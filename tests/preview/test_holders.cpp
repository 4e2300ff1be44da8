#include <windows.h>

#include <doctest/doctest.h>

#include <string>
#include <vector>

#include "preview/holders.h"
#include "support/import_patch.h"

using namespace preview;

namespace {

// A restart manager that knows one file to be held.
std::vector<std::wstring> g_registered;
int g_sessions = 0;

DWORD WINAPI Start(DWORD* session, DWORD, wchar_t*) {
    *session = 7;
    ++g_sessions;
    return ERROR_SUCCESS;
}

DWORD WINAPI Register(DWORD, UINT count, const wchar_t* const* files, UINT, const void*, UINT, const void*) {
    g_registered.assign(files, files + count);
    return ERROR_SUCCESS;
}

DWORD WINAPI List(DWORD, UINT* needed, UINT* count, BYTE* processes, DWORD*) {
    const bool held = std::find(g_registered.begin(), g_registered.end(), L"C:\\a\\77") != g_registered.end();
    *needed = held ? 1 : 0;
    if (held && *count == 0) {
        return ERROR_MORE_DATA;
    }
    *count = *needed;
    if (held) {
        const DWORD id = 42;
        std::copy_n(reinterpret_cast<const BYTE*>(&id), sizeof id, processes);
        std::copy_n(reinterpret_cast<const BYTE*>(L"holder"), sizeof L"holder", processes + 12);
    }
    return ERROR_SUCCESS;
}

DWORD WINAPI End(DWORD) {
    --g_sessions;
    return ERROR_SUCCESS;
}

}  // namespace

TEST_CASE("the holder of one file among many is found") {
    const EntryPointPatch start("RmStartSession", reinterpret_cast<void*>(&Start));
    const EntryPointPatch add("RmRegisterResources", reinterpret_cast<void*>(&Register));
    const EntryPointPatch list("RmGetList", reinterpret_cast<void*>(&List));
    const EntryPointPatch end("RmEndSession", reinterpret_cast<void*>(&End));
    Plan plan;
    for (int number = 0; number < 1500; ++number) {
        Item& item = plan.items[plan.items.AtPath(ItemKind::File, View::None, L"C:\\a\\" + std::to_wstring(number))];
        item.kind = ItemKind::File;
        item.record = 0;
    }
    AddHolders(plan);
    REQUIRE(plan.holders.size() == 1);
    CHECK(plan.items.Path(plan.holders.begin()->first) == L"C:\\a\\77");
    REQUIRE(plan.holders.begin()->second.size() == 1);
    CHECK(plan.holders.begin()->second.front().process == 42);
    CHECK(plan.holders.begin()->second.front().name == L"holder");
    CHECK(g_sessions == 0);
}
