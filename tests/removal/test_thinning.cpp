// The lists before and after the thinning, which compares each entry with the last one that stayed.

#include <windows.h>

#include <doctest/doctest.h>

#include "removal/removal.h"

namespace {

Lines Thinned(Removal& removal) {
    CHECK(removal.SortCachedOps());
    return removal.Records();
}

DeferredOp Deferred(const wchar_t* text, const wchar_t* name) {
    DeferredOp record;
    record.text = text;
    record.attributes.Insert(L"name", name);
    return record;
}

}  // namespace

TEST_CASE("a folder swallows what lies beneath it, not what its name begins with") {
    Removal removal;
    removal.m_delFolders = {L"C:\\pq", L"C:\\p\\q\\r", L"C:\\p", L"C:\\P\\q", L"C:\\p", L"C:\\p/x"};
    CHECK(Thinned(removal) == Lines{L"folder C:\\P\\q", L"folder C:\\p", L"folder C:\\pq"});

    // An entry in between that sorts before the separator hides the folder from those beneath it.
    removal.m_delFolders = {L"C:\\a\\x", L"C:\\a", L"C:\\a b", L"C:\\a b\\x"};
    CHECK(Thinned(removal) == Lines{L"folder C:\\a", L"folder C:\\a b", L"folder C:\\a\\x"});
}

TEST_CASE("a key swallows its subkeys and values, across the border of the views as well") {
    Removal removal;
    removal.m_delReg = {
        {L"M\\b", L"v", true, true}, {L"M\\a", L"", true, false}, {L"M", L"z", false, true}, {L"M", L"", false, false},
        {L"L", L"v", false, true},   {L"L", L"v", false, true},   {L"L", L"a", false, true},
    };
    CHECK(Thinned(removal) == Lines{L"value L = v", L"value L = v", L"value L = a", L"key M"});

    // A key of the other view that sorts first ends the reach of the last native one; a value covers nothing.
    removal.m_delReg = {
        {L"M\\a", L"", true, false}, {L"A", L"", true, false},     {L"M", L"", false, false},
        {L"B", L"v", false, true},   {L"B\\c", L"", false, false},
    };
    CHECK(Thinned(removal) == Lines{L"value B = v", L"key B\\c", L"key M", L"key A x32", L"key M\\a x32"});

    removal.m_delReg = {{L"K", L"", true, false}, {L"K", L"", false, false}, {L"K", L"", false, false}};
    CHECK(Thinned(removal) == Lines{L"key K"});
}

TEST_CASE("searches are told apart by everything, and only neighbours are compared") {
    Removal removal;
    removal.m_delRegKeyData = {
        {L"A", {L"x"}, true, false},        {L"B", {L"x", L"y"}, false, false}, {L"B", {L"x", L"y"}, false, true},
        {L"B", {L"x", L"y"}, false, false}, {L"B", {L"y", L"x"}, false, false}, {L"B", {L"x", L"y"}, false, false},
    };
    CHECK(Thinned(removal) == Lines{L"search B [x] [y]", L"search B [y] [x]", L"search B [x] [y]",
                                    L"search A [x] complete", L"search B [x] [y] x32"});
}

TEST_CASE("a tool runs once, in the order of the script; it is the same with the same flags") {
    Removal removal;
    removal.m_execTools = {
        {L"b", true, false, false}, {L"a", false, false, false}, {L"b", false, false, false},
        {L"b", true, false, false}, {L"a", false, true, false},  {L"a", false, false, false},
    };
    CHECK(Thinned(removal) == Lines{L"tool b wait", L"tool a", L"tool b", L"tool a show"});
}

TEST_CASE("names are thinned as texts, deferred operations with their attributes, shortcuts not at all") {
    Removal removal;
    removal.m_restartDel.Append(L"z");
    removal.m_restartDel.Append(L"B");
    removal.m_delFiles = {L"b", L"B", L"b", L"b\\c"};
    removal.m_killProcesses = {L"x", L"a", L"x"};
    removal.m_disableDrivers = {L"s", L"s"};
    removal.m_execDllMethods = {Deferred(L"path", L"m"), Deferred(L"path", L"n"), Deferred(L"path", L"m"),
                                Deferred(L"other", L"m")};
    removal.m_disableAndStopDrivers = {Deferred(L"s", L"s"), Deferred(L"d", L"d"), Deferred(L"s", L"s")};
    removal.m_delShortcuts = {{L"l", L"t", false}, {L"k", L"t", false}, {L"l", L"t", false}};
    CHECK(Thinned(removal) == Lines{L"restart B", L"restart z", L"file B", L"file b", L"file b\\c", L"kill a",
                                    L"kill x", L"disable s", L"method other name=m", L"method path name=m",
                                    L"method path name=n", L"method path name=m", L"stop d name=d", L"stop s name=s",
                                    L"shortcut l > t", L"shortcut k > t", L"shortcut l > t"});
}
