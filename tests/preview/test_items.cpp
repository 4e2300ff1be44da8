#include <doctest/doctest.h>

#include "preview/items.h"
#include "support/show_text.h"

using namespace preview;

TEST_CASE("an item has one node, whatever its path's letters and separators") {
    ItemTree items;
    const NodeId file = items.AtPath(ItemKind::File, View::None, L"C:\\Program Files\\Sample\\Ünd.exe");
    CHECK(items.AtPath(ItemKind::Shortcut, View::None, L"c:/program files//SAMPLE\\üND.EXE") == file);
    CHECK(items.Path(file) == L"C:\\Program Files\\Sample\\Ünd.exe");
    CHECK(items.Path(items.AtPath(ItemKind::Folder, View::None, L"\\\\host\\share")) == L"\\\\host\\share");
    CHECK(items.Path(items.AtPath(ItemKind::File, View::None, L"relative")) == L"relative");
    CHECK(items.FindPath(ItemKind::Folder, View::None, L"C:\\Program Files") == items[items[file].parent].parent);
    CHECK(items.FindPath(ItemKind::Folder, View::None, L"C:\\Program") == kNoNode);
}

TEST_CASE("views, keys and values, and command lines are told apart") {
    ItemTree items;
    const NodeId key = items.AtPath(ItemKind::Key, View::Bits64, L"HKEY_LOCAL_MACHINE\\Sample");
    CHECK(items.AtPath(ItemKind::Key, View::Bits32, L"HKEY_LOCAL_MACHINE\\Sample") != key);
    CHECK(items.Path(items.AtPath(ItemKind::Key, View::Bits64, L"HKEY_LOCAL_MACHINE\\a/b")) ==
          L"HKEY_LOCAL_MACHINE\\a/b");
    const NodeId value = items.Child(key, ItemKind::Value, View::Bits64, L"a\\b");
    CHECK(items.Child(key, ItemKind::Key, View::Bits64, L"a\\b") != value);
    CHECK(items.Path(value) == L"HKEY_LOCAL_MACHINE\\Sample");
    CHECK(items.ValueName(value) == L"a\\b");
    const NodeId tool = items.Child(kNoNode, ItemKind::Tool, View::None, L"tool.exe /A");
    CHECK(items.Child(kNoNode, ItemKind::Tool, View::None, L"tool.exe /a") != tool);
    CHECK(items.Child(kNoNode, ItemKind::Tool, View::None, L"tool.exe /A") == tool);
}

TEST_CASE("many items keep their nodes, and are counted without the places between") {
    ItemTree items;
    const NodeId folder = items.AtPath(ItemKind::Folder, View::None, L"C:\\a\\b");
    items[folder].record = 0;
    for (NodeId number = 0; number < 3000; ++number) {
        const NodeId file = items.Child(folder, ItemKind::File, View::None, std::to_wstring(number));
        items[file].record = 0;
        CHECK(items.Ordinal(file) == number + 1);
    }
    CHECK(items.FindPath(ItemKind::File, View::None, L"C:\\A\\B\\2999") == folder + 3000);
}
