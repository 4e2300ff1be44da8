#include <windows.h>
#include <doctest/doctest.h>

#include "catalogue/CProducts.h"
#include "support/com_scope.h"
#include "support/import_patch.h"
#include "support/temp_folder.h"

namespace {

int g_walks = 0;
decltype(&::RegEnumKeyW) g_enumKey = nullptr;

LONG WINAPI CountWalks(HKEY key, DWORD index, LPWSTR name, DWORD chars) {
    g_walks += index == 0 ? 1 : 0;
    return g_enumKey(key, index, name, chars);
}

}  // namespace

TEST_CASE("a load walks over each view of the Uninstall key once, however many products are looked for there") {
    const ComScope com;
    const TempFolder folder;
    const ImportPatch patch("RegEnumKeyW", &CountWalks);
    g_enumKey = patch.Original<decltype(g_enumKey)>();
    const std::string version = "<v name='v' prodName='prodrm-none'/>";
    const std::string product = "<product name='P' file='p.xml'>" + version + version + "</product>";
    const std::wstring file =
        folder.WriteFile(L"c.xml", "<uninstall_information>" + product + product + "</uninstall_information>");
    CProducts catalogue;
    CHECK(catalogue.Load(file, 1, nullptr));
    CHECK(g_walks == 2);
    CHECK(catalogue.Load(file, 1, nullptr));  // another load looks anew
    CHECK(g_walks == 4);
}
