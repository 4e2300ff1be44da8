#include <windows.h>
#include <doctest/doctest.h>

#include <string>
#include <vector>

#include "foundation/CWow64.h"
#include "support/import_patch.h"
#include "support/recorded_log.h"
#include "support/registry_sandbox.h"
#include "support/show_text.h"
#include "support/temp_folder.h"

namespace {

// What the system answers in this file's scopes, and what it was asked.
enum class Answer { No, Yes, Failure };
Answer g_answer = Answer::No;
int g_asked = 0;
WORD g_nativeProcessor = 0;
std::vector<std::string> g_switches;
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
    g_switches.push_back("off " + std::to_string(g_switches.size() + 1));
    ::SetLastError(ERROR_INVALID_FUNCTION);
    return g_switchWorks;
}
BOOL WINAPI PlayRevert(void* cookie) {
    g_switches.push_back("back " + std::to_string(reinterpret_cast<std::size_t>(cookie)));
    ::SetLastError(ERROR_INVALID_PARAMETER);
    return g_switchWorks;
}
void WINAPI PlaySystemInfo(SYSTEM_INFO* info) {
    info->wProcessorArchitecture = g_nativeProcessor;
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
    EntryPointPatch info{"GetNativeSystemInfo", reinterpret_cast<void*>(&PlaySystemInfo)};
};

bool CanSwitch(const CWow64& wow64) {
    return wow64.Wow64DisableWow64FsRedirection() != nullptr;
}

// The end of any CWow64 makes the next use of the process-wide one ask the system anew.
struct AskedAnew {
    AskedAnew() { const CWow64 ended; }
    ~AskedAnew() { const CWow64 ended; }
};

}  // namespace

TEST_CASE("the system is asked once, and the switches exist under WOW64 alone") {
    const struct {
        Answer answer;
        bool wow64;
        std::vector<std::wstring> lines;
    } rows[] = {
        {Answer::No, false, {}},
        {Answer::Yes, true, {}},
        {Answer::Failure, false, {L"4 IsWow64Process failed error 0x5"}},
    };
    for (const auto& row : rows) {
        const RecordedLog log;
        const PlayedSystem system(row.answer);
        CWow64 wow64;
        CHECK(wow64.IsWow64Process() == row.wow64);
        g_answer = row.wow64 ? Answer::No : Answer::Yes;
        CHECK(wow64.IsWow64Process() == row.wow64);
        CHECK(g_asked == 1);
        CHECK(CanSwitch(wow64) == row.wow64);
        CHECK(log.Of(L"CWow64::IsWow64Process") == row.lines);

        g_switchWorks = FALSE;
        CHECK(wow64.Revert(reinterpret_cast<void*>(7)) == !row.wow64);
        g_switchWorks = TRUE;
        CHECK(wow64.Revert(reinterpret_cast<void*>(8)));
        CHECK(g_switches == (row.wow64 ? std::vector<std::string>{"back 7", "back 8"} : std::vector<std::string>{}));
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
            CHECK(g_switches == std::vector<std::string>{"off 1", "off 2"});
            ::SetLastError(77);
        }
        CHECK(::GetLastError() == 77);
        outer.Revert();
        CHECK(::GetLastError() == 77);
        g_switches.emplace_back("end");
    }
    CHECK(g_switches == std::vector<std::string>{"off 1", "off 2", "back 2", "back 1", "end"});
    CHECK(log.Lines().empty());

    g_switchWorks = FALSE;
    { const Wow64Redirection failing(L"C::M"); }
    CHECK(log.Lines() == std::vector<LogLine>{{8, L"C::M", L"Wow64DisableWow64FsRedirection failed 0x1"},
                                              {8, L"C::M", L"Wow64RevertWow64FsRedirection failed 0x57"}});
}

TEST_CASE("on the real system a scope shows the native system folder and leaves the process as it was") {
    wchar_t folder[MAX_PATH] = {};
    ::GetSystemDirectoryW(folder, MAX_PATH);
    const std::wstring file = std::wstring(folder) + L"\\prodrm-native.tmp";
    const auto seen = [&] { return FileExists(file); };
    {
        const Wow64Redirection off(L"f");
        ::CloseHandle(::CreateFileW(file.c_str(), GENERIC_WRITE, 0, nullptr, CREATE_ALWAYS, 0, nullptr));
        { const Wow64Redirection nested(L"f"); }
        CHECK(seen());
    }
    CHECK(seen() == !UnderWow64());
    const Wow64Redirection off(L"f");
    CHECK(::DeleteFileW(file.c_str()));
}
