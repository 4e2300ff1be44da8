#include <windows.h>

#include <doctest/doctest.h>

#include <functional>

#include "operations/CRegKeyHelper.h"
#include "operations/keep_chosen.h"
#include "operations/registry_faults.h"
#include "support/recorded_log.h"
#include "support/registry_sandbox.h"

namespace {

using Helper = CRegKeyHelper;
using Entries = std::vector<RegistryEntry>;

// No row of the table of hives.
const HKEY kNoHive = reinterpret_cast<HKEY>(static_cast<ULONG_PTR>(0x80000050));

// A key of the registry, for which KEY stands, and what is left of it.
struct Bench {
    explicit Bench(const std::wstring& entries = {}) {
        if (!entries.empty()) {
            Fill(entries);
        }
    }
    void Fill(const std::wstring& entries, View view = View::Bits64) const { key.Fill(Split(entries, L' '), view); }
    std::wstring Left(View view = View::Bits64) const { return Joined(key.Dump(view), L" "); }
    std::wstring Path(const std::wstring& relative) const { return key.Path(relative); }

    // The paths; each must bear the view asked for.
    std::wstring Listed(const Entries& entries, bool x32view = false) const {
        Lines paths;
        for (const RegistryEntry& entry : entries) {
            CHECK(entry.x32view == x32view);
            paths.push_back(entry.path);
        }
        return Nicknames{{L"KEY", key.Path()}, {L"SUB", key.Subkey()}}.Nick(Joined(paths, L" "));
    }

    RegistrySandbox key;
    RecordedLog log;
};

}  // namespace

TEST_CASE("a key goes with all below it, in the view asked for alone") {
    const Bench bench;
    const std::wstring all =
        LR"(top\ top\= top\a\ top\a\=x top\a\deep\ top\a\deep\er\ top\a\deep\er\=y topmost\ topmost\=z)";
    for (const View view : {View::Bits64, View::Bits32}) {
        bench.Fill(LR"(top\a\=x top\a\deep\er\=y top\= topmost\=z)", view);
    }
    const std::wstring given = L"HKLM\\" + bench.key.Subkey(L"top");
    KeepChosen used({L"key " + given + L" x32"});
    CHECK(Helper::DeleteKey(given, false, &used) == _ERROR_SUCCESS);
    CHECK(Helper::DeleteKey(given, true, &used) == _ERROR_SUCCESS);
    CHECK(bench.Left() == LR"(topmost\ topmost\=z)");
    CHECK(bench.Left(View::Bits32) == (UnderWow64() ? all : bench.Left()));
    CHECK(Helper::DeleteKey(given, true, nullptr) == (UnderWow64() ? _ERROR_SUCCESS : _ERROR_NOT_FOUND));
    CHECK(bench.Left(View::Bits32) == bench.Left());
}

TEST_CASE("what a product that stays uses is kept with the keys above it, and its neighbours go") {
    const Bench bench(LR"(top\a\=used top\a\=other top\b\in\=x top\c\=y top\=z)");
    const std::wstring top = bench.Path(L"top");
    const auto remove = [&](const wchar_t* key, IUsed* used, bool* kept) {
        return Helper::DeleteKey(HKEY_LOCAL_MACHINE, bench.key.Subkey(key), false, used, kept);
    };
    KeepChosen used({L"value " + top + L"\\a=used", L"key " + top + L"\\b"});
    bool kept = false;
    CHECK(remove(L"top", &used, &kept) == _ERROR_SUCCESS);
    CHECK(kept);
    CHECK(bench.Left() == LR"(top\ top\a\ top\a\=used top\b\ top\b\in\ top\b\in\=x)");
    // Without a flag a key goes with the values that it should keep.
    CHECK(remove(L"top\\a", &used, nullptr) == _ERROR_SUCCESS);
    CHECK(remove(L"top\\a", &used, nullptr) == _ERROR_NOT_FOUND);
    CHECK(remove(L"top", nullptr, &kept) == _ERROR_SUCCESS);
    CHECK_FALSE(kept);
}

TEST_CASE("deletion of a key goes on past what is refused") {
    const Bench bench(LR"(top\=a top\=locked top\=z top\denied\=x top\free\=y)");
    RegistryFaults faults;
    faults.refusedValue = L"locked";
    faults.refusedOpen = L"\\denied";
    CHECK(Helper::DeleteKey(bench.Path(L"top"), false, nullptr) == _ERROR_FAILED);
    CHECK(bench.Left() == LR"(top\ top\=locked top\denied\)");
    CHECK(bench.log.Has(L"E CRegKeyHelper::DeleteKey: RegDeleteValue \"locked\" failed 0x5"));
    CHECK(bench.log.Has(L"E CRegKeyHelper::DeleteKey: DeleteKey \"denied\" failed 0x1"));
    faults.refusedOpen = L"?";
    faults.listedKeys = 0;
    CHECK(Helper::DeleteKey(bench.Path(L"top"), false, nullptr) == _ERROR_FAILED);
    faults.listedKeys = MAXDWORD;
    faults.listedValues = 0;  // a key goes with values that were not listed
    CHECK(Helper::DeleteKey(bench.Path(L"top"), false, nullptr) == _ERROR_SUCCESS);

    // What stands in for the call that deletes in a view works in the default view.
    bench.Fill(L"a\\");
    bench.Fill(L"a\\", View::Bits32);
    const EntryPointPatch missing("RegDeleteKeyExW");
    CHECK(Helper::DeleteKey(bench.Path(L"a"), false, nullptr) == _ERROR_SUCCESS);
    CHECK(bench.Left(View::Bits32).empty());
    CHECK(bench.Left().empty() != UnderWow64());
}

TEST_CASE("deleting values: in use, refused, missing") {
    const Bench bench(LR"(k\=one k\=other k\=two k\=twofold)");
    KeepChosen used({L"value " + bench.Path(L"k") + L"=one", L"value " + bench.Path(L"k") + L"=two"});
    RegistryFaults faults;
    faults.refusedValue = L"other";
    bool kept = false;
    const auto remove = [&](const wchar_t* name) {
        return Helper::DeleteValue(HKEY_LOCAL_MACHINE, bench.key.Subkey(L"k"), name, false, &used, &kept);
    };
    CHECK(remove(L"one") == _ERROR_SUCCESS);
    CHECK(kept);
    CHECK(remove(L"absent") == _ERROR_NOT_FOUND);
    CHECK_FALSE(kept);
    CHECK(remove(L"other") == _ERROR_FAILED);
    CHECK(remove(L"*o*") == _ERROR_FAILED);
    CHECK(kept);
    CHECK(bench.Left() == LR"(k\ k\=one k\=other k\=two)");
    faults.listedValues = 0;
    CHECK(remove(L"*") == _ERROR_UNKNOWN);
}

TEST_CASE("a search deletes each topmost key with a matching value") {
    const Bench bench(LR"(top\=none top\a\b\in\ top\a\c\ top\y\in\=x)");
    const std::wstring top = bench.Path(L"top");
    for (const wchar_t* const key : {L"top\\a\\b", L"top\\y", L"top\\z"}) {
        bench.key.SetString(key, L"mark", L"the alpha");
    }
    RegistryFaults faults;

    SUBCASE("in every branch that opens") {
        faults.refusedOpen = L"top\\z";
        CHECK(Helper::DelKeySearch(top, {L"absent", L"alpha"}, false, false, nullptr) == _ERROR_SUCCESS);
        CHECK(bench.Left() == LR"(top\ top\=none top\a\ top\a\c\ top\z\)");
    }
    SUBCASE("a match at the top ends the search there") {
        CHECK(Helper::DelKeySearch(top, {L"absent", L"data"}, true, false, nullptr) == _ERROR_SUCCESS);
        CHECK(bench.Left().empty());
        CHECK(bench.log.Of(L"CRegKeyHelper::DelKeySearch").size() == 3);  // of the path, the key and the result
    }
    SUBCASE("what one branch keeps is told, and what another cannot delete stays the result") {
        KeepChosen keep({L"key " + top + L"\\a\\b"});
        bool kept = false;
        faults.refusedOpen = L"\\y\\in";
        CHECK(Helper::DelKeySearch(HKEY_LOCAL_MACHINE, bench.key.Subkey(L"top"), {L"alpha"}, false, false, &keep,
                                   &kept) == _ERROR_FAILED);
        CHECK(kept);
        // What y denies is not listed either.
        CHECK(bench.Left() == LR"(top\ top\=none top\a\ top\a\b\ top\a\b\=mark top\a\b\in\ top\a\c\ top\y\ top\y\in\)");
    }
}

TEST_CASE("value patterns in the three operations that take them") {
    const std::wstring names = L"RUNx a*r1 abxab autorun run runonce xrunx";
    const Bench bench;
    // Columns: pattern, taken by deletion and expansion, found by the check.
    for (const Lines& row : Rows(LR"(
run* | run runonce | yes
*run | autorun run | yes
*run* | autorun run runonce xrunx | yes
*once | runonce |
once* | | yes
*auto* | autorun |
*once* | runonce |
*ab | | yes
ab* | abxab |
a*r* | a*r1 |
* | RUNx a*r1 abxab autorun run runonce xrunx |
** | RUNx a*r1 abxab autorun run runonce xrunx |
absent | absent | none
)",
                                 3)) {
        INFO(Utf8(row[0]));
        bench.Fill(LR"(\=)" + Replaced(names, L" ", LR"( \=)"));
        Entries values;
        CHECK(Helper::CheckValue(bench.Path(L""), row[0], false) == (row[2] == L"yes"    ? _ERROR_SUCCESS
                                                                     : row[2] == L"none" ? _ERROR_NOT_FOUND
                                                                                         : _ERROR_FAILED));
        CHECK(Helper::ExpandValue(bench.Path(L""), row[0], false, values) == _ERROR_SUCCESS);
        Lines listed = Split(Replaced(bench.Listed(values), L"KEY\\", L""), L' ');
        std::sort(listed.begin(), listed.end());
        CHECK(Joined(listed, L" ") == row[1]);
        CHECK(Helper::DeleteValue(bench.Path(L""), row[0], false, nullptr) ==
              (row[2] == L"none" ? _ERROR_NOT_FOUND : _ERROR_SUCCESS));
        Lines rest = Split(names, L' ');
        const Lines taken = Split(row[1], L' ');
        std::erase_if(rest,
                      [&](const auto& name) { return std::find(taken.begin(), taken.end(), name) != taken.end(); });
        CHECK(Replaced(bench.Left(), L"=", L"") == Joined(rest, L" "));
    }
}

TEST_CASE("what a search compares") {
    const Bench bench;
    const struct {
        const wchar_t* key;
        DWORD type;
        std::wstring data;  // 0 stands for a terminator; the system stores one that stands behind it as well
        DWORD cut;          // bytes left away at the end
    } rows[] = {
        {L"binary", REG_BINARY, L"alpha0", 0},    {L"case", REG_SZ, L"Alpha0", 0},
        {L"expand", REG_EXPAND_SZ, L"alpha0", 0}, {L"hidden", REG_SZ, L"no0alpha0", 0},
        {L"multi", REG_MULTI_SZ, L"alpha00", 0},  {L"odd", REG_SZ, L"alphab", 1},
        {L"open", REG_SZ, L"alphab", 2},          {L"part", REG_SZ, L"an alpha b0", 0},
        {L"zero", REG_SZ, L"alpha0no0", 0},
    };
    for (const auto& row : rows) {
        std::wstring data = row.data;
        std::replace(data.begin(), data.end(), L'0', L'\0');
        bench.key.SetValue(row.key, L"alpha", row.type, data.data(), static_cast<DWORD>(data.size() * 2) - row.cut);
    }
    const auto found = [&](const Lines& search, bool complete) {
        Entries keys;
        Entries values;
        CHECK(Helper::ExpandKeySearch(bench.Path(L""), search, complete, false, keys, values) == _ERROR_SUCCESS);
        return Replaced(bench.Listed(keys), L"KEY\\", L"");
    };
    CHECK(found({L"absent", L"alpha"}, false) == L"expand odd open part zero");
    CHECK(found({L"alpha", L"absent", L""}, true) == L"expand odd open zero");
    CHECK(Helper::DelKeySearch(bench.Path(L""), {L"alpha"}, true, false, nullptr) == _ERROR_SUCCESS);
    CHECK(found({L""}, false) == L"case hidden part");
    CHECK(bench.Left() ==
          LR"(binary\ binary\=alpha case\ case\=alpha hidden\ hidden\=alpha multi\ multi\=alpha part\ part\=alpha)");
}

TEST_CASE("a check by search looks for children below the key itself, under their whole path") {
    Bench bench(LR"(k\=x k\a\ k\b\)");
    RegistryFaults faults;
    const std::wstring subkey = bench.key.Subkey(L"k");
    const auto search = [&](const wchar_t* text) {
        bench.log.Clear();
        return Helper::CheckKeySearch(HKEY_LOCAL_MACHINE, subkey, {text}, true, false);
    };
    const auto lines = [&] { return Replaced(bench.log.Told(L"CRegKeyHelper::CheckKeySearch"), subkey, L"SUB"); };
    const std::wstring start = LR"(I "HKEY_LOCAL_MACHINE" \ "SUB")";
    CHECK(search(L"none") == _ERROR_SUCCESS);
    CHECK(lines() == start +
                         LR"( / I "SUB\a" / E RegOpenKeyEx "SUB\a" failed 0x2)"
                         LR"( / I "SUB\b" / E RegOpenKeyEx "SUB\b" failed 0x2)");
    CHECK(search(L"data") == _ERROR_SUCCESS);
    CHECK(lines() == start);
    bench.Fill(L"k\\" + subkey + L"\\a\\");
    CHECK(search(L"none") == _ERROR_SUCCESS);
    CHECK(lines() == start + LR"( / I "SUB\a")");  // the first child that is there ends the walk
    faults.listedKeys = 0;
    CHECK(search(L"none") == _ERROR_UNKNOWN);
    faults.listedValues = 0;
    CHECK(search(L"none") == _ERROR_UNKNOWN);
}

TEST_CASE("expansions list keys before what lies below them and pass over what does not open") {
    const Bench bench;
    bench.Fill(LR"(k\a\=w k\a\in\=x k\b\=y k\c\=z)", View::Bits32);
    const std::wstring given = L"HKLM/" + bench.key.Subkey(L"k");
    Entries keys = {{L"before", true}};
    Entries values;
    RegistryFaults faults;
    faults.refusedOpen = L"\\k\\b";
    CHECK(Helper::ExpandKey(given, true, keys, values) == _ERROR_SUCCESS);
    CHECK(bench.Listed(keys, true) == LR"(before HKLM/SUB\k KEY\k\a KEY\k\a\in KEY\k\b KEY\k\c)");
    CHECK(bench.Listed(values, true) == LR"(KEY\k\a\w KEY\k\a\in\x KEY\k\c\z)");
    CHECK(bench.log.Has(L"I CRegKeyHelper::GetValues: RegEnumValue ERROR_MORE_DATA  Index = 0"));
    keys.clear();
    values.clear();
    CHECK(Helper::ExpandKeySearch(given, {L"data"}, true, true, keys, values) == _ERROR_SUCCESS);
    CHECK(bench.Listed(keys, true) == LR"(KEY\k\a KEY\k\a\in KEY\k\c)");
    CHECK(bench.Listed(values, true) == LR"(KEY\k\a\w KEY\k\a\in\x KEY\k\c\z)");
}

TEST_CASE("each operation opens in its view, closes what it opened and refuses what it cannot find or list") {
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
    const Bench bench;
    for (const auto& operation : operations) {
        CAPTURE(&operation - operations);
        for (const bool x32 : {false, true}) {
            bench.Fill(LR"(k\=v k\a\=w)", x32 ? View::Bits32 : View::Bits64);
            const REGSAM access = UnderWow64() ? (x32 ? 0xF023F : 0xF013F) : 0xF003F;
            RegistryFaults faults;
            faults.listedValues = faults.listedKeys = x32 ? 0 : MAXDWORD;  // closed where enumeration breaks, too
            operation(bench.Path(L"k"), x32);
            CHECK(faults.openKeys == 0);
            CHECK(faults.access == std::vector<REGSAM>(faults.access.size(), access));
        }
        CHECK(operation(L"nowhere", false) == _ERROR_NOT_FOUND);
        CHECK(operation(bench.Path(L"none"), true) == _ERROR_NOT_FOUND);
    }
    CHECK(Helper::CheckKey(kNoHive, bench.key.Subkey(), false) == _ERROR_NOT_FOUND);
    CHECK(Helper::ExpandValue(kNoHive, bench.key.Subkey(), L"v", false, values) == _ERROR_FAILED);
    CHECK(Helper::DeleteKey(kNoHive, bench.key.Subkey(), false, nullptr, nullptr) == _ERROR_FAILED);
}

TEST_CASE("which roads leave the key open") {
    const Bench bench;
    const std::wstring k = bench.Path(L"k");
    bench.key.SetString(L"k", L"fits", std::wstring(129, L'x'));
    bench.key.SetString(L"k", L"long", std::wstring(130, L'x'));
    KeepChosen keep({L"value " + k + L"=long"});
    Entries values;
    wchar_t buffer[131] = {};
    const RegistryFaults faults;
    CHECK(Helper::GetValue(HKEY_LOCAL_MACHINE, bench.key.Subkey(L"k"), L"fits", buffer) == _ERROR_SUCCESS);
    CHECK(Helper::GetValue(HKEY_LOCAL_MACHINE, bench.key.Subkey(L"k"), L"long", buffer) == _ERROR_NOT_FOUND);
    CHECK(faults.openKeys == 2);
    CHECK(Helper::DeleteValue(k, L"long", false, &keep) == _ERROR_SUCCESS);
    CHECK(Helper::DeleteValue(k, L"v*w", false, nullptr) == _ERROR_FAILED);
    CHECK(Helper::CheckValue(k, L"v*w", false) == _ERROR_FAILED);
    CHECK(Helper::ExpandValue(k, L"v*w", false, values) == _ERROR_FAILED);
    CHECK(faults.openKeys == 6);
}
