// Files, folders and shortcuts.

#include <windows.h>

#include <doctest/doctest.h>

#include <sys/stat.h>
#include <cerrno>

#include "foundation/CWow64.h"
#include "operations/COperations.h"
#include "operations/keep_chosen.h"
#include "support/com_scope.h"
#include "support/import_patch.h"
#include "support/recorded_log.h"
#include "support/registry_sandbox.h"
#include "support/shell_link.h"
#include "support/temp_folder.h"

namespace {

// A folder, for which DIR stands, with its log and a restart list.
struct Bench {
    std::wstring Left() const { return Joined(folder.Tree(), L" "); }
    std::wstring Nick(const Lines& lines) const { return Nicknames{{L"DIR", folder.Path()}}.Nick(Joined(lines, L" ")); }
    bool Logged(const std::wstring& line) const { return log.Has(Replaced(line, L"DIR", folder.Path())); }

    TempFolder folder;
    RecordedLog log;
    RestartList restart;
    COperations operations{&restart};
};

}  // namespace

TEST_CASE("a folder goes with all it holds, and what cannot go waits for the restart, once, in the order of the walk") {
    Bench bench;
    bench.folder.MakeFolder(L"top\\empty");
    ::SetFileAttributesW(bench.folder.WriteFile(L"top\\sub\\deep\\file.txt").c_str(),
                         FILE_ATTRIBUTE_READONLY | FILE_ATTRIBUTE_HIDDEN);
    bench.folder.WriteFile(L"topmost.txt");
    CHECK(bench.operations.DelFolder(bench.folder.Path(L"top"), nullptr) == _ERROR_SUCCESS);
    CHECK(bench.Left() == L"topmost.txt");
    CHECK(bench.restart.Empty());

    const std::wstring locked = bench.folder.WriteFile(L"top\\a\\locked");
    bench.folder.WriteFile(L"top\\a\\next\\free");
    bench.folder.WriteFile(L"top\\z");
    const OwnedFileHandle hold = HoldFile(locked);
    CHECK(bench.operations.DelFolder(bench.folder.Path(L"top"), nullptr) == _ERROR_SUCCESS);
    CHECK(bench.operations.DelFile(locked, nullptr) == _ERROR_FAILED);
    CHECK(COperations().DelFile(locked, nullptr) == _ERROR_FAILED);
    CHECK(bench.Left() == LR"(top\ top\a\ top\a\locked topmost.txt)");
    CHECK(bench.Nick(bench.restart.Paths()) == LR"(DIR\top\a\locked DIR\top\a DIR\top)");
    CHECK(bench.log.Count(L"I COperations::AddRestartDel: \"" + locked + L"\"") == 1);
    CHECK(bench.log.Count(L"W COperations::DelFile: failed \"" + locked + L"\"") == 3);
    CHECK(bench.Logged(LR"(E COperations::DelFolderRec: failed "DIR\top". last error 0x91)"));
}

TEST_CASE("what a product that stays uses is kept with the folders above it") {
    Bench bench;
    for (const wchar_t* file : {L"a\\other", L"a\\used", L"b\\inner\\one", L"c\\two"}) {
        bench.folder.WriteFile(file);
    }
    KeepChosen used({L"file " + bench.folder.Path(L"a\\used"), L"folder " + bench.folder.Path(L"b")});
    CHECK(bench.operations.DelFolder(bench.folder.Path(), &used) == _ERROR_SUCCESS);
    CHECK(bench.Left() == LR"(a\ a\used b\ b\inner\ b\inner\one)");
    CHECK(bench.restart.Empty());
    // The uppermost folder is asked for twice.
    CHECK(bench.Nick(used.asked) ==
          LR"(folder DIR folder DIR folder DIR\a file DIR\a\other file DIR\a\used )"
          LR"(folder DIR\b folder DIR\c file DIR\c\two)");
}

TEST_CASE("missing things, things of the wrong kind and things that cannot be asked for") {
    Bench bench;
    const std::wstring file = bench.folder.WriteFile(L"file");
    const std::wstring missing = bench.folder.Path(L"missing");
    for (const std::wstring& path : {missing, missing + L"\\file"}) {
        CHECK(bench.operations.DelFile(path, nullptr) == _ERROR_NOT_FOUND);
        CHECK(bench.operations.CheckFile(path) == _ERROR_NOT_FOUND);
    }
    CHECK(bench.operations.CheckFolder(missing) == _ERROR_NOT_FOUND);
    CHECK(bench.operations.DelFolder(file, nullptr) == _ERROR_NOT_FOUND);
    CHECK(bench.operations.CheckFile(bench.folder.Path()) == _ERROR_SUCCESS);
    CHECK(bench.operations.CheckFolder(file) == _ERROR_NOT_FOUND);
    CHECK(FileExists(file));
    CHECK(bench.restart.Empty());
    CHECK(bench.Logged(L"W COperations::DelFile: failed DIR\\missing ERROR_FILE_NOT_FOUND"));
    CHECK(bench.Logged(L"E COperations::CheckFolder: \"DIR\\missing\" 0xffffffff, ERROR_NOT_FOUND"));
    CHECK(bench.Logged(L"W COperations::DelFolderRec: \"DIR\\file\" path isn't a directory"));
    const ImportPatch refused(
        "_wstat64", +[](const wchar_t*, struct _stat64*) { return errno = EACCES, -1; });
    CHECK(bench.operations.CheckFile(file) == _ERROR_FAILED);
    CHECK(bench.Logged(LR"(E COperations::CheckFile: _tstat for "DIR\file" failed 0xffffffff, errno=0xd)"));
}

TEST_CASE("an expansion lists its root first, resets its attributes and passes over what it cannot open") {
    Bench bench;
    const std::wstring closed = bench.folder.MakeFolder(L"closed");
    bench.folder.WriteFile(L"open\\inner");
    const std::wstring last = bench.folder.WriteFile(L"z");
    ::SetFileAttributesW(last.c_str(), FILE_ATTRIBUTE_READONLY);
    PLAY(FindFirstFileW, [&](LPCWSTR path, WIN32_FIND_DATAW* data) {
        ::SetLastError(ERROR_ACCESS_DENIED);
        return path == closed + L"\\*.*" ? INVALID_HANDLE_VALUE : played_FindFirstFileW.Real(path, data);
    });
    Lines folders;
    Lines files;
    CHECK(bench.operations.ExpandFolder(bench.folder.Path(), folders, files) == _ERROR_SUCCESS);
    CHECK(bench.operations.ExpandFolder(last, folders, files) == _ERROR_NOT_FOUND);
    CHECK(bench.Nick(folders) == LR"(DIR DIR\closed DIR\open DIR\z)");
    CHECK(bench.Nick(files) == LR"(DIR\open\inner DIR\z)");
    CHECK((::GetFileAttributesW(last.c_str()) & FILE_ATTRIBUTE_READONLY) == 0);
    CHECK(bench.Logged(LR"(W COperations::ExpandFolderRec: error _ERROR_UNKNOWN expand folder "DIR\closed")"));
}

TEST_CASE("folders that the system refuses to list or to remove") {
    Bench bench;
    const std::wstring closed = bench.folder.MakeFolder(L"top\\closed");
    bench.folder.WriteFile(L"top\\file");
    DWORD refusal = ERROR_FILE_NOT_FOUND;
    {
        PLAY(FindFirstFileW, [&](LPCWSTR path, WIN32_FIND_DATAW* data) {
            ::SetLastError(refusal);
            return path == closed + L"\\*.*" ? INVALID_HANDLE_VALUE : played_FindFirstFileW.Real(path, data);
        });
        CHECK(bench.operations.DelFolder(closed, nullptr) == _ERROR_NOT_FOUND);
        refusal = ERROR_ACCESS_DENIED;
        CHECK(bench.operations.DelShortcut(closed, L"x", false, nullptr) == _ERROR_UNKNOWN);
        CHECK(bench.operations.DelFolder(bench.folder.Path(L"top"), nullptr) == _ERROR_SUCCESS);
    }
    CHECK(bench.Left() == LR"(top\ top\closed\)");
    CHECK(bench.Nick(bench.restart.Paths()) == LR"(DIR\top\closed DIR\top)");
    CHECK(bench.Logged(LR"(E COperations::DelFolderRec: FindFirstFile "DIR\top\closed" failed 0x5)"));
    CHECK(bench.Logged(LR"(E COperations::DelShortcutRec: FindFirstFile "DIR\top\closed" failed 0x5)"));

    // A folder is removed when no search holds it any more.
    bool searching = true;
    REFUSE(RemoveDirectoryW, FALSE, searching ? ERROR_SHARING_VIOLATION : refusal);
    PLAY(FindClose, [&](HANDLE find) {
        searching = false;
        return played_FindClose.Real(find);
    });
    for (const DWORD error : {ERROR_PATH_NOT_FOUND, ERROR_INVALID_NAME, ERROR_SHARING_VIOLATION}) {
        RestartList one;
        refusal = error;
        searching = true;
        CHECK(COperations(&one).DelFolder(closed, nullptr) == _ERROR_SUCCESS);
        CHECK(one.Empty() == (error != ERROR_SHARING_VIOLATION));
    }
}

TEST_CASE("the native system folder is meant under WOW64, and the state found comes back" *
          doctest::skip(!UnderWow64())) {
    const std::wstring path = L"C:\\windows\\system32\\prodrm-redirected";
    const std::wstring file = path + L"\\file";
    const auto make = [&] {
        ::CreateDirectoryW(path.c_str(), nullptr);
        WriteWhole(file, "");
    };
    make();
    COperations operations;
    Lines listed;
    CHECK(operations.CheckFile(file) == _ERROR_NOT_FOUND);
    CHECK(operations.DelFile(file, nullptr) == _ERROR_NOT_FOUND);
    CHECK(operations.DelShortcut(path, L"x", false, nullptr) == _ERROR_NOT_FOUND);
    CHECK(operations.CheckShortcut(path, L"x", false) == _ERROR_NOT_FOUND);
    CHECK(operations.ExpandShortcut(path, L"x", false, listed) == _ERROR_SUCCESS);
    CHECK(listed == Lines{path});
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

TEST_CASE("shortcuts: a target is compared whole, or by its file name; the last thing looked at gives the result") {
    Bench bench;
    const ComScope com;
    const std::wstring path = bench.folder.Path();
    bench.folder.MakeFolder(L"sub");
    for (const Lines& link : Rows(LR"(
a.lnk | C:\Tools\app.exe
b.LNK | C:\Other\APP.EXE
c.lnk | C:\Tools\app.exe.config
d.link | C:\Tools\app.exe
sub\e.lnk | C:\Tools\app.exe
)",
                                  2)) {
        MakeLink(bench.folder.Path(link[0]), link[1]);
    }
    bench.folder.WriteFile(L"broken.lnk", "no link");
    Lines listed;
    CHECK(bench.operations.ExpandShortcut(path, L"app.exe", true, listed) == _ERROR_SUCCESS);
    CHECK(listed.empty());
    CHECK(bench.operations.ExpandShortcut(path, L"App.exe", false, listed) == _ERROR_SUCCESS);
    CHECK(bench.Nick(listed) == LR"(DIR\a.lnk DIR\b.LNK DIR\sub\e.lnk)");
    CHECK(bench.operations.CheckShortcut(path, L"nothing", false) == _ERROR_SUCCESS);

    const std::wstring target = L"c:\\tools\\APP.exe";
    const std::wstring first = bench.folder.Path(L"a.lnk");
    {
        // Others may read both, so that the targets can be compared.
        const OwnedFileHandle holdFirst = HoldFile(first, FILE_SHARE_READ);
        {
            const OwnedFileHandle holdLast = HoldFile(bench.folder.Path(L"sub\\e.lnk"), FILE_SHARE_READ);
            CHECK(bench.operations.DelShortcut(path, target, true, nullptr) == _ERROR_FAILED);
        }
        CHECK(bench.operations.DelShortcut(path, target, true, nullptr) == _ERROR_SUCCESS);
    }
    KeepChosen used({L"file " + first});
    CHECK(bench.operations.DelShortcut(path, target, true, &used) == _ERROR_SUCCESS);
    CHECK(used.asked == Lines{L"file " + first});
    CHECK(bench.Left() == LR"(a.lnk b.LNK broken.lnk c.lnk d.link sub\)");
    CHECK(bench.operations.DelShortcut(path, L"app.exe", false, nullptr) == _ERROR_SUCCESS);
    CHECK(bench.Left() == LR"(broken.lnk c.lnk d.link sub\)");
    CHECK(bench.Nick(bench.restart.Paths()) == LR"(DIR\a.lnk DIR\sub\e.lnk)");
    CHECK(bench.Logged(LR"(E COperations::DelShortcutRec: GetLinkInfo "DIR\broken.lnk" failed 0x80004005)"));

    // A path that is no folder is acted on unread.
    const std::wstring file = bench.folder.Path(L"d.link");
    const std::wstring missing = bench.folder.Path(L"missing");
    listed.clear();
    CHECK(bench.operations.CheckShortcut(file, L"x", true) == _ERROR_SUCCESS);
    CHECK(bench.operations.ExpandShortcut(missing, L"x", true, listed) == _ERROR_SUCCESS);
    CHECK(listed == Lines{missing});
    CHECK(bench.operations.CheckShortcut(missing, L"x", true) == _ERROR_NOT_FOUND);
    CHECK(bench.operations.DelShortcut(missing, L"x", true, nullptr) == _ERROR_NOT_FOUND);
    CHECK(bench.operations.DelShortcut(file, L"x", true, nullptr) == _ERROR_SUCCESS);
    CHECK(bench.Left() == LR"(broken.lnk c.lnk sub\)");
}
