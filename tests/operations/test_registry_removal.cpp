#include <windows.h>

#include <doctest/doctest.h>

#include <algorithm>

#include "foundation/log.h"
#include "operations/CRegKeyHelper.h"
#include "operations/keep_chosen.h"
#include "operations/registry_entries.h"
#include "operations/registry_faults.h"
#include "support/recorded_log.h"

namespace {

using DeleteKeyExFunction = LONG(WINAPI*)(HKEY hive, LPCWSTR subkey, REGSAM access, DWORD reserved);
DeleteKeyExFunction g_deleteKeyEx = nullptr;
std::vector<REGSAM> g_deleteAccess;

LONG WINAPI RecordingDeleteKeyEx(HKEY hive, LPCWSTR subkey, REGSAM access, DWORD reserved) {
    g_deleteAccess.push_back(access);
    return g_deleteKeyEx(hive, subkey, access, reserved);
}

HMODULE WINAPI NoModule(LPCWSTR) {
    ::SetLastError(ERROR_MOD_NOT_FOUND);
    return nullptr;
}

}  // namespace

TEST_CASE("a key goes with all below it, in the view asked for alone") {
    const RegistrySandbox sandbox;
    const Texts entries = {L"top\\a\\=x", L"top\\a\\deep\\er\\=y", L"top\\=", L"top\\b\\", L"topmost\\=z"};
    Fill(sandbox, entries, View::Bits64);
    Fill(sandbox, entries, View::Bits32);
    const Texts whole = sandbox.Dump(View::Bits32);
    const Texts rest = {L"topmost\\", L"topmost\\=z"};

    CHECK(CRegKeyHelper::DeleteKey(sandbox.Path(L"top"), false, nullptr) == _ERROR_SUCCESS);
    CHECK(sandbox.Dump(View::Bits64) == rest);
    CHECK(sandbox.Dump(View::Bits32) == (UnderWow64() ? whole : rest));
    CHECK(CRegKeyHelper::DeleteKey(HKEY_LOCAL_MACHINE, sandbox.Subkey(L"top"), true, nullptr, nullptr) ==
          (UnderWow64() ? _ERROR_SUCCESS : _ERROR_NOT_FOUND));
    CHECK(sandbox.Dump(View::Bits32) == rest);
    CHECK(CRegKeyHelper::DeleteKey(L"hklm\\" + sandbox.Subkey(), false, nullptr) == _ERROR_NOT_FOUND);
    CHECK(CRegKeyHelper::DeleteKey(kNoHive, sandbox.Subkey(), false, nullptr, nullptr) == _ERROR_FAILED);
    CHECK(sandbox.Dump(View::Bits64) == rest);
}

TEST_CASE("what a product that stays uses is kept with the keys above it, and its neighbours go") {
    const RegistrySandbox sandbox;
    Fill(sandbox, {L"top\\a\\=used", L"top\\a\\=other", L"top\\b\\in\\=x", L"top\\c\\=y", L"top\\=z"});
    const std::wstring top = sandbox.Path(L"top");
    KeepChosen used({L"value " + top + L"\\a=used", L"key " + top + L"\\b"});
    const std::wstring given = L"HKLM\\" + sandbox.Subkey(L"top");
    CHECK(CRegKeyHelper::DeleteKey(given, false, &used) == _ERROR_SUCCESS);
    CHECK(sandbox.Dump(View::Bits64) ==
          Texts{L"top\\", L"top\\a\\", L"top\\a\\=used", L"top\\b\\", L"top\\b\\in\\", L"top\\b\\in\\=x"});
    REQUIRE(used.asked.size() == 9);
    std::sort(used.asked.begin() + 4, used.asked.begin() + 6);  // values of one key come in any order
    CHECK(used.asked == Texts{L"key " + given, L"key " + top, L"value " + top + L"=z", L"key " + top + L"\\a",
                              L"value " + top + L"\\a=other", L"value " + top + L"\\a=used", L"key " + top + L"\\b",
                              L"key " + top + L"\\c", L"value " + top + L"\\c=y"});

    SUBCASE("the flag tells the caller") {
        bool kept = false;
        CHECK(CRegKeyHelper::DeleteKey(HKEY_LOCAL_MACHINE, sandbox.Subkey(L"top"), false, &used, &kept) ==
              _ERROR_SUCCESS);
        CHECK(kept);
        CHECK(CRegKeyHelper::DeleteKey(HKEY_LOCAL_MACHINE, sandbox.Subkey(L"top"), false, nullptr, &kept) ==
              _ERROR_SUCCESS);
        CHECK_FALSE(kept);
        CHECK(sandbox.Dump(View::Bits64).empty());
    }
    SUBCASE("without a flag a key goes with the values that it should keep") {
        CHECK(CRegKeyHelper::DeleteKey(HKEY_LOCAL_MACHINE, sandbox.Subkey(L"top\\a"), false, &used, nullptr) ==
              _ERROR_SUCCESS);
        CHECK(sandbox.Dump(View::Bits64) == Texts{L"top\\", L"top\\b\\", L"top\\b\\in\\", L"top\\b\\in\\=x"});
    }
    SUBCASE("nothing is asked of what lies in the other view") {
        KeepChosen other({L"key " + given});
        CHECK(CRegKeyHelper::DeleteKey(given, true, &other) == (UnderWow64() ? _ERROR_NOT_FOUND : _ERROR_SUCCESS));
        CHECK(other.asked.front() == L"key " + given + L" x32");
    }
}

TEST_CASE("deletion goes on past what is refused") {
    const RegistrySandbox sandbox;
    const RecordedLog log;
    Fill(sandbox, {L"top\\=a", L"top\\=locked", L"top\\=z", L"top\\denied\\=x", L"top\\free\\=y"});
    const std::wstring top = sandbox.Path(L"top");
    const std::wstring subkey = sandbox.Subkey(L"top");
    const std::wstring function = L"CRegKeyHelper::DeleteKey";

    SUBCASE("one value and one subkey") {
        {
            RegistryFaults faults;
            faults.refusedValue = L"locked";
            faults.refusedOpen = L"\\denied";
            CHECK(CRegKeyHelper::DeleteKey(top, false, nullptr) == _ERROR_FAILED);
        }
        INFO(log.Dump());
        CHECK(log.Of(function) == Texts{L"16 ->\"" + top + L"\"", L"16 \"HKEY_LOCAL_MACHINE\" \\ \"" + subkey + L"\"",
                                        L"4 RegDeleteValue \"locked\" failed 0x5",
                                        L"16 \"HKEY_LOCAL_MACHINE\" \\ \"" + subkey + L"\\denied\"",
                                        L"4 RegOpenKeyEx \"" + subkey + L"\\denied\" failed 0x5",
                                        L"4 DeleteKey \"denied\" failed 0x1",
                                        L"16 \"HKEY_LOCAL_MACHINE\" \\ \"" + subkey + L"\\free\"",
                                        L"4 DeleteKeyEx \"HKEY_LOCAL_MACHINE\" \\ \"" + subkey + L"\" failed 0x5"});
        CHECK(sandbox.Dump(View::Bits64) == Texts{L"top\\", L"top\\=locked", L"top\\denied\\", L"top\\denied\\=x"});
    }
    SUBCASE("enumerations that break off") {
        {
            RegistryFaults faults;
            faults.values = 1;
            faults.subkeys = 1;
            CHECK(CRegKeyHelper::DeleteKey(top, false, nullptr) == _ERROR_FAILED);
        }
        CHECK(sandbox.Dump(View::Bits64).size() == 5);  // the key, two values, one subkey with its value
        CHECK(log.Count(kError, function, L"GetValues failed _ERROR_UNKNOWN") == 2);
        CHECK(log.Count(kError, function, L"GetSubKeys failed _ERROR_UNKNOWN") == 1);
        CHECK(log.Has(kError, L"CRegKeyHelper::GetValues", L"RegEnumValue failed 0x1f"));
        CHECK(log.Has(kError, L"CRegKeyHelper::GetSubKeys", L"RegEnumKeyEx failed 0x1f"));
    }
    SUBCASE("a key that does not tell of its longest entries") {
        RegistryFaults faults;
        faults.queryInfo = ERROR_GEN_FAILURE;
        CHECK(CRegKeyHelper::DeleteKey(top + L"\\free", false, nullptr) == _ERROR_SUCCESS);
        CHECK(log.Has(kError, L"CRegKeyHelper::GetValues", L"RegQueryInfoKey failed 0x1f"));
        CHECK(log.Has(kError, L"CRegKeyHelper::GetSubKeys", L"RegQueryInfoKey failed 0x1f"));
    }
}

TEST_CASE("the call that deletes a key in a view is looked up each time and may be missing") {
    const RegistrySandbox sandbox;
    const RecordedLog log;
    Fill(sandbox, {L"a\\", L"b\\"});
    Fill(sandbox, {L"a\\", L"b\\"}, View::Bits32);
    const std::wstring function = L"CRegKeyHelper::DeleteKeyEx";
    {
        g_deleteAccess.clear();
        g_deleteKeyEx = reinterpret_cast<DeleteKeyExFunction>(
            reinterpret_cast<void*>(::GetProcAddress(::GetModuleHandleW(L"advapi32.dll"), "RegDeleteKeyExW")));
        const EntryPointPatch recorded("RegDeleteKeyExW", reinterpret_cast<void*>(&RecordingDeleteKeyEx));
        CHECK(CRegKeyHelper::DeleteKey(sandbox.Path(L"a"), false, nullptr) == _ERROR_SUCCESS);
        CHECK(CRegKeyHelper::DeleteKey(sandbox.Path(L"b"), true, nullptr) == _ERROR_SUCCESS);
        CHECK(g_deleteAccess == (UnderWow64() ? std::vector<REGSAM>{0xF013F, 0xF023F} : std::vector<REGSAM>{}));
        CHECK(log.Of(function).empty());
    }
    Fill(sandbox, {L"a\\", L"b\\"});
    Fill(sandbox, {L"a\\"}, View::Bits32);
    {
        const EntryPointPatch missing("RegDeleteKeyExW");
        CHECK(CRegKeyHelper::DeleteKeyEx(HKEY_LOCAL_MACHINE, sandbox.Subkey(L"a"), 0xF013F) == ERROR_SUCCESS);
    }
    {
        const ImportPatch missing("GetModuleHandleW", &NoModule);
        CHECK(CRegKeyHelper::DeleteKeyEx(HKEY_LOCAL_MACHINE, sandbox.Subkey(L"a"), 0xF013F) == ERROR_FILE_NOT_FOUND);
    }
    CHECK(log.Of(function) == (UnderWow64() ? Texts{L"8 GetProcAddress RegDeleteKeyEx failed 0x7f",
                                                    L"8 GetModuleHandle Advapi32.dll failed 0x7e"}
                                            : Texts{}));
    // What stands in for it works in the default view.
    CHECK(sandbox.Dump(View::Bits64) == (UnderWow64() ? Texts{L"a\\", L"b\\"} : Texts{L"b\\"}));
    CHECK(sandbox.Dump(View::Bits32) == (UnderWow64() ? Texts{} : Texts{L"b\\"}));
}

TEST_CASE("deleting values: in use, refused, missing") {
    const RegistrySandbox sandbox;
    const RecordedLog log;
    const Texts names = {L"k\\", L"k\\=one", L"k\\=other", L"k\\=two", L"k\\=twofold"};
    Fill(sandbox, names);
    const std::wstring key = sandbox.Path(L"k");
    const std::wstring subkey = sandbox.Subkey(L"k");
    KeepChosen used({L"value " + key + L"=one", L"value " + key + L"=two"});
    RegistryFaults faults;
    faults.refusedValue = L"other";

    bool kept = false;
    CHECK(CRegKeyHelper::DeleteValue(HKEY_LOCAL_MACHINE, subkey, L"one", false, &used, &kept) == _ERROR_SUCCESS);
    CHECK(kept);
    CHECK(CRegKeyHelper::DeleteValue(HKEY_LOCAL_MACHINE, subkey, L"absent", false, &used, &kept) == _ERROR_NOT_FOUND);
    CHECK_FALSE(kept);
    CHECK(CRegKeyHelper::DeleteValue(key, L"other", false, &used) == _ERROR_FAILED);
    CHECK(CRegKeyHelper::DeleteValue(key + L"\\absent", L"one", false, &used) == _ERROR_NOT_FOUND);
    CHECK(CRegKeyHelper::DeleteValue(L"nowhere", L"one", false, &used) == _ERROR_NOT_FOUND);
    CHECK(CRegKeyHelper::DeleteValue(kNoHive, subkey, L"one", false, &used, nullptr) == _ERROR_FAILED);
    CHECK(sandbox.Dump(View::Bits64) == names);

    CHECK(CRegKeyHelper::DeleteValue(HKEY_LOCAL_MACHINE, subkey, L"*o*", false, &used, &kept) == _ERROR_FAILED);
    CHECK(kept);
    CHECK(sandbox.Dump(View::Bits64) == Texts{L"k\\", L"k\\=one", L"k\\=other", L"k\\=two"});
    const Texts lines = log.Of(L"CRegKeyHelper::DeleteValue");
    CHECK(std::count(lines.begin(), lines.end(), L"16 \t\tDelete \"twofold\"") == 1);
    CHECK(std::count(lines.begin(), lines.end(), L"4 RegDeleteValue \"other\" failed 0x5") == 1);
    CHECK(std::count(lines.begin(), lines.end(), L"16 in use") == 3);
    CHECK(CRegKeyHelper::DeleteValue(key, L"o*", false, nullptr) == _ERROR_FAILED);
    CHECK(sandbox.Dump(View::Bits64) == Texts{L"k\\", L"k\\=other", L"k\\=two"});
    faults.refusedValue = L"?";
    faults.values = 1;
    CHECK(CRegKeyHelper::DeleteValue(key, L"**", false, nullptr) == _ERROR_UNKNOWN);
    faults.values = MAXDWORD;
    CHECK(sandbox.Dump(View::Bits64).size() == 2);
}

TEST_CASE("a search deletes each topmost key with a matching value") {
    const RegistrySandbox sandbox;
    const RecordedLog log;
    const std::wstring top = sandbox.Path(L"top");
    const std::wstring subkey = sandbox.Subkey(L"top");
    Fill(sandbox, {L"top\\=none", L"top\\a\\b\\in\\", L"top\\a\\c\\", L"top\\z\\in\\=x"});
    sandbox.SetString(L"top\\a\\b", L"mark", L"the alpha", View::Bits64);
    sandbox.SetString(L"top\\z", L"mark", L"alpha", View::Bits64);
    const Texts whole = sandbox.Dump(View::Bits64);

    KeepChosen used;
    CHECK(CRegKeyHelper::DelKeySearch(top, {L"absent", L"mark"}, false, false, &used) == _ERROR_SUCCESS);
    CHECK(CRegKeyHelper::DelKeySearch(top, {}, false, false, &used) == _ERROR_SUCCESS);
    CHECK(used.asked.empty());
    CHECK(CRegKeyHelper::DelKeySearch(top + L"\\absent", {L""}, false, false, nullptr) == _ERROR_NOT_FOUND);
    CHECK(CRegKeyHelper::DelKeySearch(L"nowhere", {L""}, false, false, nullptr) == _ERROR_NOT_FOUND);
    CHECK(CRegKeyHelper::DelKeySearch(kNoHive, subkey, {L""}, false, false, nullptr, nullptr) == _ERROR_FAILED);
    CHECK(sandbox.Dump(View::Bits64) == whole);
    INFO(log.Dump());
    CHECK(log.Has(kInfo, L"CRegKeyHelper::DelKeySearch", L"path = \"nowhere\", err = _ERROR_NOT_FOUND"));
    CHECK(log.Has(kWarning, L"CRegKeyHelper::DelKeySearch",
                  L"DelKeySearch unknown hkey=0x80000050, subkey=\"" + subkey + L"\""));

    SUBCASE("in every branch") {
        CHECK(CRegKeyHelper::DelKeySearch(top, {L"alpha"}, false, false, nullptr) == _ERROR_SUCCESS);
        CHECK(sandbox.Dump(View::Bits64) == Texts{L"top\\", L"top\\=none", L"top\\a\\", L"top\\a\\c\\"});
    }
    SUBCASE("a match at the top ends the search there") {
        CHECK(CRegKeyHelper::DelKeySearch(top, {L"absent", L"data"}, true, false, nullptr) == _ERROR_SUCCESS);
        CHECK(sandbox.Dump(View::Bits64).empty());
        // Seen by the two searches without a match alone.
        CHECK(log.Count(kInfo, L"CRegKeyHelper::DelKeySearch",
                        L"DelKeySearch \"HKEY_LOCAL_MACHINE\" \\ \"" + subkey + L"\\a\\b\\in\"") == 2);
    }
    SUBCASE("what one branch keeps is told, what another cannot delete is the result") {
        KeepChosen keep({L"key " + top + L"\\a\\b"});
        bool kept = false;
        {
            RegistryFaults faults;
            faults.refusedOpen = L"\\z\\in";
            CHECK(CRegKeyHelper::DelKeySearch(HKEY_LOCAL_MACHINE, subkey, {L"alpha"}, false, false, &keep, &kept) ==
                  _ERROR_FAILED);
        }
        CHECK(kept);
        CHECK(sandbox.Dump(View::Bits64) == Texts{L"top\\", L"top\\=none", L"top\\a\\", L"top\\a\\b\\",
                                                  L"top\\a\\b\\=mark", L"top\\a\\b\\in\\", L"top\\a\\c\\", L"top\\z\\",
                                                  L"top\\z\\in\\", L"top\\z\\in\\=x"});
        CHECK(log.Has(kError, L"CRegKeyHelper::DelKeySearch", L"DelKeySearch " + subkey + L"\\z failed 0x2"));
    }
    SUBCASE("a later success does not clear a failure, a missing child is none") {
        Fill(sandbox, {L"top\\zz\\=x"});
        RegistryFaults faults;
        faults.refusedOpen = L"\\z\\in";
        CHECK(CRegKeyHelper::DelKeySearch(top, {L"alpha"}, true, false, nullptr) == _ERROR_FAILED);
        faults.refusedOpen = L"\\zz";
        CHECK(CRegKeyHelper::DelKeySearch(top, {L"alpha"}, true, false, nullptr) == _ERROR_SUCCESS);
    }
    SUBCASE("broken enumerations") {
        RegistryFaults faults;
        faults.values = 1;
        faults.subkeys = 0;
        CHECK(CRegKeyHelper::DelKeySearch(top, {L"data"}, false, false, nullptr) == _ERROR_UNKNOWN);
        CHECK(log.Has(kError, L"CRegKeyHelper::DelKeySearch", L"GetSubKeys failed 0x0"));
    }
}
