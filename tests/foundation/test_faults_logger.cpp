#include <windows.h>
#include <doctest/doctest.h>

#include <process.h>

#include "foundation/CLogDLL.h"
#include "foundation/owned.h"
#include "support/import_patch.h"
#include "support/programs.h"

namespace {

HANDLE g_reached = nullptr;

HMODULE WINAPI NeverLoads(const wchar_t*) {
    ::SetEvent(g_reached);
    ::Sleep(INFINITE);
    return nullptr;
}

DWORD WINAPI MakeLogger(void*) {
    logging::CLogDLL::AddReference();
    return 0;
}

}  // namespace

// Run by the test below in a process of its own, since the thread is ended as the end of a process ends threads.
TEST_CASE("child: the end of the process waits for nobody" * doctest::skip()) {
    const OwnedHandle reached(::CreateEventW(nullptr, TRUE, FALSE, nullptr));
    g_reached = reached.Get();
    const ImportPatch patch("LoadLibraryW", &NeverLoads);
    const OwnedHandle thread(::CreateThread(nullptr, 0, &MakeLogger, nullptr, 0, nullptr));
    ::WaitForSingleObject(g_reached, INFINITE);
    ::TerminateThread(thread.Get(), 0);
    logging::CLogDLL::ReleaseAtProcessEnd();
    CHECK_FALSE(logging::CLogDLL::IsOpen());
}

TEST_CASE("the end of the process waits for nobody who was making the logger") {
    CHECK(::_wspawnl(_P_WAIT, BesideTest(L"test_foundation.exe").c_str(), L"test_foundation", L"--no-skip",
                     L"--out=nul", L"--test-case=child:*waits for nobody", nullptr) == 0);
}
