#include <windows.h>
#include <winternl.h>

#include <doctest/doctest.h>

#include "operations/CForceDelFile.h"
#include "operations/COperations.h"
#include "support/import_patch.h"
#include "support/programs.h"
#include "support/recorded_log.h"
#include "support/temp_folder.h"

namespace {

Lines g_deleted;

NTSTATUS NTAPI RecordDeletion(OBJECT_ATTRIBUTES* attributes) {
    g_deleted.emplace_back(attributes->ObjectName->Buffer, attributes->ObjectName->Length / sizeof(wchar_t));
    return attributes->RootDirectory == nullptr && attributes->Attributes == 0 ? 0 : -1;
}

}  // namespace

TEST_CASE("object paths go to the native layer unchanged, others converted") {
    {
        const EntryPointPatch patch("NtDeleteFile", reinterpret_cast<void*>(&RecordDeletion));
        REQUIRE(CForceDelFile::Init() == _ERROR_SUCCESS);
    }
    g_deleted.clear();
    for (const wchar_t* path : {L"\\??\\C:\\x\\.", L"\\dosDEVICES\\C:\\x", L"C:\\a\\..\\x", L""}) {
        CHECK(CForceDelFile::Delete(path) == _ERROR_SUCCESS);
    }
    CHECK(Joined(g_deleted, L" ") == LR"(\??\C:\x\. \dosDEVICES\C:\x \??\C:\x )");

    REQUIRE(CForceDelFile::Init() == _ERROR_SUCCESS);
    const TempFolder folder;
    const std::wstring file = folder.WriteFile(L"file");
    CHECK(CForceDelFile::Delete(file) == _ERROR_SUCCESS);
    CHECK_FALSE(FileExists(file));
    CHECK(CForceDelFile::Delete(file) == _ERROR_FAILED);

    // What was bound stays bound when it cannot be bound again.
    {
        const EntryPointPatch missing("RtlFreeUnicodeString");
        CHECK(CForceDelFile::Init() == _ERROR_UNKNOWN);
    }
    CHECK(CForceDelFile::Delete(folder.WriteFile(L"file")) == _ERROR_SUCCESS);
}

TEST_CASE("the native deletion of a held file runs only where binding failed") {
    const TempFolder folder;
    const RecordedLog log;
    const std::wstring file = folder.WriteFile(L"file");
    const OwnedFileHandle hold = HoldFile(file);
    const EntryPointPatch patch("NtDeleteFile", reinterpret_cast<void*>(&RecordDeletion));
    g_deleted.clear();
    RestartList restart;
    CHECK(COperations(&restart).DelFile(file, nullptr) == _ERROR_FAILED);
    CHECK(restart.Paths() == Lines{file});
    CHECK(g_deleted.empty());
    REFUSE(LoadLibraryW, nullptr, ERROR_MOD_NOT_FOUND);
    CHECK(COperations().DelFile(file, nullptr) == _ERROR_FAILED);
    CHECK(g_deleted == Lines{L"\\??\\" + file});
    CHECK(log.Has(L"E CForceDelFile::Init: failed LoadLibrary 0x7e"));
}

// Run by the test below in a process of its own: nothing could bind again after it.
TEST_CASE("child: a binding that stopped half-way is final" * doctest::skip()) {
    const RecordedLog log;
    {
        const EntryPointPatch missing("RtlDosPathNameToNtPathName_U");
        CHECK(CForceDelFile::Init() == _ERROR_UNKNOWN);
    }
    CHECK(CForceDelFile::Init() == _ERROR_UNKNOWN);
    CHECK(Joined(log.Texts()) == L"E CForceDelFile::Init: failed GetProcAddress RtlDosPathNameToNtPathName_U 7f");
}

TEST_CASE("a binding that stopped half-way is final") {
    CHECK(RunChild(L"child:*half-way*") == 0);
}
