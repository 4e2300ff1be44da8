#include <windows.h>
#include <doctest/doctest.h>

#include "foundation/CWow64.h"
#include "support/import_patch.h"
#include "support/recorded_log.h"
#include "support/registry_sandbox.h"
#include "support/temp_folder.h"

namespace {

// What the system answers in this file's scopes, and what it was asked.
enum class Answer { No, Yes, Failure };
Answer g_answer = Answer::No;
int g_asked = 0;
std::wstring g_switches;
BOOL g_switchWorks = TRUE;

BOOL WINAPI PlayIsWow64Process(HANDLE process, BOOL* result) {
    CHECK(process == ::GetCurrentProcess());
    ++g_asked;
    *result = g_answer == Answer::Yes;
    ::SetLastError(ERROR_ACCESS_DENIED);
    return g_answer != Answer::Failure;
}
BOOL WINAPI PlayDisable(void** cookie) {
    *cookie = reinterpret_cast<void*>(g_switches.size() + 1);
    g_switches += L"off " + std::to_wstring(g_switches.size() + 1) + L' ';
    ::SetLastError(ERROR_INVALID_FUNCTION);
    return g_switchWorks;
}
BOOL WINAPI PlayRevert(void* cookie) {
    g_switches += L"back " + std::to_wstring(reinterpret_cast<std::size_t>(cookie)) + L' ';
    ::SetLastError(ERROR_INVALID_PARAMETER);
    return g_switchWorks;
}
// A 64-bit system as this process sees it through the entry points, whatever the real one is.
struct PlayedSystem {
    explicit PlayedSystem(Answer answer) {
        g_answer = answer;
        g_asked = 0;
        g_switchWorks = TRUE;
        g_switches.clear();
    }
    EntryPointPatch ask{"IsWow64Process", reinterpret_cast<void*>(&PlayIsWow64Process)};
    EntryPointPatch off{"Wow64DisableWow64FsRedirection", reinterpret_cast<void*>(&PlayDisable)};
    EntryPointPatch back{"Wow64RevertWow64FsRedirection", reinterpret_cast<void*>(&PlayRevert)};
};

// The end of any CWow64 makes the next use of the process-wide one ask the system anew.
struct AskedAnew {
    AskedAnew() { const CWow64 ended; }
    ~AskedAnew() { const CWow64 ended; }
};

}  // namespace

TEST_CASE("the system is asked once, and the switches exist under WOW64 alone") {
    for (const Answer answer : {Answer::No, Answer::Yes, Answer::Failure}) {
        const RecordedLog log;
        const PlayedSystem system(answer);
        const bool isWow64 = answer == Answer::Yes;
        CWow64 wow64;
        CHECK(wow64.IsWow64Process() == isWow64);
        g_answer = isWow64 ? Answer::No : Answer::Yes;
        CHECK(wow64.IsWow64Process() == isWow64);
        CHECK(g_asked == 1);
        CHECK((wow64.Wow64DisableWow64FsRedirection() != nullptr) == isWow64);
        CHECK(log.Told(L"CWow64::IsWow64Process") ==
              (answer == Answer::Failure ? L"E IsWow64Process failed error 0x5" : L""));
        g_switchWorks = FALSE;
        CHECK(wow64.Revert(reinterpret_cast<void*>(7)) == !isWow64);
        g_switchWorks = TRUE;
        CHECK(wow64.Revert(reinterpret_cast<void*>(8)));
        CHECK(g_switches == (isWow64 ? L"back 7 back 8 " : L""));
    }
}

TEST_CASE("redirection scopes nest, end once, keep the last error and log failures as their caller") {
    RecordedLog log;
    const PlayedSystem system(Answer::Yes);
    const AskedAnew anew;
    {
        Wow64Redirection outer(L"outer");
        {
            const Wow64Redirection inner(L"inner");
            ::SetLastError(77);
        }
        CHECK(::GetLastError() == 77);
        outer.Revert();
        CHECK(::GetLastError() == 77);
        g_switches += L"end";
    }
    CHECK(g_switches == L"off 1 off 7 back 7 back 1 end");
    CHECK(log.Lines().empty());

    g_switchWorks = FALSE;
    g_switches.clear();
    { const Wow64Redirection failing(L"C::M"); }
    // What did not switch does not switch back: that would end a scope around it.
    CHECK(g_switches == L"off 1 ");
    g_switchWorks = TRUE;
    {
        const Wow64Redirection works(L"C::M");
        g_switchWorks = FALSE;
    }
    CHECK(log.Told(L"C::M") ==
          L"W Wow64DisableWow64FsRedirection failed 0x1 / W Wow64RevertWow64FsRedirection failed 0x57");
}

TEST_CASE("on the real system a scope shows the native system folder and leaves the process as it was") {
    const std::wstring file = L"C:\\windows\\system32\\prodrm-native.tmp";
    {
        const Wow64Redirection off(L"f");
        WriteWhole(file, "");
        { const Wow64Redirection nested(L"f"); }
        CHECK(FileExists(file));
    }
    CHECK(FileExists(file) == !UnderWow64());
    const Wow64Redirection off(L"f");
    CHECK(::DeleteFileW(file.c_str()));
}
