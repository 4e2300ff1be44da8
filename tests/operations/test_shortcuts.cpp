#include <windows.h>
#include <shlobj.h>

#include <doctest/doctest.h>

#include "foundation/com.h"
#include "foundation/log_statement.h"
#include "operations/COperations.h"
#include "operations/keep_chosen.h"
#include "support/recorded_log.h"
#include "support/temp_folder.h"

namespace {

using Paths = std::vector<std::wstring>;

void MakeLink(const std::wstring& path, const std::wstring& target) {
    ::CoInitialize(nullptr);
    ComPtr<IShellLinkW> link;
    ComPtr<IPersistFile> file;
    REQUIRE(::CoCreateInstance(CLSID_ShellLink, nullptr, CLSCTX_INPROC_SERVER, IID_IShellLinkW,
                               reinterpret_cast<void**>(link.Put())) == S_OK);
    REQUIRE(SUCCEEDED(link->SetPath(target.c_str())));
    REQUIRE(link.As(IID_IPersistFile, file) == S_OK);
    REQUIRE(file->Save(path.c_str(), TRUE) == S_OK);
}

struct Menu {
    Menu() {
        folder.MakeFolder(L"sub");
        MakeLink(folder.Path(L"a.lnk"), L"C:\\Tools\\app.exe");
        MakeLink(folder.Path(L"b.LNK"), L"C:\\Other\\APP.EXE");
        MakeLink(folder.Path(L"c.lnk"), L"C:\\Tools\\app.exe.config");
        MakeLink(folder.Path(L"d.link"), L"C:\\Tools\\app.exe");
        MakeLink(folder.Path(L"sub\\e.lnk"), L"C:\\Tools\\app.exe");
        folder.WriteFile(L"broken.lnk", "no link");
    }

    TempFolder folder;
};

}  // namespace

TEST_CASE("a target is compared whole, or by its file name in any folder") {
    const Menu menu;
    const TempFolder& folder = menu.folder;
    const RecordedLog log;
    COperations operations;

    Paths listed;
    CHECK(operations.ExpandShortcut(folder.Path(), L"App.exe", false, listed) == _ERROR_SUCCESS);
    CHECK(listed == Paths{folder.Path(L"a.lnk"), folder.Path(L"b.LNK"), folder.Path(L"sub\\e.lnk")});
    listed.clear();
    CHECK(operations.ExpandShortcut(folder.Path(), L"app.exe", true, listed) == _ERROR_SUCCESS);
    CHECK(listed.empty());

    CHECK(operations.DelShortcut(folder.Path(), L"c:\\tools\\APP.exe", true, nullptr) == _ERROR_SUCCESS);
    CHECK(folder.Tree() == Paths{L"b.LNK", L"broken.lnk", L"c.lnk", L"d.link", L"sub\\"});
    CHECK(operations.DelShortcut(folder.Path(), L"app.exe", false, nullptr) == _ERROR_SUCCESS);
    CHECK(folder.Tree() == Paths{L"broken.lnk", L"c.lnk", L"d.link", L"sub\\"});
    INFO(log.Dump());
    CHECK(log.Count(kError, L"COperations::DelShortcutRec",
                    L"GetLinkInfo \"" + folder.Path(L"broken.lnk") + L"\" failed 0x80004005") == 2);
}

TEST_CASE("the result is that of the last thing looked at") {
    const Menu menu;
    const TempFolder& folder = menu.folder;
    RestartList restart;
    COperations operations(&restart);
    const std::wstring first = folder.Path(L"a.lnk");
    const std::wstring last = folder.Path(L"sub\\e.lnk");
    const std::wstring target = L"C:\\Tools\\app.exe";

    CHECK(operations.CheckShortcut(folder.Path(), L"nothing", false) == _ERROR_SUCCESS);
    {
        // Others may read both, so that the targets can be compared.
        const OwnedFileHandle holdFirst = HoldFile(first, FILE_SHARE_READ);
        {
            const OwnedFileHandle holdLast = HoldFile(last, FILE_SHARE_READ);
            CHECK(operations.DelShortcut(folder.Path(), target, true, nullptr) == _ERROR_FAILED);
        }
        CHECK(operations.DelShortcut(folder.Path(), target, true, nullptr) == _ERROR_SUCCESS);
    }
    CHECK(restart.Paths() == Paths{first, last});
    CHECK_FALSE(FileExists(last));

    KeepChosen used({L"file " + first});
    CHECK(operations.DelShortcut(folder.Path(), target, true, &used) == _ERROR_SUCCESS);
    CHECK(FileExists(first));
    CHECK(used.asked == Paths{L"file " + first});
}

TEST_CASE("a path that is no folder is acted on unread") {
    const TempFolder folder;
    const std::wstring file = folder.WriteFile(L"plain.txt");
    const std::wstring missing = folder.Path(L"missing");
    COperations operations;
    Paths listed;
    CHECK(operations.CheckShortcut(file, L"x", true) == _ERROR_SUCCESS);
    CHECK(operations.ExpandShortcut(missing, L"x", true, listed) == _ERROR_SUCCESS);
    CHECK(listed == Paths{missing});
    CHECK(operations.CheckShortcut(missing, L"x", true) == _ERROR_NOT_FOUND);
    CHECK(operations.DelShortcut(missing, L"x", true, nullptr) == _ERROR_NOT_FOUND);
    CHECK(operations.DelShortcut(file, L"x", true, nullptr) == _ERROR_SUCCESS);
    CHECK(folder.Tree().empty());
}
