#include <windows.h>
#include <winternl.h>

#include <doctest/doctest.h>

#include <cstring>

#include "foundation/log.h"
#include "foundation/owned.h"
#include "operations/CForceDelFile.h"
#include "operations/COperations.h"
#include "support/import_patch.h"
#include "support/recorded_log.h"
#include "support/temp_folder.h"

namespace {

using Paths = std::vector<std::wstring>;

Paths g_deleted;
NTSTATUS g_status = 0;

NTSTATUS NTAPI RecordingDeleteFile(OBJECT_ATTRIBUTES* attributes) {
    g_deleted.emplace_back(attributes->ObjectName->Buffer, attributes->ObjectName->Length / sizeof(wchar_t));
    return attributes->RootDirectory == nullptr && attributes->Attributes == 0 ? g_status : -1;
}

HMODULE WINAPI FailingLoadLibrary(const wchar_t*) {
    ::SetLastError(ERROR_MOD_NOT_FOUND);
    return nullptr;
}

constexpr const char* kHalfBound = "a binding that stopped half-way is final";

}  // namespace

TEST_CASE("object paths go to the native layer unchanged, others converted") {
    const TempFolder folder;
    {
        const EntryPointPatch patch("NtDeleteFile", reinterpret_cast<void*>(&RecordingDeleteFile));
        REQUIRE(CForceDelFile::Init() == _ERROR_SUCCESS);
        g_deleted.clear();
        for (const wchar_t* path : {L"\\??\\C:\\x\\.", L"\\dosDEVICES\\C:\\x", L"C:\\a\\..\\x", L""}) {
            CHECK(CForceDelFile::Delete(path) == _ERROR_SUCCESS);
        }
        CHECK(g_deleted == Paths{L"\\??\\C:\\x\\.", L"\\dosDEVICES\\C:\\x", L"\\??\\C:\\x", L""});
        g_status = -1;
        CHECK(CForceDelFile::Delete(L"C:\\x") == _ERROR_FAILED);
        g_status = 0;
    }
    REQUIRE(CForceDelFile::Init() == _ERROR_SUCCESS);
    const std::wstring file = folder.WriteFile(L"file");
    CHECK(CForceDelFile::Delete(file) == _ERROR_SUCCESS);
    CHECK_FALSE(FileExists(file));
    CHECK(CForceDelFile::Delete(file) == _ERROR_FAILED);
}

TEST_CASE("the native deletion of a held file runs only where binding failed") {
    const TempFolder folder;
    const RecordedLog log;
    const std::wstring file = folder.WriteFile(L"file");
    const OwnedFileHandle hold(::CreateFileW(file.c_str(), GENERIC_READ, 0, nullptr, OPEN_EXISTING, 0, nullptr));
    const EntryPointPatch patch("NtDeleteFile", reinterpret_cast<void*>(&RecordingDeleteFile));
    RestartList restart;
    g_deleted.clear();
    CHECK(COperations(&restart).DelFile(file, nullptr) == _ERROR_FAILED);
    CHECK(g_deleted.empty());
    {
        const ImportPatch noLibrary("LoadLibraryW", &FailingLoadLibrary);
        CHECK(COperations(&restart).DelFile(file, nullptr) == _ERROR_FAILED);
    }
    CHECK(g_deleted == Paths{L"\\??\\" + file});
    CHECK(restart.Paths() == Paths{file});
    CHECK(log.Has(kError, L"CForceDelFile::Init", L"failed LoadLibrary 0x7e"));
    CHECK(CForceDelFile::Init() == _ERROR_SUCCESS);
}

// Runs in a process of its own: no later test could bind again.
TEST_CASE(kHalfBound* doctest::skip()) {
    const RecordedLog log;
    {
        const EntryPointPatch first("RtlDosPathNameToNtPathName_U");
        const EntryPointPatch second("RtlFreeUnicodeString");
        CHECK(CForceDelFile::Init() == _ERROR_UNKNOWN);
    }
    CHECK(CForceDelFile::Init() == _ERROR_UNKNOWN);
    CHECK(log.Lines() == std::vector<LogLine>{{kError, L"CForceDelFile::Init",
                                               L"failed GetProcAddress RtlDosPathNameToNtPathName_U 7f"}});
}

TEST_CASE("the half-bound state, in a process of its own") {
    wchar_t program[MAX_PATH] = {};
    ::GetModuleFileNameW(nullptr, program, MAX_PATH);
    const std::wstring filter(kHalfBound, kHalfBound + std::strlen(kHalfBound));
    std::wstring command = L"\"" + std::wstring(program) + L"\" --no-skip --out=nul \"--test-case=" + filter + L"\"";
    STARTUPINFOW startup = {};
    startup.cb = sizeof(startup);
    PROCESS_INFORMATION process = {};
    REQUIRE(
        ::CreateProcessW(nullptr, command.data(), nullptr, nullptr, FALSE, 0, nullptr, nullptr, &startup, &process));
    const OwnedHandle processHandle(process.hProcess);
    const OwnedHandle threadHandle(process.hThread);
    REQUIRE(::WaitForSingleObject(process.hProcess, 60000) == WAIT_OBJECT_0);
    DWORD code = 1;
    ::GetExitCodeProcess(process.hProcess, &code);
    CHECK(code == 0);
}
