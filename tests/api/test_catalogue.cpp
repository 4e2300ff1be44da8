// How a catalogue is read, and when its products are installed.

#include <windows.h>
#include <doctest/doctest.h>

#include "api/catalogues.h"
#include "catalogue/CProducts.h"
#include "foundation/dom.h"
#include "operations/registry_faults.h"
#include "support/com_scope.h"
#include "support/programs.h"

namespace {

// Loads the text as a catalogue's file.
bool Load(const Catalogues& bench, const std::wstring& text, CProducts& products, LONG type = 1) {
    Notifications::Clear(nullptr);
    const std::wstring file = bench.folder.WriteFile(L"c.xml", Utf8(bench.names.Real(text)));
    return products.Load(file, type, &Notifications::Hear);
}

// The one product "P", with these versions.
CProduct ProductOf(const Catalogues& bench, const std::wstring& versions, LONG type = 1,
                   const std::wstring& file = L"p.xml") {
    CProducts products;
    REQUIRE(Load(bench,
                 L"<uninstall_information><product name='P' file='" + file + L"'>" + versions +
                     L"</product></uninstall_information>",
                 products, type));
    return products.Products()[0];
}

std::wstring KeyPathOf(const Catalogues& bench, const std::wstring& version) {
    return Replaced(ProductOf(bench, version).Versions()[0].KeyPath(),
                    L"HKEY_LOCAL_MACHINE\\Software\\Microsoft\\Windows\\CurrentVersion\\Uninstall\\", L"LIST:");
}

}  // namespace

TEST_CASE("a catalogue loads in document order, or is refused with its lines and its event") {
    const ComScope com;
    Catalogues bench;
    // Columns: content, event, names, lines between the first and the last.
    for (const Lines& row : Rows(LR"(
<ROOT/> | 0/0 | |
<ROOT><!--c--><unknown name='x'/><Product/><?pi?>text</ROOT> | 0/0 | |
<ROOT><product name='P' file='p.xml'/><product name='A' file=''/></ROOT> | 0/0 2 | P A | I CProduct::Load: -> / I CProduct::Load: Load product "P" / I CProduct::Load: file : "p.xml" / I CProduct::Load: <- success product "P" / I CProduct::Load: -> / I CProduct::Load: Load product "A" / I CProduct::Load: file : "" / I CProduct::Load: <- success product "A"
<ROOT><product file='p.xml'/></ROOT> | 0/2 | | I CProduct::Load: -> / E CProduct::Load: failed load product attribute "name"
<ROOT><product name='P'/></ROOT> | 0/2 | | I CProduct::Load: -> / I CProduct::Load: Load product "P" / E CProduct::Load: failed load product attribute "file"
<ROOT><product name='P' file='p.xml'><v name='v' id='i'/><!--c--></product></ROOT> | 0/2 | | I CProduct::Load: -> / I CProduct::Load: Load product "P" / I CProduct::Load: file : "p.xml" / E CProductVersion::Load: failed get attribute "name" / E CProduct::Load: failed load product version for product "P" / E CProduct::Load: <- failed product "P"
<ROOT><product name='P' file='p.xml'><v name='v' keypath='HKLM\x'/></product></ROOT> | 0/2 | | I CProduct::Load: -> / I CProduct::Load: Load product "P" / I CProduct::Load: file : "p.xml" / W CProductVersion::Load: failed get attribute "id" for version product = v / E CProductVersion::Load: failed get attribute "keyvalue" for version product = v / E CProduct::Load: failed load product version for product "P" / E CProduct::Load: <- failed product "P"
<ROOT> | 0/1 | | E CProducts::Load: load "DIR\c.xml" failed 0x1
)",
                                 4)) {
        INFO(Utf8(row[0]));
        bench.log.Clear();
        CProducts catalogue;
        const bool loaded = row[1].starts_with(L"0/0");
        CHECK(Load(bench, Replaced(row[0], L"ROOT", L"uninstall_information"), catalogue) == loaded);
        CHECK(Notifications::Heard() == row[1]);
        Lines lines = bench.log.Texts();
        std::erase_if(lines, [](const std::wstring& line) { return line.find(L"GetNodeAttribute") != line.npos; });
        const std::wstring end = loaded             ? L"I CProducts::Load: <-success \"DIR\\c.xml\""
                                 : row[1] == L"0/1" ? L""
                                                    : L"E CProducts::Load: failed load product / "
                                                      L"E CProducts::Load: <-failed \"DIR\\c.xml\"";
        Lines expected = {L"I CProducts::Load: ->file : \"DIR\\c.xml\"", row[3], end};
        std::erase(expected, L"");
        CHECK(bench.names.Nick(Joined(lines)) == Joined(expected));
        std::wstring found;
        for (const CProduct& product : catalogue.Products()) {
            found += product.Name() + L' ';
        }
        CHECK(Split(found, L'|')[0] == row[2]);
    }
}

TEST_CASE("loading appends, keeps what a bad product left and names scripts by the catalogue's type") {
    const ComScope com;
    const Catalogues bench;
    const std::wstring good =
        L"<uninstall_information><product name='Z' file='z.xml'/><x/><product name='A' file='..\\a.xml'/>"
        L"</uninstall_information>";
    CProducts catalogue;
    CHECK(Load(bench, good, catalogue));
    CHECK(Load(bench, good, catalogue, 2));
    CHECK(Notifications::Heard() == L"0/0 4");
    CHECK_FALSE(Load(bench, L"<uninstall_information><product name='K' file=''/><product/></uninstall_information>",
                     catalogue, 7));
    CHECK(Notifications::Heard() == L"0/2");
    Lines files;
    for (const CProduct& product : catalogue.Products()) {
        files.push_back(product.Name() + L' ' + product.File());
    }
    CHECK(
        bench.names.Nick(Joined(files)) ==
        LR"(Z DIR\intern\z.xml / A DIR\intern\..\a.xml / Z DIR\extern\z.xml / A DIR\extern\..\a.xml / K DIR\extern\)");
}

namespace {

const Catalogues* g_bench = nullptr;

LONG WINAPI ReportCrash(EXCEPTION_POINTERS*) {
    const bool told = Notifications::Heard() == L"0/2" &&
                      g_bench->Told(L"CProducts::Load") ==
                          LR"(I ->file : "DIR\c.xml" / E failed load "uninstall_information" node 0x1)"
                          LR"( / E failed "DIR\c.xml")";
    // The first ends the process with the exception's code.
    return told ? EXCEPTION_EXECUTE_HANDLER : (::ExitProcess(1), 0);
}

}  // namespace

// Run by the test below in a process of its own, which reports when it comes down.
TEST_CASE("child: load a catalogue without its root element" * doctest::skip()) {
    const ComScope com;
    const Catalogues bench;
    g_bench = &bench;
    ::SetUnhandledExceptionFilter(&ReportCrash);
    CProducts catalogue;
    Load(bench, L"<uninstall_informations/>", catalogue);
}

TEST_CASE("a catalogue without its root element brings the process down after the report") {
    CHECK(RunChild(L"child:*without*root*") == NullReadCode());
}

TEST_CASE("the order of a version's attributes decides what it means, and its parameters keep their order") {
    const ComScope com;
    Catalogues bench;
    const UninstallEntry entry(L"prodrm-found", View::Default);
    entry.Name(L"Prodrm Found");
    const std::wstring noId = L"W failed get attribute \"id\" for version product = v";
    // Columns: attributes, key path, warnings of the missing mark, whether both views were searched.
    for (const Lines& row : Rows(LR"(
id='i' prodName='Prodrm Found' keypath='HKLM\x' | LIST:i | |
id='' | LIST: | |
prodName='Prodrm Found' keypath='HKLM\x' | LIST:prodrm-found | 1 |
prodName='prodrm found' keypath='HKLM\x' keyvalue='y' | HKLM\x\UpdateLocation | 1 | searched
prodName='none' | | 2 | searched
keyvalue='y' | | 2 |
keypath='HKLM\x\' keyvalue='' | HKLM\x\\UpdateLocation | 1 |
)",
                                 4)) {
        INFO(Utf8(row[0]));
        bench.log.Clear();
        CHECK(KeyPathOf(bench, L"<v name='v' " + row[0] + L"/>") == row[1]);
        CHECK(bench.Told(L"CProductVersion::Load") == (row[2] == L"2"   ? noId + L" / " + noId
                                                       : row[2] == L"1" ? noId
                                                                        : L""));
        const std::wstring tried = UnderWow64() ? L"I try KEY_WOW64_64KEY" : L"I try KEY_WOW64_32KEY";
        CHECK(bench.Told(L"CProductVersion::SearchForProductCode") == (row[3].empty() ? L"" : tried));
    }
    const CProduct product = ProductOf(bench,
                                       L"<v name='v' id='i'><b>2</b><a>1</a><B>x</B><a/><a>0</a><b> 1 <c>3</c></b>"
                                       L"<!--note--><\u044F>y</\u044F></v>");
    const CProductVersion::Params expected = {
        {L"#comment", {L"note"}}, {L"B", {L"x"}}, {L"a", {L"1", L"0"}}, {L"b", {L"2", L"1 3"}}, {L"\u044F", {L"y"}}};
    CHECK((product.Versions()[0].Parameters() == expected));
}

TEST_CASE("DisplayName is compared exactly, up to 126 characters, whatever its type") {
    const std::wstring longest(126, L'n');
    const std::wstring nul(1, L'\0');
    const struct {
        std::wstring stored;
        DWORD type;
        std::wstring wanted;
        bool found;
    } rows[] = {
        {longest + nul, REG_SZ, longest, true},
        {longest + L"n" + nul, REG_SZ, longest + L"n", false},
        {longest + L"n" + nul, REG_SZ, longest, false},
        {L"Prodrm Name", REG_SZ, L"Prodrm Name", true},  // unterminated
        {L"Prodrm Name" + nul, REG_DWORD, L"Prodrm Name", true},
        {L"Prodrm Name" + nul + L"more" + nul, REG_MULTI_SZ, L"Prodrm Name", true},
        {L"%Prodrm%" + nul, REG_EXPAND_SZ, L"%Prodrm%", true},
        {L"prodrm name" + nul, REG_SZ, L"Prodrm Name", false},
        {L"Prodrm Name " + nul, REG_SZ, L"Prodrm Name", false},
    };
    const ComScope com;
    const Catalogues bench;
    for (const auto& row : rows) {
        CAPTURE(row.stored);
        const UninstallEntry entry(L"prodrm-entry", View::Default);
        entry.Name(row.stored, row.type);
        CHECK(KeyPathOf(bench, L"<v name='v' prodName='" + row.wanted + L"'/>") ==
              (row.found ? L"LIST:prodrm-entry" : L""));
    }
}

TEST_CASE("of several matches a plain name displaces, an identifier never does, and no key stays open") {
    const ComScope com;
    const Catalogues bench;
    const Nicknames ids = {{L"ID1", L"{0D3DF4E6-8A43-4A4B-9C66-6B2E5C7A1F01}"},
                           {L"ID2", L"{0D3DF4E6-8A43-4A4B-9C66-6B2E5C7A1F02}"}};
    for (const Lines& row : Rows(LR"(
ID1 ~plain | ~plain
!plain ID1 | !plain
!plain ID1 ~plain | ~plain
ID1 ID2 | ID1
ID1 {no_identifier} | {no_identifier}
)",
                                 2)) {
        std::vector<std::unique_ptr<UninstallEntry>> entries;
        for (const std::wstring& subkey : Split(ids.Real(row[0]), L' ')) {
            entries.push_back(std::make_unique<UninstallEntry>(subkey, View::Default));
            entries.back()->Name(L"Prodrm Several");
        }
        RegistryFaults calls;
        CHECK(ids.Nick(KeyPathOf(bench, L"<v name='v' prodName='Prodrm Several'/>")) == L"LIST:" + row[1]);
        CHECK(calls.openKeys == 0);
    }
    CHECK(bench.Told(L"CProductVersion::SearchForProductCode").empty());

    // The native view is searched only when the default one has no match.
    const UninstallEntry native(L"~native", View::Bits64);
    native.Name(L"Prodrm Views");
    CHECK(KeyPathOf(bench, L"<v name='v' prodName='Prodrm Views'/>") == L"LIST:~native");
    const UninstallEntry own(L"!own", View::Default);
    own.Name(L"Prodrm Views");
    CHECK(KeyPathOf(bench, L"<v name='v' prodName='Prodrm Views'/>") ==
          (UnderWow64() ? L"LIST:!own" : L"LIST:~native"));
}

TEST_CASE("the first test looks in one view, the second in the default one and then in another") {
    const ComScope com;
    Catalogues bench;
    bench.key.SetString(L"both\\UpdateLocation", L"there", L"", View::Bits32);
    bench.key.SetString(L"both\\UpdateLocation", L"there", L"");
    bench.key.SetString(L"in64\\UpdateLocation", L"there", L"");
    bench.key.SetString(L"in32\\UpdateLocation", L"there", L"", View::Bits32);
    const std::wstring tried = UnderWow64() ? L"try KEY_WOW64_64KEY" : L"try KEY_WOW64_32KEY";
    const RegistryFaults calls;
    // Columns: key and value, the first test and the second one: "yes", or their lines.
    for (const Lines& row : Rows(LR"(
both there | yes | yes
both | yes | yes
both gone | I failed RegQueryValueEx "gone" error 0x2 | I failed RegQueryValueEx "gone" error 0x2
none | I failed RegOpenKeyEx "SUB\none\UpdateLocation" error 0x2 | I failed RegOpenKeyEx (OS redirect) "SUB\none\UpdateLocation" error 0x2 / I TRY / I failed RegOpenKeyEx "SUB\none\UpdateLocation" error 0x2
64:in64 there | yes | yes / I failed RegOpenKeyEx (OS redirect) "SUB\in64\UpdateLocation" error 0x2 / I TRY / I success
// After the second try the value is asked for as after the first one.
64:in64 gone | I failed RegQueryValueEx "gone" error 0x2 | I failed RegOpenKeyEx (OS redirect) "SUB\in64\UpdateLocation" error 0x2 / I TRY / I success / I failed RegQueryValueEx "gone" error 0x2
64:in32 there | I failed RegOpenKeyEx "SUB\in32\UpdateLocation" error 0x2 | yes
)",
                                 3)) {
        if (row[0].starts_with(L"64:") && !UnderWow64()) {
            continue;
        }
        INFO(Utf8(row[0]));
        Lines mark = Split(row[0].substr(row[0].find(L':') + 1), L' ');
        mark.resize(2);
        const CProduct product =
            ProductOf(bench, L"<v name='v' keypath='KEY\\" + mark[0] + L"' keyvalue='" + mark[1] + L"'/>");
        const CProductVersion& version = product.Versions()[0];
        bench.log.Clear();
        const auto told = [&](bool found, const wchar_t* function) {
            Lines lines = bench.log.Of(function);
            lines.insert(lines.begin(), found ? 1 : 0, L"yes");
            return Replaced(Replaced(Joined(lines), bench.key.Subkey(), L"SUB"), tried, L"TRY");
        };
        CHECK(told(version.IsInstalled(), L"CProductVersion::IsInstalled") == row[1]);
        CHECK(told(version.IsInstalled2(), L"CProductVersion::IsInstalled2") == row[2]);
        CHECK(calls.openKeys == 0);
    }
}

TEST_CASE("a family product goes by the first test, a foreign one by any test and by its script") {
    const ComScope com;
    Catalogues bench;
    bench.key.SetString(L"in64\\UpdateLocation", L"v", L"");
    bench.key.SetString(L"in32\\UpdateLocation", L"v", L"", View::Bits32);
    const std::string found = Utf8(Script(L"<s op_code='kill_process' minimum_score='1'><k/></s>"));
    bench.folder.WriteFile(L"intern\\yes.xml", found);
    bench.folder.WriteFile(L"extern\\yes.xml", found);
    bench.folder.WriteFile(L"extern\\no.xml", Utf8(Script(L"")));
    // Columns: keys of the versions, script, type, whether it is installed, and the tests of the versions that found
    // nothing and the script, in their order.
    for (const Lines& row : Rows(LR"(
64:none in64 none | no | 1 | yes | 1 2 2
32:none in64 none | no | 1 | yes | 1 2
64:none in32 | yes | 1 | | 1 1 2
none | yes | 1 | | 1 2
none | yes | 2 | yes | 1 2 script
none | no | 2 | | 1 2 script
 | yes | 2 | yes | script
64:in64 | gone | 2 | yes | 2 script
64:in32 | no | 2 | yes | 1 script
none | yes | 3 | | 1 2
 | yes | 1 | |
)",
                                 5)) {
        if (row[0].starts_with(UnderWow64() ? L"32:" : L"64:")) {
            continue;
        }
        INFO(Utf8(Joined(row)));
        std::wstring versions;
        for (const std::wstring& mark : Split(row[0].substr(row[0].find(L':') + 1), L' ')) {
            versions += mark.empty() ? L"" : L"<v name='v' keypath='KEY\\" + mark + L"' keyvalue='v'/>";
        }
        const LONG type = row[2][0] - L'0';
        const CProduct product = ProductOf(bench, versions, type, row[1] + L".xml");
        bench.log.Clear();
        CHECK(product.IsInstalled(type) == (row[3] == L"yes"));
        Lines order;
        for (const std::wstring& line : bench.log.Texts()) {
            if (line.starts_with(L"I CProductVersion::IsInstalled: failed RegOpenKeyEx")) {
                order.push_back(L"1");
            } else if (line.find(L"(OS redirect)") != line.npos) {
                order.push_back(L"2");
            } else if (line.starts_with(L"I CProductInstalled::Process: ->\"")) {
                order.push_back(L"script");
            }
        }
        CHECK(Joined(order, L" ") == row[4]);
        CHECK(bench.Told(L"CProduct::IsInstalled") ==
              (row[3] == L"yes" ? L"I \"P\" is installed : true" : L"I \"P\" is installed : false"));
    }
}
