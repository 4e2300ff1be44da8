#include <windows.h>
#include <doctest/doctest.h>

#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "catalogue/CProductVersion.h"
#include "foundation/dom.h"
#include "support/com_scope.h"
#include "support/import_patch.h"
#include "support/recorded_log.h"
#include "support/registry_sandbox.h"
#include "support/show_text.h"

namespace {

using Lines = std::vector<std::wstring>;

constexpr wchar_t kUninstall[] = L"Software\\Microsoft\\Windows\\CurrentVersion\\Uninstall\\";
constexpr wchar_t kFirstId[] = L"{0D3DF4E6-8A43-4A4B-9C66-6B2E5C7A1F01}";
constexpr wchar_t kSecondId[] = L"{0D3DF4E6-8A43-4A4B-9C66-6B2E5C7A1F02}";

std::wstring KeyPath(const std::wstring& subkey) {
    return L"HKEY_LOCAL_MACHINE\\" + std::wstring(kUninstall) + subkey;
}

// Loads the version element `xml`.
bool Load(const std::wstring& xml, CProductVersion& version) {
    ComPtr<IXMLDOMDocument> document;
    ComPtr<IXMLDOMElement> element;
    HRESULT hr = S_OK;
    REQUIRE(SUCCEEDED(dom::CreateDocument(document)));
    REQUIRE(dom::LoadText(document.Get(), xml.c_str(), hr));
    REQUIRE(document->get_documentElement(element.Put()) == S_OK);
    return version.Load(element.Get());
}

// One entry of the system's list of installed programs.
class UninstallEntry {
public:
    UninstallEntry(std::wstring subkey, View view = View::Default)
        : m_subkey(kUninstall + std::move(subkey)), m_view(view) {
        HKEY key = nullptr;
        REQUIRE(::RegCreateKeyExW(HKEY_LOCAL_MACHINE, m_subkey.c_str(), 0, nullptr, 0,
                                  KEY_ALL_ACCESS | static_cast<REGSAM>(view), nullptr, &key, nullptr) == ERROR_SUCCESS);
        ::RegCloseKey(key);
    }
    ~UninstallEntry() { RemoveKeyTree(HKEY_LOCAL_MACHINE, m_subkey, m_view); }
    UninstallEntry(const UninstallEntry&) = delete;
    UninstallEntry& operator=(const UninstallEntry&) = delete;

    // `units` characters of `name`, the terminator among them or not.
    const UninstallEntry& Name(const std::wstring& name, std::size_t units, DWORD type = REG_SZ) const {
        HKEY key = nullptr;
        ::RegOpenKeyExW(HKEY_LOCAL_MACHINE, m_subkey.c_str(), 0, KEY_ALL_ACCESS | static_cast<REGSAM>(m_view), &key);
        ::RegSetValueExW(key, L"DisplayName", 0, type, reinterpret_cast<const BYTE*>(name.c_str()),
                         static_cast<DWORD>(units * sizeof(wchar_t)));
        ::RegCloseKey(key);
        return *this;
    }
    const UninstallEntry& Name(const std::wstring& name) const { return Name(name, name.size() + 1); }

private:
    std::wstring m_subkey;
    View m_view;
};

int g_openKeys = 0;
decltype(&::RegOpenKeyExW) g_openKey = nullptr;
decltype(&::RegCloseKey) g_closeKey = nullptr;
LONG WINAPI CountOpen(HKEY hive, LPCWSTR subkey, DWORD options, REGSAM access, HKEY* key) {
    const LONG error = g_openKey(hive, subkey, options, access, key);
    g_openKeys += error == ERROR_SUCCESS ? 1 : 0;
    return error;
}
LONG WINAPI CountClose(HKEY key) {
    --g_openKeys;
    return g_closeKey(key);
}

}  // namespace

TEST_CASE("the order of a version's attributes decides what it means") {
    const std::wstring noId = L"8 failed get attribute \"id\" for version product = v";
    const std::wstring tried = UnderWow64() ? L"16 try KEY_WOW64_64KEY" : L"16 try KEY_WOW64_32KEY";
    const struct {
        const wchar_t* xml;
        bool loaded;
        std::wstring keyPath;
        Lines lines;
        bool searched = false;
    } rows[] = {
        {L"<v id='i'/>", false, L"", {L"4 failed get attribute \"name\""}},
        {L"<v name='v' id='i' prodName='Prodrm Found' keypath='HKLM\\x'/>", true, KeyPath(L"i"), {}},
        {L"<v name='v' id=''/>", true, KeyPath(L""), {}},
        {L"<v name='v' prodName='Prodrm Found' keypath='HKLM\\x'/>", true, KeyPath(L"prodrm-found"), {noId}},
        {L"<v name='v' prodName='prodrm found' keypath='HKLM\\x' keyvalue='y'/>",
         true,
         L"HKLM\\x\\UpdateLocation",
         {noId},
         true},
        {L"<v name='v' prodName='none'/>", true, L"", {noId, noId}, true},
        {L"<v name='v'/>", true, L"", {noId, noId}},
        {L"<v name='v' keyvalue='y'/>", true, L"", {noId, noId}},
        {L"<v name='v' keypath='HKLM\\x\\' keyvalue=''/>", true, L"HKLM\\x\\\\UpdateLocation", {noId}},
    };
    const ComScope com;
    const UninstallEntry entry(L"prodrm-found");
    entry.Name(L"Prodrm Found");
    for (const auto& row : rows) {
        const RecordedLog log;
        CProductVersion version;
        CHECK(Load(row.xml, version) == row.loaded);
        CHECK(version.KeyPath() == row.keyPath);
        CHECK(log.Of(L"CProductVersion::Load") == row.lines);
        CHECK(log.Of(L"CProductVersion::SearchForProductCode") == (row.searched ? Lines{tried} : Lines{}));
    }
}

TEST_CASE("parameters keep document order below keys sorted by code unit") {
    const ComScope com;
    CProductVersion version;
    CHECK(Load(
        L"<v name='v' id='i'><b>2</b><a>1</a><B>x</B><a/><a>0</a><b> 1 <c>3</c></b><!--note--><\u044F>y</\u044F></v>",
        version));
    const CProductVersion::Params expected = {
        {L"#comment", {L"note"}}, {L"B", {L"x"}}, {L"a", {L"1", L"0"}}, {L"b", {L"2", L"1 3"}}, {L"\u044F", {L"y"}}};
    CHECK((version.Parameters() == expected));
}

TEST_CASE("DisplayName is compared exactly, up to 126 characters, whatever its type") {
    const std::wstring longest(126, L'n');
    const std::wstring name = L"Prodrm Name";
    const struct {
        std::wstring stored;
        std::size_t units;
        DWORD type;
        std::wstring wanted;
        bool found;
    } rows[] = {
        {longest, 127, REG_SZ, longest, true},
        {longest + L"n", 128, REG_SZ, longest + L"n", false},
        {longest + L"n", 128, REG_SZ, longest, false},
        {name, name.size(), REG_SZ, name, true},  // unterminated
        {name, name.size() + 1, REG_BINARY, name, true},
        {name, name.size() + 1, REG_DWORD, name, true},
        {name + L'\0' + L"more" + L'\0', name.size() + 7, REG_MULTI_SZ, name, true},
        {L"%Prodrm%", 9, REG_EXPAND_SZ, L"%Prodrm%", true},
        {L"prodrm name", 12, REG_SZ, name, false},
        {name + L" ", name.size() + 2, REG_SZ, name, false},
    };
    const ComScope com;
    for (const auto& row : rows) {
        CAPTURE(row.stored);
        const UninstallEntry entry(L"prodrm-entry");
        entry.Name(row.stored, row.units, row.type);
        CProductVersion version;
        CHECK(Load(L"<v name='v' prodName='" + row.wanted + L"'/>", version));
        CHECK(version.KeyPath() == (row.found ? KeyPath(L"prodrm-entry") : L""));
    }
}

TEST_CASE("of several matches a plain name displaces, an identifier never does, and no key stays open") {
    const struct {
        Lines subkeys;
        std::wstring winner;
    } rows[] = {
        {{kFirstId, L"~plain"}, L"~plain"},
        {{L"!plain", kFirstId}, L"!plain"},
        {{L"!plain", kFirstId, L"~plain"}, L"~plain"},
        {{kFirstId, kSecondId}, kFirstId},
        {{kFirstId, L"{no identifier}"}, L"{no identifier}"},
    };
    const ComScope com;
    const ImportPatch open("RegOpenKeyExW", &CountOpen);
    const ImportPatch close("RegCloseKey", &CountClose);
    g_openKey = open.Original<decltype(g_openKey)>();
    g_closeKey = close.Original<decltype(g_closeKey)>();
    for (const auto& row : rows) {
        std::vector<std::unique_ptr<UninstallEntry>> entries;
        for (const std::wstring& subkey : row.subkeys) {
            entries.push_back(std::make_unique<UninstallEntry>(subkey));
            entries.back()->Name(L"Prodrm Several");
        }
        const RecordedLog log;
        CProductVersion version;
        g_openKeys = 0;
        CHECK(Load(L"<v name='v' prodName='Prodrm Several'/>", version));
        CHECK(g_openKeys == 0);
        CHECK(version.KeyPath() == KeyPath(row.winner));
        CHECK(log.Of(L"CProductVersion::SearchForProductCode").empty());
    }
}

TEST_CASE("the native view is searched only when the default one has no match") {
    const ComScope com;
    const UninstallEntry native(L"~native", View::Bits64);
    native.Name(L"Prodrm Views");
    CProductVersion version;
    CHECK(Load(L"<v name='v' prodName='Prodrm Views'/>", version));
    CHECK(version.KeyPath() == KeyPath(L"~native"));
    const UninstallEntry own(L"!own");
    own.Name(L"Prodrm Views");
    CProductVersion again;
    CHECK(Load(L"<v name='v' prodName='Prodrm Views'/>", again));
    CHECK(again.KeyPath() == KeyPath(UnderWow64() ? L"!own" : L"~native"));
}
