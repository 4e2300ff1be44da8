#include <windows.h>

#include <doctest/doctest.h>

#include <algorithm>
#include <functional>

#include "foundation/log_statement.h"
#include "operations/CRegKeyHelper.h"
#include "operations/keep_chosen.h"
#include "operations/registry_faults.h"
#include "support/recorded_log.h"
#include "support/registry_sandbox.h"

namespace {

using Texts = std::vector<std::wstring>;
using Entries = std::vector<RegistryEntry>;

// No row of the table of hives.
const HKEY kNoHive = reinterpret_cast<HKEY>(static_cast<ULONG_PTR>(0x80000050));

// Makes what a dump lists: "key\" is a key, "key\=name" a value with the text "data". The 64-bit view is the one that
// the library reads unless it is asked for the other.
void Fill(const RegistrySandbox& sandbox, const Texts& entries, View view = View::Bits64) {
    for (const std::wstring& entry : entries) {
        const std::size_t value = entry.find(L"\\=");
        if (value == std::wstring::npos) {
            sandbox.MakeKey(entry.substr(0, entry.size() - 1), view);
        } else {
            sandbox.SetString(entry.substr(0, value), entry.substr(value + 2), L"data", view);
        }
    }
}

bool Contains(const Texts& texts, const std::wstring& text) {
    return std::find(texts.begin(), texts.end(), text) != texts.end();
}

// The paths, shortened to what lies below `base`. Each must bear the view asked for.
Texts PathsOf(const Entries& entries, const std::wstring& base, bool x32view = false) {
    Texts paths;
    for (const RegistryEntry& entry : entries) {
        CHECK(entry.x32view == x32view);
        paths.push_back(entry.path.starts_with(base) ? entry.path.substr(base.size() + 1) : entry.path);
    }
    return paths;
}

}  // namespace

TEST_CASE("a key goes with all below it, in the view asked for alone") {
    const RegistrySandbox sandbox;
    const Texts rest = {L"topmost\\", L"topmost\\=z"};
    for (const View view : {View::Bits64, View::Bits32}) {
        Fill(sandbox, {L"top\\a\\=x", L"top\\a\\deep\\er\\=y", L"top\\=", L"topmost\\=z"}, view);
    }
    const std::wstring given = L"HKLM\\" + sandbox.Subkey(L"top");
    KeepChosen used({L"key " + given + L" x32"});
    CHECK(CRegKeyHelper::DeleteKey(given, false, &used) == _ERROR_SUCCESS);
    CHECK(CRegKeyHelper::DeleteKey(given, true, &used) == _ERROR_SUCCESS);
    CHECK(sandbox.Dump(View::Bits64) == rest);
    CHECK(sandbox.Dump(View::Bits32).size() == (UnderWow64() ? 9 : 2));  // all or the rest
    CHECK(CRegKeyHelper::DeleteKey(given, true, nullptr) == (UnderWow64() ? _ERROR_SUCCESS : _ERROR_NOT_FOUND));
    CHECK(sandbox.Dump(View::Bits32) == rest);
}

TEST_CASE("what a product that stays uses is kept with the keys above it, and its neighbours go") {
    const RegistrySandbox sandbox;
    Fill(sandbox, {L"top\\a\\=used", L"top\\a\\=other", L"top\\b\\in\\=x", L"top\\c\\=y", L"top\\=z"});
    const std::wstring top = sandbox.Path(L"top");
    const auto remove = [&](const wchar_t* key, IUsed* used, bool* kept) {
        return CRegKeyHelper::DeleteKey(HKEY_LOCAL_MACHINE, sandbox.Subkey(key), false, used, kept);
    };
    KeepChosen used({L"value " + top + L"\\a=used", L"key " + top + L"\\b"});
    bool kept = false;
    CHECK(remove(L"top", &used, &kept) == _ERROR_SUCCESS);
    CHECK(kept);
    CHECK(sandbox.Dump(View::Bits64) ==
          Texts{L"top\\", L"top\\a\\", L"top\\a\\=used", L"top\\b\\", L"top\\b\\in\\", L"top\\b\\in\\=x"});
    // Without a flag a key goes with the values that it should keep.
    CHECK(remove(L"top\\a", &used, nullptr) == _ERROR_SUCCESS);
    CHECK(remove(L"top\\a", &used, nullptr) == _ERROR_NOT_FOUND);
    CHECK(remove(L"top", nullptr, &kept) == _ERROR_SUCCESS);
    CHECK_FALSE(kept);
}

TEST_CASE("deletion of a key goes on past what is refused") {
    const RegistrySandbox sandbox;
    const RecordedLog log;
    Fill(sandbox, {L"top\\=a", L"top\\=locked", L"top\\=z", L"top\\denied\\=x", L"top\\free\\=y"});
    const std::wstring top = sandbox.Path(L"top");
    RegistryFaults faults;
    faults.refusedValue = L"locked";
    faults.refusedOpen = L"\\denied";
    CHECK(CRegKeyHelper::DeleteKey(top, false, nullptr) == _ERROR_FAILED);
    CHECK(sandbox.Dump(View::Bits64) == Texts{L"top\\", L"top\\=locked", L"top\\denied\\"});
    CHECK(log.Has(kError, L"CRegKeyHelper::DeleteKey", L"RegDeleteValue \"locked\" failed 0x5"));
    CHECK(log.Has(kError, L"CRegKeyHelper::DeleteKey", L"DeleteKey \"denied\" failed 0x1"));
    faults.refusedOpen = L"?";
    faults.listedValues = 0;  // a key goes with values that were not listed
    CHECK(CRegKeyHelper::DeleteKey(top, false, nullptr) == _ERROR_SUCCESS);
}

TEST_CASE("where the call that deletes in a view is missing, what stands in for it works in the default view") {
    const RegistrySandbox sandbox;
    for (const View view : {View::Bits64, View::Bits32}) {
        Fill(sandbox, {L"a\\"}, view);
    }
    const EntryPointPatch missing("RegDeleteKeyExW");
    CHECK(CRegKeyHelper::DeleteKey(sandbox.Path(L"a"), false, nullptr) == _ERROR_SUCCESS);
    CHECK(sandbox.Dump(View::Bits32).empty());
    CHECK(sandbox.Dump(View::Bits64).empty() != UnderWow64());
}

TEST_CASE("deleting values: in use, refused, missing") {
    const RegistrySandbox sandbox;
    Fill(sandbox, {L"k\\=one", L"k\\=other", L"k\\=two", L"k\\=twofold"});
    KeepChosen used({L"value " + sandbox.Path(L"k") + L"=one", L"value " + sandbox.Path(L"k") + L"=two"});
    RegistryFaults faults;
    faults.refusedValue = L"other";
    bool kept = false;
    const auto remove = [&](const wchar_t* name) {
        return CRegKeyHelper::DeleteValue(HKEY_LOCAL_MACHINE, sandbox.Subkey(L"k"), name, false, &used, &kept);
    };
    CHECK(remove(L"one") == _ERROR_SUCCESS);
    CHECK(kept);
    CHECK(remove(L"absent") == _ERROR_NOT_FOUND);
    CHECK_FALSE(kept);
    CHECK(remove(L"other") == _ERROR_FAILED);
    CHECK(remove(L"*o*") == _ERROR_FAILED);
    CHECK(kept);
    CHECK(sandbox.Dump(View::Bits64) == Texts{L"k\\", L"k\\=one", L"k\\=other", L"k\\=two"});
    faults.listedValues = 0;
    CHECK(remove(L"*") == _ERROR_UNKNOWN);
}

TEST_CASE("a search deletes each topmost key with a matching value") {
    const RegistrySandbox sandbox;
    const RecordedLog log;
    const std::wstring top = sandbox.Path(L"top");
    Fill(sandbox, {L"top\\=none", L"top\\a\\b\\in\\", L"top\\a\\c\\", L"top\\y\\in\\=x"});
    sandbox.SetString(L"top\\a\\b", L"mark", L"the alpha", View::Bits64);
    sandbox.SetString(L"top\\y", L"mark", L"alpha", View::Bits64);
    sandbox.SetString(L"top\\z", L"mark", L"alpha", View::Bits64);
    RegistryFaults faults;

    SUBCASE("in every branch that opens") {
        faults.refusedOpen = L"top\\z";
        CHECK(CRegKeyHelper::DelKeySearch(top, {L"absent", L"alpha"}, false, false, nullptr) == _ERROR_SUCCESS);
        CHECK(sandbox.Dump(View::Bits64) == Texts{L"top\\", L"top\\=none", L"top\\a\\", L"top\\a\\c\\", L"top\\z\\"});
    }
    SUBCASE("a match at the top ends the search there") {
        CHECK(CRegKeyHelper::DelKeySearch(top, {L"absent", L"data"}, true, false, nullptr) == _ERROR_SUCCESS);
        CHECK(sandbox.Dump(View::Bits64).empty());
        CHECK(log.Of(L"CRegKeyHelper::DelKeySearch").size() == 3);  // of the path, the key and the result
    }
    SUBCASE("what one branch keeps is told, and what another cannot delete stays the result") {
        KeepChosen keep({L"key " + top + L"\\a\\b"});
        bool kept = false;
        faults.refusedOpen = L"\\y\\in";
        CHECK(CRegKeyHelper::DelKeySearch(HKEY_LOCAL_MACHINE, sandbox.Subkey(L"top"), {L"alpha"}, false, false, &keep,
                                          &kept) == _ERROR_FAILED);
        CHECK(kept);
        CHECK(sandbox.Dump(View::Bits64).size() == 9);  // z and the mark of y are gone, what y denies is not listed
    }
}

TEST_CASE("value patterns in the three operations that take them") {
    const Texts names = {L"RUNx", L"a*r1", L"abxab", L"autorun", L"run", L"runonce", L"xrunx"};
    struct Row {
        std::wstring pattern;
        Texts taken;  // by deletion and expansion
        bool checked;
    };
    const Row rows[] = {
        {L"run*", {L"run", L"runonce"}, true},
        {L"*run", {L"autorun", L"run"}, true},
        {L"*run*", {L"autorun", L"run", L"runonce", L"xrunx"}, true},
        {L"*once", {L"runonce"}, false},
        {L"once*", {}, true},
        {L"*auto*", {L"autorun"}, false},
        {L"*once*", {L"runonce"}, false},
        {L"*ab", {}, true},
        {L"ab*", {L"abxab"}, false},
        {L"a*r*", {L"a*r1"}, false},
        {L"*", names, false},
        {L"**", names, false},
    };
    const RegistrySandbox sandbox;
    const std::wstring key = sandbox.Path();
    Entries values;
    for (const Row& row : rows) {
        CAPTURE(row.pattern);
        for (const std::wstring& name : names) {
            Fill(sandbox, {L"\\=" + name});
        }
        values.clear();
        CHECK(CRegKeyHelper::CheckValue(key, row.pattern, false) == (row.checked ? _ERROR_SUCCESS : _ERROR_FAILED));
        CHECK(CRegKeyHelper::ExpandValue(key, row.pattern, false, values) == _ERROR_SUCCESS);
        CHECK(CRegKeyHelper::DeleteValue(key, row.pattern, false, nullptr) == _ERROR_SUCCESS);
        for (const std::wstring& name : names) {
            const bool taken = Contains(row.taken, name);
            CHECK(Contains(PathsOf(values, key), name) == taken);
            CHECK(Contains(sandbox.Dump(View::Bits64), L"=" + name) != taken);
        }
    }
    CHECK(CRegKeyHelper::CheckValue(key, L"absent", false) == _ERROR_NOT_FOUND);
    CHECK(CRegKeyHelper::ExpandValue(key, L"absent", false, values) == _ERROR_SUCCESS);
    CHECK(PathsOf(values, key).back() == L"absent");
}

TEST_CASE("what a search compares") {
    const RegistrySandbox sandbox;
    const std::wstring nul(1, L'\0');
    struct Row {
        const wchar_t* key;
        DWORD type;
        std::wstring data;  // the system stores a zero that stands behind it as well
        DWORD cut;          // bytes left away at the end
    };
    const Row rows[] = {
        {L"binary", REG_BINARY, L"alpha" + nul, 0},
        {L"case", REG_SZ, L"Alpha" + nul, 0},
        {L"expand", REG_EXPAND_SZ, L"alpha" + nul, 0},
        {L"hidden", REG_SZ, L"no" + nul + L"alpha" + nul, 0},
        {L"multi", REG_MULTI_SZ, L"alpha" + nul + nul, 0},
        {L"odd", REG_SZ, L"alphab", 1},
        {L"open", REG_SZ, L"alphab", 2},
        {L"part", REG_SZ, L"an alpha b" + nul, 0},
        {L"zero", REG_SZ, L"alpha" + nul + L"no" + nul, 0},
    };
    for (const Row& row : rows) {
        sandbox.SetValue(row.key, L"alpha", row.type, row.data.data(),
                         static_cast<DWORD>(row.data.size() * sizeof(wchar_t)) - row.cut, View::Bits64);
    }
    const auto found = [&](const Texts& search, bool complete) {
        Entries keys;
        Entries values;
        CHECK(CRegKeyHelper::ExpandKeySearch(sandbox.Path(), search, complete, false, keys, values) == _ERROR_SUCCESS);
        return PathsOf(keys, sandbox.Path());
    };
    CHECK(found({L"absent", L"alpha"}, false) == Texts{L"expand", L"odd", L"open", L"part", L"zero"});
    CHECK(found({L"alpha", L"absent", L""}, true) == Texts{L"expand", L"odd", L"open", L"zero"});
    CHECK(CRegKeyHelper::DelKeySearch(sandbox.Path(), {L"alpha"}, true, false, nullptr) == _ERROR_SUCCESS);
    CHECK(found({L""}, false) == Texts{L"case", L"hidden", L"part"});
    CHECK(sandbox.Dump(View::Bits64).size() == 10);  // three and what no search finds, each with its value
}

TEST_CASE("a check by search looks for children below the key itself, under their whole path") {
    const RegistrySandbox sandbox;
    RecordedLog log;
    RegistryFaults faults;
    const std::wstring subkey = sandbox.Subkey(L"k");
    Fill(sandbox, {L"k\\=x", L"k\\a\\", L"k\\b\\"});
    const auto search = [&](const wchar_t* text) {
        log.Clear();
        return CRegKeyHelper::CheckKeySearch(HKEY_LOCAL_MACHINE, subkey, {text}, true, false);
    };
    const auto lines = [&] { return log.Of(L"CRegKeyHelper::CheckKeySearch"); };
    CHECK(search(L"none") == _ERROR_SUCCESS);
    CHECK(lines() == Texts{L"16 \"HKEY_LOCAL_MACHINE\" \\ \"" + subkey + L"\"", L"16 \"" + subkey + L"\\a\"",
                           L"4 RegOpenKeyEx \"" + subkey + L"\\a\" failed 0x2", L"16 \"" + subkey + L"\\b\"",
                           L"4 RegOpenKeyEx \"" + subkey + L"\\b\" failed 0x2"});
    CHECK(search(L"data") == _ERROR_SUCCESS);
    CHECK(lines().size() == 1);
    Fill(sandbox, {L"k\\" + subkey + L"\\a\\"});
    CHECK(search(L"none") == _ERROR_SUCCESS);
    CHECK(lines().size() == 2);  // the first child that is there ends the walk
    faults.listedValues = 0;
    CHECK(search(L"none") == _ERROR_UNKNOWN);
}

TEST_CASE("expansions list keys before what lies below them and pass over what does not open") {
    const RegistrySandbox sandbox;
    const RecordedLog log;
    Fill(sandbox, {L"k\\a\\=w", L"k\\a\\in\\=x", L"k\\b\\=y", L"k\\c\\=z"}, View::Bits32);
    const std::wstring k = sandbox.Path(L"k");
    const std::wstring given = L"HKLM/" + sandbox.Subkey(L"k");
    const Texts listed = {L"a\\w", L"a\\in\\x", L"c\\z"};
    Entries keys = {{L"before", true}};
    Entries values;
    RegistryFaults faults;
    faults.refusedOpen = L"\\k\\b";
    CHECK(CRegKeyHelper::ExpandKey(given, true, keys, values) == _ERROR_SUCCESS);
    CHECK(PathsOf(keys, k, true) == Texts{L"before", given, L"a", L"a\\in", L"b", L"c"});
    CHECK(PathsOf(values, k, true) == listed);
    CHECK(log.Has(kInfo, L"CRegKeyHelper::GetValues", L"RegEnumValue ERROR_MORE_DATA  Index = 0"));
    keys.clear();
    values.clear();
    CHECK(CRegKeyHelper::ExpandKeySearch(given, {L"data"}, true, true, keys, values) == _ERROR_SUCCESS);
    CHECK(PathsOf(keys, k, true) == Texts{L"a", L"a\\in", L"c"});
    CHECK(PathsOf(values, k, true) == listed);
}

TEST_CASE("each operation opens in its view, closes what it opened and refuses what it cannot find") {
    using Helper = CRegKeyHelper;
    using Path = const std::wstring&;
    Entries keys;
    Entries values;
    const std::function<OperationResult(Path path, bool x32)> operations[] = {
        [&](Path path, bool x32) { return Helper::CheckKey(path, x32); },
        [&](Path path, bool x32) { return Helper::CheckValue(path, L"*", x32); },
        [&](Path path, bool x32) { return Helper::CheckKeySearch(path, {L"none"}, false, x32); },
        [&](Path path, bool x32) { return Helper::ExpandKey(path, x32, keys, values); },
        [&](Path path, bool x32) { return Helper::ExpandValue(path, L"v", x32, values); },
        [&](Path path, bool x32) { return Helper::ExpandKeySearch(path, {L"none"}, false, x32, keys, values); },
        [&](Path path, bool x32) { return Helper::DelKeySearch(path, {L"none"}, false, x32, nullptr); },
        [&](Path path, bool x32) { return Helper::DeleteValue(path, L"v", x32, nullptr); },
        [&](Path path, bool x32) { return Helper::DeleteKey(path, x32, nullptr); },
    };
    const RegistrySandbox sandbox;
    for (const auto& operation : operations) {
        CAPTURE(&operation - operations);
        for (const bool x32 : {false, true}) {
            Fill(sandbox, {L"k\\=v", L"k\\a\\=w"}, x32 ? View::Bits32 : View::Bits64);
            const REGSAM access = UnderWow64() ? (x32 ? 0xF023F : 0xF013F) : 0xF003F;
            RegistryFaults faults;
            faults.listedValues = x32 ? 0 : MAXDWORD;  // keys are closed where enumeration breaks, too
            operation(sandbox.Path(L"k"), x32);
            CHECK(faults.openKeys == 0);
            CHECK(faults.access == std::vector<REGSAM>(faults.access.size(), access));
        }
        CHECK(operation(L"nowhere", false) == _ERROR_NOT_FOUND);
        CHECK(operation(sandbox.Path(L"none"), true) == _ERROR_NOT_FOUND);
    }
    CHECK(Helper::CheckKey(kNoHive, sandbox.Subkey(), false) == _ERROR_NOT_FOUND);
    CHECK(Helper::ExpandValue(kNoHive, sandbox.Subkey(), L"v", false, values) == _ERROR_FAILED);
    CHECK(Helper::DeleteKey(kNoHive, sandbox.Subkey(), false, nullptr, nullptr) == _ERROR_FAILED);
}

TEST_CASE("which roads leave the key open") {
    const RegistrySandbox sandbox;
    const std::wstring k = sandbox.Path(L"k");
    sandbox.SetString(L"k", L"fits", std::wstring(129, L'x'), View::Bits64);
    sandbox.SetString(L"k", L"long", std::wstring(130, L'x'), View::Bits64);
    KeepChosen keep({L"value " + k + L"=long"});
    Entries values;
    wchar_t buffer[131] = {};
    const RegistryFaults faults;
    CHECK(CRegKeyHelper::GetValue(HKEY_LOCAL_MACHINE, sandbox.Subkey(L"k"), L"fits", buffer) == _ERROR_SUCCESS);
    CHECK(CRegKeyHelper::GetValue(HKEY_LOCAL_MACHINE, sandbox.Subkey(L"k"), L"long", buffer) == _ERROR_NOT_FOUND);
    CHECK(faults.openKeys == 2);
    CHECK(CRegKeyHelper::DeleteValue(k, L"long", false, &keep) == _ERROR_SUCCESS);
    CHECK(CRegKeyHelper::DeleteValue(k, L"v*w", false, nullptr) == _ERROR_FAILED);
    CHECK(CRegKeyHelper::CheckValue(k, L"v*w", false) == _ERROR_FAILED);
    CHECK(CRegKeyHelper::ExpandValue(k, L"v*w", false, values) == _ERROR_FAILED);
    CHECK(faults.openKeys == 6);
}
