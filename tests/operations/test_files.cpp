#include <windows.h>

#include <doctest/doctest.h>

#include "foundation/CWow64.h"
#include "foundation/log_statement.h"
#include "operations/COperations.h"
#include "operations/keep_chosen.h"
#include "support/import_patch.h"
#include "support/recorded_log.h"
#include "support/registry_sandbox.h"
#include "support/temp_folder.h"

namespace {

using Paths = std::vector<std::wstring>;

// Why the system refuses the folder "closed".
DWORD g_refusal = 0;

HANDLE WINAPI RefuseToList(const wchar_t* path, WIN32_FIND_DATAW* data) {
    if (std::wstring_view(path).ends_with(L"\\closed\\*.*")) {
        ::SetLastError(g_refusal);
        return INVALID_HANDLE_VALUE;
    }
    return ::FindFirstFileExW(path, FindExInfoStandard, data, FindExSearchNameMatch, nullptr, 0);
}

bool g_searching = false;
decltype(&::FindClose) g_findClose = nullptr;

BOOL WINAPI EndSearch(HANDLE find) {
    g_searching = false;
    return g_findClose(find);
}

BOOL WINAPI RefuseToRemove(const wchar_t*) {
    ::SetLastError(g_searching ? ERROR_SHARING_VIOLATION : g_refusal);
    return FALSE;
}

}  // namespace

TEST_CASE("a folder goes with all it holds, read-only entries included") {
    const TempFolder folder;
    folder.MakeFolder(L"top\\empty");
    const std::wstring file = folder.WriteFile(L"top\\sub\\deep\\file.txt");
    ::SetFileAttributesW(file.c_str(), FILE_ATTRIBUTE_READONLY | FILE_ATTRIBUTE_HIDDEN);
    folder.WriteFile(L"topmost.txt");
    RestartList restart;
    CHECK(COperations(&restart).DelFolder(folder.Path(L"top"), nullptr) == _ERROR_SUCCESS);
    CHECK(folder.Tree() == Paths{L"topmost.txt"});
    CHECK(restart.Empty());
}

TEST_CASE("what cannot go waits for the restart, once, in the order of the walk") {
    const TempFolder folder;
    const RecordedLog log;
    const std::wstring locked = folder.WriteFile(L"top\\a\\locked");
    folder.WriteFile(L"top\\a\\next\\free");
    folder.WriteFile(L"top\\z");
    const OwnedFileHandle hold = HoldFile(locked);

    RestartList restart;
    COperations operations(&restart);
    CHECK(operations.DelFolder(folder.Path(L"top"), nullptr) == _ERROR_SUCCESS);
    CHECK(operations.DelFile(locked, nullptr) == _ERROR_FAILED);
    CHECK(COperations().DelFile(locked, nullptr) == _ERROR_FAILED);

    CHECK(folder.Tree() == Paths{L"top\\", L"top\\a\\", L"top\\a\\locked"});
    CHECK(restart.Paths() == Paths{locked, folder.Path(L"top\\a"), folder.Path(L"top")});
    CHECK(log.Count(kInfo, L"COperations::AddRestartDel", L"\"" + locked + L"\"") == 1);
    CHECK(log.Count(kWarning, L"COperations::DelFile", L"failed \"" + locked + L"\"") == 3);
    CHECK(log.Has(kError, L"COperations::DelFolderRec", L"failed \"" + folder.Path(L"top") + L"\". last error 0x91"));
}

TEST_CASE("what a product that stays uses is kept with the folders above it") {
    const TempFolder folder;
    for (const wchar_t* file : {L"a\\other", L"a\\used", L"b\\inner\\one", L"c\\two"}) {
        folder.WriteFile(file);
    }
    KeepChosen used({L"file " + folder.Path(L"a\\used"), L"folder " + folder.Path(L"b")});
    RestartList restart;
    CHECK(COperations(&restart).DelFolder(folder.Path(), &used) == _ERROR_SUCCESS);
    CHECK(folder.Tree() == Paths{L"a\\", L"a\\used", L"b\\", L"b\\inner\\", L"b\\inner\\one"});
    CHECK(restart.Empty());
    // The uppermost folder is asked for twice.
    CHECK(used.asked == Paths{L"folder " + folder.Path(), L"folder " + folder.Path(), L"folder " + folder.Path(L"a"),
                              L"file " + folder.Path(L"a\\other"), L"file " + folder.Path(L"a\\used"),
                              L"folder " + folder.Path(L"b"), L"folder " + folder.Path(L"c"),
                              L"file " + folder.Path(L"c\\two")});
}

TEST_CASE("missing things and things of the wrong kind") {
    const TempFolder folder;
    const RecordedLog log;
    const std::wstring file = folder.WriteFile(L"file");
    const std::wstring missing = folder.Path(L"missing");
    RestartList restart;
    COperations operations(&restart);
    for (const std::wstring& path : {missing, missing + L"\\file"}) {
        CHECK(operations.DelFile(path, nullptr) == _ERROR_NOT_FOUND);
        CHECK(operations.CheckFile(path) == _ERROR_NOT_FOUND);
    }
    CHECK(operations.CheckFolder(missing) == _ERROR_NOT_FOUND);
    CHECK(operations.DelFolder(file, nullptr) == _ERROR_NOT_FOUND);
    CHECK(operations.CheckFile(folder.Path()) == _ERROR_SUCCESS);
    CHECK(operations.CheckFolder(file) == _ERROR_NOT_FOUND);
    CHECK(FileExists(file));
    CHECK(restart.Empty());
    CHECK(log.Has(kWarning, L"COperations::DelFile", L"failed " + missing + L" ERROR_FILE_NOT_FOUND"));
    CHECK(log.Has(kError, L"COperations::CheckFolder", L"\"" + missing + L"\" 0xffffffff, ERROR_NOT_FOUND"));
    CHECK(log.Has(kWarning, L"COperations::DelFolderRec", L"\"" + file + L"\" path isn't a directory"));
}

TEST_CASE("an expansion lists its root first, resets its attributes and passes over what it cannot open") {
    const TempFolder folder;
    const RecordedLog log;
    const std::wstring closed = folder.MakeFolder(L"closed");
    const std::wstring inner = folder.WriteFile(L"open\\inner");
    const std::wstring last = folder.WriteFile(L"z");
    ::SetFileAttributesW(last.c_str(), FILE_ATTRIBUTE_READONLY);
    const ImportPatch list("FindFirstFileW", &RefuseToList);
    g_refusal = ERROR_ACCESS_DENIED;

    Paths folders;
    Paths files;
    const COperations operations;
    CHECK(operations.ExpandFolder(folder.Path(), folders, files) == _ERROR_SUCCESS);
    CHECK(operations.ExpandFolder(last, folders, files) == _ERROR_NOT_FOUND);
    CHECK(folders == Paths{folder.Path(), closed, folder.Path(L"open"), last});
    CHECK(files == Paths{inner, last});
    CHECK((::GetFileAttributesW(last.c_str()) & FILE_ATTRIBUTE_READONLY) == 0);
    CHECK(
        log.Has(kWarning, L"COperations::ExpandFolderRec", L"error _ERROR_UNKNOWN expand folder \"" + closed + L"\""));
}

TEST_CASE("folders that the system refuses to list or to remove") {
    const TempFolder folder;
    const RecordedLog log;
    const std::wstring closed = folder.MakeFolder(L"top\\closed");
    folder.WriteFile(L"top\\file");
    RestartList restart;
    COperations operations(&restart);
    {
        const ImportPatch list("FindFirstFileW", &RefuseToList);
        g_refusal = ERROR_FILE_NOT_FOUND;
        CHECK(operations.DelFolder(closed, nullptr) == _ERROR_NOT_FOUND);
        g_refusal = ERROR_ACCESS_DENIED;
        CHECK(operations.DelShortcut(closed, L"x", false, nullptr) == _ERROR_UNKNOWN);
        CHECK(operations.DelFolder(folder.Path(L"top"), nullptr) == _ERROR_SUCCESS);
    }
    CHECK(folder.Tree() == Paths{L"top\\", L"top\\closed\\"});
    CHECK(restart.Paths() == Paths{closed, folder.Path(L"top")});
    for (const wchar_t* const caller : {L"COperations::DelFolderRec", L"COperations::DelShortcutRec"}) {
        CHECK(log.Count(kError, caller, L"FindFirstFile \"" + closed + L"\" failed 0x5") == 1);
    }

    const ImportPatch remove("RemoveDirectoryW", &RefuseToRemove);
    const ImportPatch close("FindClose", &EndSearch);
    g_findClose = close.Original<decltype(g_findClose)>();
    for (const DWORD error : {ERROR_PATH_NOT_FOUND, ERROR_INVALID_NAME, ERROR_SHARING_VIOLATION}) {
        RestartList one;
        g_refusal = error;
        g_searching = true;
        CHECK(COperations(&one).DelFolder(closed, nullptr) == _ERROR_SUCCESS);
        CHECK(one.Empty() == (error != ERROR_SHARING_VIOLATION));
    }
}

TEST_CASE("the native system folder is meant under WOW64, and the state found comes back") {
    if (!UnderWow64()) {
        MESSAGE("skipped: no redirection without WOW64");
        return;
    }
    const std::wstring path = L"C:\\windows\\system32\\prodrm-redirected";
    const std::wstring file = path + L"\\file";
    const auto make = [&] {
        ::CreateDirectoryW(path.c_str(), nullptr);
        ::CopyFileW(L"C:\\windows\\win.ini", file.c_str(), FALSE);
    };
    make();
    COperations operations;
    Paths listed;
    CHECK(operations.CheckFile(file) == _ERROR_NOT_FOUND);
    CHECK(operations.DelFile(file, nullptr) == _ERROR_NOT_FOUND);
    CHECK(operations.DelShortcut(path, L"x", false, nullptr) == _ERROR_NOT_FOUND);
    CHECK(operations.CheckShortcut(path, L"x", false) == _ERROR_NOT_FOUND);
    CHECK(operations.ExpandShortcut(path, L"x", false, listed) == _ERROR_SUCCESS);
    CHECK(listed == Paths{path});
    CHECK(operations.ExpandFolder(path, listed, listed) == _ERROR_NOT_FOUND);
    {
        const Wow64Redirection off(L"");
        make();
    }
    CHECK(operations.CheckFolder(path) == _ERROR_SUCCESS);
    CHECK(operations.DelFolder(path, nullptr) == _ERROR_SUCCESS);
    CHECK(operations.CheckFolder(path) == _ERROR_NOT_FOUND);
    CHECK(FileExists(file));
    RemoveTree(path);
}
