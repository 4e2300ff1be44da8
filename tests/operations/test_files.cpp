#include <windows.h>

#include <doctest/doctest.h>

#include <algorithm>

#include "foundation/CWow64.h"
#include "foundation/log.h"
#include "foundation/owned.h"
#include "operations/CForceDelFile.h"
#include "operations/COperations.h"
#include "operations/keep_chosen.h"
#include "support/import_patch.h"
#include "support/recorded_log.h"
#include "support/registry_sandbox.h"
#include "support/temp_folder.h"

namespace {

using Paths = std::vector<std::wstring>;

OwnedFileHandle Hold(const std::wstring& path) {
    return OwnedFileHandle(::CreateFileW(path.c_str(), GENERIC_READ, 0, nullptr, OPEN_EXISTING, 0, nullptr));
}

// Calls on paths that end in the given text fail with the given error.
std::wstring g_failingEnd;
DWORD g_failure = 0;

bool Fails(const wchar_t* path) {
    ::SetLastError(g_failure);
    return std::wstring_view(path).ends_with(g_failingEnd);
}

int g_openSearches = 0;

HANDLE WINAPI FailingFindFirstFile(const wchar_t* path, WIN32_FIND_DATAW* data) {
    if (Fails(path)) {
        return INVALID_HANDLE_VALUE;
    }
    ++g_openSearches;
    return ::FindFirstFileExW(path, FindExInfoStandard, data, FindExSearchNameMatch, nullptr, 0);
}

decltype(&::FindClose) g_findClose = nullptr;

BOOL WINAPI CountingFindClose(HANDLE find) {
    --g_openSearches;
    return g_findClose(find);
}

// As the system does, refuses a folder with an open search.
BOOL WINAPI FailingRemoveDirectory(const wchar_t* path) {
    if (g_openSearches > 0) {
        ::SetLastError(ERROR_SHARING_VIOLATION);
        return FALSE;
    }
    return !Fails(path);
}

Paths g_reset;
decltype(&::SetFileAttributesW) g_setFileAttributes = nullptr;

BOOL WINAPI RecordingSetFileAttributes(const wchar_t* path, DWORD attributes) {
    if (attributes == FILE_ATTRIBUTE_NORMAL) {
        g_reset.push_back(path);
    }
    return g_setFileAttributes(path, attributes);
}

BOOL WINAPI OddDeleteFile(const wchar_t*) {
    return 2;
}

}  // namespace

TEST_CASE("a folder goes with all it holds, read-only entries included") {
    const TempFolder folder;
    folder.MakeFolder(L"top\\empty");
    const std::wstring file = folder.WriteFile(L"top\\sub\\deep\\file.txt");
    ::SetFileAttributesW(file.c_str(), FILE_ATTRIBUTE_READONLY | FILE_ATTRIBUTE_HIDDEN);
    folder.WriteFile(L"topmost.txt");

    const ImportPatch patch("SetFileAttributesW", &RecordingSetFileAttributes);
    g_setFileAttributes = patch.Original<decltype(&::SetFileAttributesW)>();
    g_reset.clear();
    RestartList restart;
    const std::wstring top = folder.Path(L"top");
    CHECK(COperations(&restart).DelFolder(top, nullptr) == _ERROR_SUCCESS);
    CHECK(folder.Tree() == Paths{L"topmost.txt"});
    CHECK(g_reset == Paths{top, top + L"\\empty", file, top + L"\\sub\\deep", top + L"\\sub", top});
    CHECK(restart.Empty());
}

TEST_CASE("what cannot go waits for the restart, once, in the order of the walk") {
    const TempFolder folder;
    const RecordedLog log;
    const std::wstring locked = folder.WriteFile(L"top\\a\\locked");
    folder.WriteFile(L"top\\a\\next\\free");
    folder.WriteFile(L"top\\z");
    const OwnedFileHandle lock = Hold(locked);

    RestartList restart;
    COperations operations(&restart);
    CHECK(operations.DelFolder(folder.Path(L"top"), nullptr) == _ERROR_SUCCESS);
    CHECK(operations.DelFile(locked, nullptr) == _ERROR_FAILED);
    CHECK(COperations().DelFile(locked, nullptr) == _ERROR_FAILED);

    CHECK(folder.Tree() == Paths{L"top\\", L"top\\a\\", L"top\\a\\locked"});
    CHECK(restart.Paths() == Paths{locked, folder.Path(L"top\\a"), folder.Path(L"top")});
    INFO(log.Dump());
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
    const std::wstring unreachable = folder.Path(L"missing\\file");
    RestartList restart;
    COperations operations(&restart);

    for (const std::wstring& path : {missing, unreachable}) {
        CHECK(operations.DelFile(path, nullptr) == _ERROR_NOT_FOUND);
        CHECK(operations.CheckFile(path) == _ERROR_NOT_FOUND);
        CHECK(operations.CheckFolder(path) == _ERROR_NOT_FOUND);
    }
    CHECK(operations.DelFolder(file, nullptr) == _ERROR_NOT_FOUND);
    CHECK(operations.CheckFile(file) == _ERROR_SUCCESS);
    CHECK(operations.CheckFile(folder.Path()) == _ERROR_SUCCESS);
    CHECK(operations.CheckFolder(folder.Path()) == _ERROR_SUCCESS);
    CHECK(operations.CheckFolder(file) == _ERROR_NOT_FOUND);
    CHECK(folder.Tree() == Paths{L"file"});
    CHECK(restart.Empty());

    INFO(log.Dump());
    CHECK(log.Has(kWarning, L"COperations::DelFile", L"failed " + missing + L" ERROR_FILE_NOT_FOUND"));
    CHECK(log.Has(kWarning, L"COperations::DelFile", L"SetFileAttributes NORMAL failed 0x3"));
    CHECK(log.Has(kError, L"COperations::CheckFolder", L"\"" + missing + L"\" 0xffffffff, ERROR_NOT_FOUND"));
    CHECK(log.Has(kWarning, L"COperations::DelFolderRec", L"\"" + file + L"\" path isn't a directory"));

    const ImportPatch odd("DeleteFileW", &OddDeleteFile);
    CHECK(operations.DelFile(file, nullptr) == _ERROR_FAILED);
    CHECK(restart.Empty());
}

TEST_CASE("an expansion lists its root first, resets its attributes and passes over what it cannot open") {
    const TempFolder folder;
    const RecordedLog log;
    const std::wstring closed = folder.MakeFolder(L"closed");
    const std::wstring inner = folder.WriteFile(L"open\\inner");
    const std::wstring last = folder.WriteFile(L"z");
    const ImportPatch attributes("SetFileAttributesW", &RecordingSetFileAttributes);
    g_setFileAttributes = attributes.Original<decltype(&::SetFileAttributesW)>();
    g_reset.clear();
    const ImportPatch patch("FindFirstFileW", &FailingFindFirstFile);
    g_failingEnd = L"\\closed\\*.*";
    g_failure = ERROR_ACCESS_DENIED;

    Paths folders{L"before"};
    Paths files;
    const COperations operations;
    CHECK(operations.ExpandFolder(folder.Path(), folders, files) == _ERROR_SUCCESS);
    CHECK(operations.ExpandFolder(last, folders, files) == _ERROR_NOT_FOUND);
    CHECK(folders == Paths{L"before", folder.Path(), closed, folder.Path(L"open"), last});
    CHECK(files == Paths{inner, last});
    CHECK(g_reset == Paths{folder.Path(), last});
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
    Paths files;
    {
        const ImportPatch patch("FindFirstFileW", &FailingFindFirstFile);
        g_failingEnd = L"\\closed\\*.*";
        g_failure = ERROR_FILE_NOT_FOUND;
        CHECK(operations.DelFolder(closed, nullptr) == _ERROR_NOT_FOUND);
        CHECK(operations.CheckShortcut(closed, L"x", false) == _ERROR_NOT_FOUND);
        g_failure = ERROR_ACCESS_DENIED;
        CHECK(operations.DelFolder(closed, nullptr) == _ERROR_UNKNOWN);
        CHECK(operations.DelShortcut(closed, L"x", false, nullptr) == _ERROR_UNKNOWN);
        CHECK(operations.ExpandShortcut(folder.Path(L"top"), L"x", false, files) == _ERROR_UNKNOWN);
        CHECK(operations.DelFolder(folder.Path(L"top"), nullptr) == _ERROR_SUCCESS);
    }
    CHECK(folder.Tree() == Paths{L"top\\", L"top\\closed\\"});
    CHECK(restart.Paths() == Paths{closed, folder.Path(L"top")});
    INFO(log.Dump());
    const std::wstring failed = L"FindFirstFile \"" + closed + L"\" failed 0x5";
    CHECK(log.Count(kError, L"COperations::DelFolderRec", failed) == 2);
    CHECK(log.Count(kError, L"COperations::DelShortcutRec", failed) == 1);
    CHECK(log.Count(kError, L"COperations::ExpandShortcutRec", failed) == 1);
    CHECK(
        log.Has(kWarning, L"COperations::CheckShortcutRec", L"FindFirstFile ERROR_FILE_NOT_FOUND \"" + closed + L"\""));

    const ImportPatch remove("RemoveDirectoryW", &FailingRemoveDirectory);
    const ImportPatch open("FindFirstFileW", &FailingFindFirstFile);
    const ImportPatch close("FindClose", &CountingFindClose);
    g_findClose = close.Original<decltype(&::FindClose)>();
    g_openSearches = 0;
    g_failingEnd = L"closed";
    for (const DWORD error :
         {ERROR_FILE_NOT_FOUND, ERROR_PATH_NOT_FOUND, ERROR_INVALID_NAME, ERROR_SHARING_VIOLATION}) {
        RestartList one;
        g_failure = error;
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
        ::CloseHandle(::CreateFileW(file.c_str(), GENERIC_WRITE, 0, nullptr, CREATE_ALWAYS, 0, nullptr));
    };
    make();
    COperations operations;
    CHECK(operations.CheckFile(file) == _ERROR_NOT_FOUND);
    CHECK(operations.DelFile(file, nullptr) == _ERROR_NOT_FOUND);
    Paths folders;
    Paths files;
    CHECK(operations.DelShortcut(path, L"x", false, nullptr) == _ERROR_NOT_FOUND);
    CHECK(operations.CheckShortcut(path, L"x", false) == _ERROR_NOT_FOUND);
    CHECK(operations.ExpandShortcut(path, L"x", false, files) == _ERROR_SUCCESS);
    CHECK(files == Paths{path});
    CHECK(operations.ExpandFolder(path, folders, files) == _ERROR_NOT_FOUND);
    CHECK(FileExists(file));
    {
        const Wow64Redirection off(L"");
        make();
    }
    CHECK(operations.CheckFolder(path) == _ERROR_SUCCESS);
    CHECK(operations.DelFolder(path, nullptr) == _ERROR_SUCCESS);
    CHECK(operations.CheckFolder(path) == _ERROR_NOT_FOUND);
    CHECK(FileExists(L"C:\\windows\\syswow64\\prodrm-redirected\\file"));
    CHECK(FileExists(file));
    RemoveTree(path);
}
