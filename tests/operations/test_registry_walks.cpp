#include <windows.h>

#include <doctest/doctest.h>

#include <algorithm>

#include "foundation/log.h"
#include "foundation/owned.h"
#include "operations/CRegKeyHelper.h"
#include "operations/keep_chosen.h"
#include "operations/registry_entries.h"
#include "operations/registry_faults.h"
#include "support/recorded_log.h"

namespace {

using Entries = std::vector<RegistryEntry>;

// The paths, each of which must bear the view asked for.
Texts PathsOf(const Entries& entries, bool x32view = false) {
    Texts paths;
    for (const RegistryEntry& entry : entries) {
        CHECK(entry.x32view == x32view);
        paths.push_back(entry.path);
    }
    return paths;
}

}  // namespace

TEST_CASE("value patterns in the three operations that take them") {
    const Texts names = {L"RUNx", L"a*r1", L"abxab", L"autorun", L"run", L"runonce", L"xrunx"};
    const OperationResult yes = _ERROR_SUCCESS;
    const OperationResult no = _ERROR_FAILED;
    struct Row {
        std::wstring pattern;
        OperationResult result;  // of deletion and expansion
        Texts taken;
        OperationResult checked;
    };
    const Row rows[] = {
        {L"run*", yes, {L"run", L"runonce"}, yes},
        {L"*run", yes, {L"autorun", L"run"}, yes},
        {L"*run*", yes, {L"autorun", L"run", L"runonce", L"xrunx"}, yes},
        {L"runon*", yes, {L"runonce"}, no},
        {L"*once", yes, {L"runonce"}, no},
        {L"*autorun", yes, {L"autorun"}, yes},
        {L"once*", yes, {}, yes},
        {L"auto*", yes, {L"autorun"}, no},
        {L"*auto*", yes, {L"autorun"}, no},
        {L"*once*", yes, {L"runonce"}, no},
        {L"*unon*", yes, {L"runonce"}, yes},
        {L"*ab", yes, {}, yes},
        {L"ab*", yes, {L"abxab"}, no},
        {L"a*r*", yes, {L"a*r1"}, no},
        {L"*", yes, names, no},
        {L"**", yes, names, no},
        {L"r*n", no, {}, no},
        {L"***", yes, {L"a*r1"}, yes},
        {L"run", yes, {L"run"}, yes},
        {L"absent", _ERROR_NOT_FOUND, {L"absent"}, _ERROR_NOT_FOUND},
    };
    for (const Row& row : rows) {
        CAPTURE(row.pattern);
        const RegistrySandbox sandbox;
        const std::wstring key = sandbox.Path();
        Texts left;
        for (const std::wstring& name : names) {
            Fill(sandbox, {L"\\=" + name});
            if (std::find(row.taken.begin(), row.taken.end(), name) == row.taken.end()) {
                left.push_back(L"=" + name);
            }
        }
        CHECK(CRegKeyHelper::CheckValue(key, row.pattern, false) == row.checked);

        Entries values;
        const OperationResult expanded = CRegKeyHelper::ExpandValue(key, row.pattern, false, values);
        CHECK(expanded == (row.result == _ERROR_NOT_FOUND ? _ERROR_SUCCESS : row.result));
        Texts paths = PathsOf(values);
        std::sort(paths.begin(), paths.end());
        Texts wanted;
        for (const std::wstring& name : row.taken) {
            wanted.push_back(key + L"\\" + name);
        }
        CHECK(paths == wanted);

        CHECK(CRegKeyHelper::DeleteValue(key, row.pattern, false, nullptr) == row.result);
        CHECK(sandbox.Dump(View::Bits64) == left);
    }
}

TEST_CASE("what a search compares") {
    const RegistrySandbox sandbox;
    sandbox.MakeKey(L"k", View::Bits64);
    struct Row {
        DWORD type;
        std::wstring data;  // the system stores a zero that stands behind it as well
        DWORD cut;          // bytes left away at the end
        Texts search;
        bool part;
        bool complete;
    };
    const std::wstring nul(1, L'\0');
    const Row rows[] = {
        {REG_SZ, L"an alpha b" + nul, 0, {L"no", L"alpha"}, true, false},
        {REG_EXPAND_SZ, L"alpha" + nul, 0, {L"alpha", L"no"}, true, true},
        {REG_SZ, L"Alpha" + nul, 0, {L"alpha"}, false, false},
        {REG_SZ, L"no" + nul + L"alpha" + nul, 0, {L"alpha"}, false, false},
        {REG_SZ, L"alpha" + nul + L"no" + nul, 0, {L"alpha"}, true, true},
        {REG_MULTI_SZ, L"alpha" + nul + nul, 0, {L"alpha"}, false, false},
        {REG_BINARY, L"alpha" + nul, 0, {L"alpha", L""}, false, false},
        {REG_SZ, L"alphab", 2, {L"alpha"}, true, true},
        {REG_SZ, L"alphab", 1, {L"alpha"}, true, true},
        {REG_SZ, L"a", 1, {L"a"}, false, false},
        {REG_SZ, L"alpha" + nul, 0, {L""}, true, false},
        {REG_SZ, L"", 0, {L""}, true, true},
        {REG_SZ, L"alpha" + nul, 0, {}, false, false},
    };
    const std::wstring path = sandbox.Path(L"k");
    for (const Row& row : rows) {
        CAPTURE(row.data);
        CAPTURE(row.search);
        for (const bool complete : {false, true}) {
            const bool match = complete ? row.complete : row.part;
            sandbox.SetValue(L"k", L"alpha", row.type, row.data.data(),
                             static_cast<DWORD>(row.data.size() * sizeof(wchar_t)) - row.cut, View::Bits64);
            Entries keys;
            Entries values;
            CHECK(CRegKeyHelper::ExpandKeySearch(path, row.search, complete, false, keys, values) == _ERROR_SUCCESS);
            CHECK(keys.size() == (match ? 1 : 0));
            CHECK(values.size() == keys.size());
            CHECK(CRegKeyHelper::DelKeySearch(path, row.search, complete, false, nullptr) == _ERROR_SUCCESS);
            CHECK(CRegKeyHelper::CheckKey(path, false) == (match ? _ERROR_NOT_FOUND : _ERROR_SUCCESS));
        }
    }
}

TEST_CASE("enumerations grow their buffers and ask for the same entry again") {
    const RegistrySandbox sandbox;
    const RecordedLog log;
    const Texts names = {L"a name", L"b name", L"c name"};
    for (const std::wstring& name : names) {
        Fill(sandbox, {L"\\=" + name, name + L"\\"});
    }
    RegistryFaults faults;
    faults.forgetLengths = true;
    OwnedRegKey key;
    REQUIRE(::RegOpenKeyExW(HKEY_LOCAL_MACHINE, sandbox.Subkey().c_str(), 0, KEY_READ | KEY_WOW64_64KEY, key.Put()) ==
            ERROR_SUCCESS);

    std::vector<RegValueEntry> values;
    CHECK(CRegKeyHelper::GetValues(key.Get(), values) == _ERROR_SUCCESS);
    REQUIRE(values.size() == 3);
    for (const RegValueEntry& value : values) {
        CHECK(std::count(names.begin(), names.end(), value.name) == 1);
        CHECK(value.data == L"data");
        CHECK(value.type == REG_SZ);
    }
    CHECK(log.Count(kInfo, L"CRegKeyHelper::GetValues", L"RegEnumValue ERROR_MORE_DATA") == 1);

    Texts found = {L"before"};
    CHECK(CRegKeyHelper::GetValues(key.Get(), found) == _ERROR_SUCCESS);
    CHECK(log.Has(kInfo, L"CRegKeyHelper::GetValues", L"RegEnumValue ERROR_MORE_DATA  Index = 0"));
    CHECK(log.Has(kInfo, L"CRegKeyHelper::GetValues", L"\"" + found.back() + L"\" 2"));
    CHECK(CRegKeyHelper::GetSubKeys(key.Get(), found) == _ERROR_SUCCESS);
    REQUIRE(found.size() == 7);
    std::sort(found.begin() + 1, found.begin() + 4);
    CHECK(found == Texts{L"before", L"a name", L"b name", L"c name", L"a name", L"b name", L"c name"});
    CHECK(log.Of(L"CRegKeyHelper::GetSubKeys").empty());

    Entries keys;
    Entries entries;
    CHECK(CRegKeyHelper::CheckKeySearch(sandbox.Path(), {L"none"}, false, false) == _ERROR_SUCCESS);
    CHECK(CRegKeyHelper::ExpandKeySearch(sandbox.Path(), {L"none"}, false, false, keys, entries) == _ERROR_SUCCESS);
    CHECK(log.Has(kInfo, L"CRegKeyHelper::ExpandKeySearch", L"RegEnumValue ERROR_MORE_DATA"));
    CHECK(log.Has(kInfo, L"CRegKeyHelper::ExpandKeySearch", L"RegEnumKeyEx ERROR_MORE_DATA"));
    CHECK_FALSE(log.Has(kInfo, L"CRegKeyHelper::CheckKeySearch", L"RegEnumValue ERROR_MORE_DATA"));
}

TEST_CASE("checks of keys") {
    const RegistrySandbox sandbox;
    const RecordedLog log;
    const std::wstring subkey = sandbox.Subkey(L"k");
    Fill(sandbox, {L"k\\=x", L"k\\a\\", L"k\\b\\"});
    const std::wstring function = L"CRegKeyHelper::CheckKey";
    CHECK(CRegKeyHelper::CheckKey(sandbox.Path(L"k"), false) == _ERROR_SUCCESS);
    CHECK(CRegKeyHelper::CheckKey(sandbox.Path(L"k"), true) == (UnderWow64() ? _ERROR_NOT_FOUND : _ERROR_SUCCESS));
    CHECK(CRegKeyHelper::CheckKey(L"HKEY_LOCAL_MACHINE", false) == _ERROR_NOT_FOUND);
    CHECK(CRegKeyHelper::CheckValue(sandbox.Path(L"none"), L"x", false) == _ERROR_NOT_FOUND);
    {
        RegistryFaults faults;
        CHECK(CRegKeyHelper::CheckKey(kNoHive, subkey, false) == _ERROR_NOT_FOUND);
        CHECK(CRegKeyHelper::CheckKey(kNoHive, subkey, true) == _ERROR_NOT_FOUND);
        CHECK(faults.access ==
              (UnderWow64() ? std::vector<REGSAM>{0xF013F, 0xF023F} : std::vector<REGSAM>{0xF003F, 0xF003F}));
    }
    CHECK(log.Has(kInfo, function, L"\"HKEY_LOCAL_MACHINE\" \\ \"" + subkey + L"\""));
    CHECK(log.Count(kInfo, function, L"\"" + subkey + L"\"") == 2);

    SUBCASE("a search looks for children below the key itself, under their whole path") {
        const std::wstring search = L"CRegKeyHelper::CheckKeySearch";
        const std::wstring missing = L"RegOpenKeyEx \"" + subkey + L"\\b\" failed 0x2";
        CHECK(CRegKeyHelper::CheckKeySearch(sandbox.Path(L"k"), {L"none"}, false, false) == _ERROR_SUCCESS);
        CHECK(log.Of(search) == Texts{L"16 path = \"" + sandbox.Path(L"k") + L"\"",
                                      L"16 \"HKEY_LOCAL_MACHINE\" \\ \"" + subkey + L"\"", L"16 \"" + subkey + L"\\a\"",
                                      L"4 RegOpenKeyEx \"" + subkey + L"\\a\" failed 0x2", L"16 \"" + subkey + L"\\b\"",
                                      L"4 " + missing,
                                      L"16 path = \"" + sandbox.Path(L"k") + L"\", err = _ERROR_SUCCESS"});
        // The first child that is there ends the walk, and a match at the top leaves the children alone.
        Fill(sandbox, {L"k\\" + subkey + L"\\a\\"});
        CHECK(CRegKeyHelper::CheckKeySearch(sandbox.Path(L"k"), {L"none"}, false, false) == _ERROR_SUCCESS);
        CHECK(CRegKeyHelper::CheckKeySearch(sandbox.Path(L"k"), {L"data"}, true, false) == _ERROR_SUCCESS);
        CHECK(log.Count(kError, search, missing) == 1);
        CHECK(CRegKeyHelper::CheckKeySearch(sandbox.Path(L"none"), {L""}, false, false) == _ERROR_NOT_FOUND);
        CHECK(CRegKeyHelper::CheckKeySearch(L"nowhere", {L""}, false, false) == _ERROR_NOT_FOUND);
        CHECK_FALSE(log.Has(kInfo, search, L"path = \"nowhere\", err = _ERROR_NOT_FOUND"));
    }
    SUBCASE("a walk that breaks is told apart") {
        RegistryFaults faults;
        const auto search = [&] { return CRegKeyHelper::CheckKeySearch(sandbox.Path(L"k"), {L"no"}, false, false); };
        faults.subkeys = 0;
        CHECK(search() == _ERROR_UNKNOWN);
        faults.values = 0;
        CHECK(search() == _ERROR_UNKNOWN);
        faults.values = 1;  // what was read before does not count
        CHECK(CRegKeyHelper::CheckValue(sandbox.Path(L"k"), L"*x", false) == _ERROR_FAILED);
        faults.queryInfo = ERROR_GEN_FAILURE;
        CHECK(search() == _ERROR_UNKNOWN);
        for (const wchar_t* call : {L"RegEnumKeyEx", L"RegEnumValue", L"RegQueryInfoKey"}) {
            CHECK(log.Has(kError, L"CRegKeyHelper::CheckKeySearch",
                          std::wstring(call) + L" \"" + subkey + L"\" failed 0x1f"));
        }
    }
}

TEST_CASE("expansions list keys before what lies below them") {
    const RegistrySandbox sandbox;
    const RecordedLog log;
    Fill(sandbox, {L"k\\=v", L"k\\a\\=w", L"k\\a\\in\\=x", L"k\\b\\=y", L"k\\c\\"});
    const std::wstring k = sandbox.Path(L"k");
    const std::wstring subkey = sandbox.Subkey(L"k");
    const std::wstring given = L"HKLM/" + subkey;
    Entries keys = {{L"before", false}};
    Entries values = keys;

    SUBCASE("the whole key") {
        CHECK(CRegKeyHelper::ExpandKey(given, false, keys, values) == _ERROR_SUCCESS);
        CHECK(PathsOf(keys) == Texts{L"before", given, k + L"\\a", k + L"\\a\\in", k + L"\\b", k + L"\\c"});
        CHECK(PathsOf(values) == Texts{L"before", k + L"\\v", k + L"\\a\\w", k + L"\\a\\in\\x", k + L"\\b\\y"});
    }
    SUBCASE("a child that does not open is listed and passed over") {
        RegistryFaults faults;
        faults.refusedOpen = L"\\k\\a";
        CHECK(CRegKeyHelper::ExpandKey(k, false, keys, values) == _ERROR_SUCCESS);
        CHECK(PathsOf(keys) == Texts{L"before", k, k + L"\\a", k + L"\\b", k + L"\\c"});
        CHECK(log.Has(kWarning, L"CRegKeyHelper::ExpandKey",
                      L"ExpandKey \"HKEY_LOCAL_MACHINE\" \\ \"" + subkey + L"\\a\" failed _ERROR_NOT_FOUND"));
        faults.values = 0;
        faults.subkeys = 0;
        CHECK(CRegKeyHelper::ExpandKey(k, false, keys, values) == _ERROR_SUCCESS);
        CHECK(log.Has(kError, L"CRegKeyHelper::ExpandKey", L"GetValues failed _ERROR_UNKNOWN"));
        CHECK(log.Has(kError, L"CRegKeyHelper::ExpandKey", L"GetSubKeys failed _ERROR_UNKNOWN"));
        CHECK(CRegKeyHelper::ExpandValue(k, L"*", false, values) == _ERROR_UNKNOWN);
    }
    SUBCASE("a search lists every branch with a match") {
        for (const wchar_t* key : {L"k\\a", L"k\\b"}) {
            sandbox.SetString(key, L"mark", L"alpha", View::Bits64);
        }
        sandbox.SetString(L"k\\a\\in", L"mark", L"alpha", View::Bits64);
        {
            RegistryFaults faults;
            CHECK(CRegKeyHelper::ExpandKeySearch(L"HKLM\\" + subkey, {L"alpha"}, true, false, keys, values) ==
                  _ERROR_SUCCESS);
            faults.refusedOpen = L"\\k\\c";
            CHECK(CRegKeyHelper::ExpandKeySearch(k, {L"none"}, true, false, keys, values) == _ERROR_SUCCESS);
            faults.values = 0;
            CHECK(CRegKeyHelper::ExpandKeySearch(k, {L"none"}, true, false, keys, values) == _ERROR_UNKNOWN);
        }
        CHECK(PathsOf(keys) == Texts{L"before", k + L"\\a", k + L"\\a\\in", k + L"\\b"});
        Texts paths = PathsOf(values);
        std::sort(paths.begin(), paths.end());
        CHECK(paths == Texts{k + L"\\a\\in\\mark", k + L"\\a\\in\\x", k + L"\\a\\mark", k + L"\\a\\w", k + L"\\b\\mark",
                             k + L"\\b\\y", L"before"});
        CHECK(log.Has(kWarning, L"CRegKeyHelper::ExpandKeySearch",
                      L"ExpandKeySearch \"HKEY_LOCAL_MACHINE\" \\ \"" + subkey + L"\\c\" failed _ERROR_NOT_FOUND"));
    }
    SUBCASE("nothing to list") {
        CHECK(CRegKeyHelper::ExpandKey(kNoHive, subkey, false, keys, values) == _ERROR_FAILED);
        CHECK(CRegKeyHelper::ExpandKeySearch(kNoHive, subkey, {L""}, false, false, keys, values) == _ERROR_FAILED);
        CHECK(CRegKeyHelper::ExpandValue(kNoHive, subkey, L"v", false, values) == _ERROR_FAILED);
        CHECK(CRegKeyHelper::ExpandKey(L"nowhere", false, keys, values) == _ERROR_NOT_FOUND);
        CHECK(CRegKeyHelper::ExpandKeySearch(L"nowhere", {L""}, false, false, keys, values) == _ERROR_NOT_FOUND);
        CHECK(CRegKeyHelper::ExpandValue(k + L"\\none", L"v", false, values) == _ERROR_NOT_FOUND);
        CHECK(keys.size() == 1);
        CHECK(values.size() == 1);
        CHECK(log.Has(kInfo, L"CRegKeyHelper::ExpandKeySearch", L"path = \"nowhere\", err = _ERROR_NOT_FOUND"));
        CHECK(log.Has(kWarning, L"CRegKeyHelper::ExpandValue",
                      L"can't expand unknown hkey=0x80000050, subkey=\"" + subkey + L"\""));
        CHECK(CRegKeyHelper::ExpandKey(k + L"\\none", true, keys, values) == _ERROR_NOT_FOUND);
        REQUIRE(keys.size() == 2);
        CHECK(keys.back() == RegistryEntry{k + L"\\none", true});
    }
}

TEST_CASE("which roads leave the key open") {
    const RegistrySandbox sandbox;
    Fill(sandbox, {L"k\\=v", L"k\\a\\=w"});
    const std::wstring k = sandbox.Path(L"k");
    const std::wstring subkey = sandbox.Subkey(L"k");
    KeepChosen keep({L"value " + k + L"=v"});
    Entries keys;
    Entries values;
    wchar_t buffer[131] = {};
    RegistryFaults faults;
    const auto opened = [&](auto&& operation) {
        faults.openKeys = 0;
        operation();
        return faults.openKeys;
    };
    CHECK(opened([&] { CRegKeyHelper::GetValue(HKEY_LOCAL_MACHINE, subkey, L"v", buffer); }) == 1);
    CHECK(opened([&] { CRegKeyHelper::GetValue(HKEY_LOCAL_MACHINE, subkey, L"none", buffer); }) == 1);
    CHECK(opened([&] { CRegKeyHelper::DeleteValue(k, L"v", false, &keep); }) == 1);
    CHECK(opened([&] { CRegKeyHelper::DeleteValue(k, L"v*w", false, nullptr); }) == 1);
    CHECK(opened([&] { CRegKeyHelper::CheckValue(k, L"v*w", false); }) == 1);
    CHECK(opened([&] { CRegKeyHelper::ExpandValue(k, L"v*w", false, values); }) == 1);

    for (const DWORD entries : {DWORD{MAXDWORD}, DWORD{0}}) {
        faults.values = faults.subkeys = entries;
        CHECK(opened([&] { CRegKeyHelper::DeleteValue(k, L"*", false, &keep); }) == 0);
        CHECK(opened([&] { CRegKeyHelper::CheckKey(k, false); }) == 0);
        CHECK(opened([&] { CRegKeyHelper::CheckValue(k, L"v", false); }) == 0);
        CHECK(opened([&] { CRegKeyHelper::CheckValue(k, L"*", false); }) == 0);
        CHECK(opened([&] { CRegKeyHelper::CheckKeySearch(k, {L"none"}, false, false); }) == 0);
        CHECK(opened([&] { CRegKeyHelper::ExpandKey(k, false, keys, values); }) == 0);
        CHECK(opened([&] { CRegKeyHelper::ExpandKeySearch(k, {L"none"}, false, false, keys, values); }) == 0);
        CHECK(opened([&] { CRegKeyHelper::ExpandValue(k, L"v", false, values); }) == 0);
        CHECK(opened([&] { CRegKeyHelper::ExpandValue(k, L"*", false, values); }) == 0);
        CHECK(opened([&] { CRegKeyHelper::DelKeySearch(k, {L"none"}, false, false, nullptr); }) == 0);
        CHECK(opened([&] { CRegKeyHelper::DelKeySearch(k, {L"data"}, false, false, &keep); }) == 0);
    }
    faults.values = faults.subkeys = MAXDWORD;
    CHECK(opened([&] { CRegKeyHelper::DeleteValue(k, L"v", false, nullptr); }) == 0);
    CHECK(opened([&] { CRegKeyHelper::DeleteKey(k, false, nullptr); }) == 0);
}
