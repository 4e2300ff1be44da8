#include <windows.h>

#include <doctest/doctest.h>

#include <algorithm>
#include <regex>

#include "author/compare/merge.h"
#include "author/snapshot/exclusions.h"
#include "author/snapshot/file_walk.h"
#include "author/snapshot/key_walk.h"
#include "author/snapshot/names.h"
#include "common/failure.h"
#include "support/registry_sandbox.h"
#include "support/temp_folder.h"

using namespace tools::author;

namespace {

// What a walk writes, with `name` as the root's name, and without times.
template <typename Walk>
std::string Written(const std::wstring& root, const Walk& walk) {
    const TempFolder folder;
    const std::wstring file = folder.Path(L"lines");
    LineWriter out(file);
    walk(out);
    out.Close();
    std::string text = FileContent(file);
    const std::string prefix = Escaped(root);
    for (std::size_t at = text.find(prefix); at != std::string::npos; at = text.find(prefix, at + 1)) {
        text.replace(at, prefix.size(), "R");
    }
    return std::regex_replace(text, std::regex(" [0-9-]+T[0-9:.]+Z"), "");
}

bool IsSortedByBytes(const std::string& text) {
    std::vector<std::string> lines;
    for (std::size_t begin = 0, end = 0; (end = text.find('\n', begin)) != std::string::npos; begin = end + 1) {
        lines.push_back(text.substr(begin, end - begin));
    }
    return std::is_sorted(lines.begin(), lines.end());
}

std::string Differences(const std::string& before, const std::string& after) {
    const TempFolder folder;
    Merge merge(folder.WriteFile(L"before", before), folder.WriteFile(L"after", after));
    std::string text;
    while (merge.Step()) {
        text += merge.What() == Merge::Kind::New ? '+' : merge.What() == Merge::Kind::Gone ? '-' : '*';
        text.append(merge.Line().identity).append("|");
    }
    return text;
}

}  // namespace

TEST_CASE("names are written without loss, and no two alike") {
    const std::wstring names[] = {L"plain",        L"`0041",       L"tab\tend\n",  std::wstring(L"nul\0x", 5),
                                  L"\xD83D\xDE00", L"\xD83D half", L"half \xDE00", L"\x7F\x85 Ж東"};
    for (const std::wstring& name : names) {
        CAPTURE(name);
        const std::string written = Escaped(name);
        CHECK(Unescaped(written) == name);
        CHECK(std::none_of(written.begin(), written.end(), [](char c) { return c >= 0 && c < 0x20; }));
    }
    CHECK(Escaped(L"A`\xD800") == "A`0060`d800");
}

TEST_CASE("files are walked in the order of their lines, deep ones too, and patterns leave things out") {
    const TempFolder folder;
    folder.WriteFile(L"a\\x");
    folder.WriteFile(L"a b");
    folder.WriteFile(L"a.txt", "12");
    folder.WriteFile(L"ab");
    folder.WriteFile(L"ж");
    folder.WriteFile(L"left\\out\\file");
    folder.WriteFile(L"left\\out.log");
    std::wstring deep = L"\\\\?\\" + folder.Path();
    for (int level = 0; level < 6; ++level) {
        deep += L"\\" + std::wstring(60, L'd');
        REQUIRE(::CreateDirectoryW(deep.c_str(), nullptr));
    }
    ::SetFileAttributesW(folder.Path(L"ab").c_str(), FILE_ATTRIBUTE_READONLY | FILE_ATTRIBUTE_HIDDEN);
    const Exclusions exclusions("# comment\n" + Escaped(folder.Path()) + "\\LEFT\\*t\r\n");
    const std::string text =
        Written(folder.Path(), [&](LineWriter& out) { WriteFiles(folder.Path(), exclusions, out); });
    CHECK(IsSortedByBytes(text));
    const std::string d(60, 'd');
    std::string wanted = "R\\\td\nR\\a b\t7\nR\\a.txt\t2\nR\\a\\\td\nR\\a\\x\t7\nR\\ab\t7 rh\n";
    for (std::string path = "R\\"; std::count(path.begin(), path.end(), '\\') <= 6;) {
        path += d + "\\";
        wanted += path + "\td\n";
    }
    CHECK(text == wanted + "R\\left\\\td\nR\\left\\out.log\t7\nR\\ж\t7\n");
    while (::RemoveDirectoryW(deep.c_str())) {  // too deep for the scope
        deep.resize(deep.rfind(L'\\'));
    }
}

TEST_CASE("keys and values are walked in the order of their lines, each type as itself, links not followed") {
    const RegistrySandbox registry;
    registry.MakeKey(L"key\\sub");
    registry.MakeKey(L"key.x");
    registry.MakeKey(L"hidden\\below");
    registry.SetString(L"key", L"", L"default");
    registry.SetString(L"key", L"b\\name", L"%TEMP%");
    registry.SetString(L"key", L"secret", L"text");
    registry.SetValue(L"key", L"open", REG_SZ, L"abc", 4);
    registry.SetValue(L"key", L"list", REG_MULTI_SZ, L"a\0b\0", 10);
    const DWORD number = 0x10;
    registry.SetValue(L"key", L"number", REG_DWORD, &number, sizeof(number));
    const std::string large(2000, 'x');
    registry.SetValue(L"key", L"large", REG_BINARY, large.data(), static_cast<DWORD>(large.size()));
    HKEY link = nullptr;
    REQUIRE(::RegCreateKeyExW(HKEY_LOCAL_MACHINE, registry.Subkey(L"link").c_str(), 0, nullptr, REG_OPTION_CREATE_LINK,
                              KEY_ALL_ACCESS, nullptr, &link, nullptr) == ERROR_SUCCESS);
    const std::wstring target = L"\\Registry\\Machine\\" + registry.Subkey(L"key");
    ::RegSetValueExW(link, L"SymbolicLinkValue", 0, REG_LINK, reinterpret_cast<const BYTE*>(target.c_str()),
                     static_cast<DWORD>(target.size() * sizeof(wchar_t)));
    ::RegCloseKey(link);

    // The walk takes the native view.
    if (!UnderWow64()) {
        const Exclusions exclusions("R\\hidden\nR\\key\tsec*\n");
        const std::string text = Written(
            L"R", [&](LineWriter& out) { WriteKeys(HKEY_LOCAL_MACHINE, registry.Subkey(), L"R", exclusions, out); });
        CHECK(IsSortedByBytes(text));
        CHECK(text.find("R\\link\\\t\nR\\link\\\tSymbolicLinkValue\tlink \\Registry\\Machine\\Software\\") !=
              std::string::npos);
        CHECK(text.find("R\\link\\sub") == std::string::npos);
        CHECK(text.substr(0, text.find("R\\link\\")) ==
              "R\\\t\nR\\key.x\\\t\nR\\key\\\t\nR\\key\\\t\tsz default\nR\\key\\\tb\\name\tsz %TEMP%\n"
              "R\\key\\\tlarge\tbinary #2000:4cb100005f153a65\nR\\key\\\tlist\tmulti_sz a`0000b`0000\n"
              "R\\key\\\tnumber\tdword 10000000\nR\\key\\\topen\tsz ab`\nR\\key\\sub\\\t\n");
    }
    HKEY opened = nullptr;
    if (::RegOpenKeyExW(HKEY_LOCAL_MACHINE, registry.Subkey(L"link").c_str(), 8, DELETE, &opened) == ERROR_SUCCESS) {
        using DeleteFunction = LONG(NTAPI*)(HANDLE);
        const auto remove = reinterpret_cast<DeleteFunction>(
            reinterpret_cast<void*>(::GetProcAddress(::GetModuleHandleW(L"ntdll.dll"), "NtDeleteKey")));
        remove(opened);
        ::RegCloseKey(opened);
    }
}

TEST_CASE("a merge tells new, gone and changed apart by the names of things") {
    CHECK(Differences("a\\\td\na\\x\t1\nk\\\t\nk\\\tv\tsz 1\n", "a\\\td\na\\x\t2\na\\y\t1\nk\\\t\n") ==
          "*a\\x|+a\\y|-k\\\tv|");
    CHECK(Differences("", "a\t1").ends_with("+a|"));
    CHECK(Differences("a\t1\n", "a\t1").empty());
    CHECK_THROWS_AS(Differences("b\t\na\t\n", "b\t\n"), tools::Failure);
}
