// The lists before and after the thinning, which compares each entry with the last one that stayed.

#include <windows.h>

#include <doctest/doctest.h>

#include "removal/removal.h"

namespace {

Lines Thinned(Removal& removal) {
    CHECK(removal.SortCachedOps());
    return removal.Records();
}

}  // namespace

TEST_CASE("a folder swallows what lies beneath it, not what its name begins with") {
    Removal removal;
    removal.m_cached.delFolders = {L"C:\\pq", L"C:\\p\\q\\r", L"C:\\p", L"C:\\P\\q", L"C:\\p", L"C:\\p/x"};
    CHECK(Thinned(removal) == Lines{L"folder C:\\P\\q", L"folder C:\\p", L"folder C:\\pq"});

    // An entry in between that sorts before the separator hides the folder from those beneath it.
    removal.m_cached.delFolders = {L"C:\\a\\x", L"C:\\a", L"C:\\a b", L"C:\\a b\\x"};
    CHECK(Thinned(removal) == Lines{L"folder C:\\a", L"folder C:\\a b", L"folder C:\\a\\x"});
}

TEST_CASE("a key swallows its subkeys and values, across the border of the views as well") {
    Removal removal;
    removal.m_cached.delReg = {
        {L"M\\b", L"v", true, true}, {L"M\\a", L"", true, false}, {L"M", L"z", false, true}, {L"M", L"", false, false},
        {L"L", L"v", false, true},   {L"L", L"v", false, true},   {L"L", L"a", false, true},
    };
    CHECK(Thinned(removal) == Lines{L"value L = v", L"value L = v", L"value L = a", L"key M"});

    // A key of the other view that sorts first ends the reach of the last native one; a value covers nothing.
    removal.m_cached.delReg = {
        {L"M\\a", L"", true, false}, {L"A", L"", true, false},     {L"M", L"", false, false},
        {L"B", L"v", false, true},   {L"B\\c", L"", false, false},
    };
    CHECK(Thinned(removal) == Lines{L"value B = v", L"key B\\c", L"key M", L"key A x32", L"key M\\a x32"});

    removal.m_cached.delReg = {{L"K", L"", true, false}, {L"K", L"", false, false}, {L"K", L"", false, false}};
    CHECK(Thinned(removal) == Lines{L"key K"});
}

TEST_CASE("a tool runs once, in the order of the script; it is the same with the same flags") {
    Removal removal;
    removal.m_cached.execTools = {
        {L"b", true, false, false}, {L"a", false, false, false}, {L"b", false, false, false},
        {L"b", true, false, false}, {L"a", false, true, false},  {L"a", false, false, false},
    };
    CHECK(Thinned(removal) == Lines{L"tool b wait", L"tool a", L"tool b", L"tool a show"});
}
