// What GetInstalledProducts and GetInstalledProductsEx list, and the arrays inside of their arrays.

#include <windows.h>
#include <oleauto.h>
#include <prodrm.h>

#include <doctest/doctest.h>

#include <utility>

#include "api/watched_calls.h"
#include "support/library_folder.h"
#include "support/recorded_log.h"
#include "support/registry_sandbox.h"
#include "support/script_builder.h"

namespace {

SAFEARRAY* const kUntouched = reinterpret_cast<SAFEARRAY*>(0xDEADBEEF);

// Frees an array whose elements the host has taken, and checks its shape on the way.
template <typename Element, typename Take>
void TakeEach(SAFEARRAY* array, const Take& take) {
    CHECK(array->cDims == 1);
    CHECK(array->fFeatures == 0);
    CHECK(array->cLocks == 0);
    CHECK(array->rgsabound[0].lLbound == 0);
    REQUIRE(array->cbElements == sizeof(Element));
    for (ULONG index = 0; index < array->rgsabound[0].cElements; ++index) {
        take(static_cast<Element*>(array->pvData)[index]);
    }
    CHECK(::SafeArrayDestroy(array) == S_OK);
}

std::wstring Taken(BSTR text) {
    const std::wstring copy = text;
    ::SysFreeString(text);
    return copy;
}

// "key key", or in the extended form "key(name=text,text, name=text,) key()".
std::wstring TakeGuids(SAFEARRAY* guids, bool extended) {
    std::wstring text;
    if (!extended) {
        TakeEach<BSTR>(guids, [&](BSTR key) { text += Taken(key) + L' '; });
        return text;
    }
    TakeEach<VersionEntry>(guids, [&](const VersionEntry& version) {
        text += Taken(version.key) + L'(';
        TakeEach<ParamEntry>(version.params, [&](const ParamEntry& parameter) {
            text += Taken(parameter.name) + L'=';
            TakeEach<BSTR>(parameter.values, [&](BSTR value) { text += Taken(value) + L','; });
            text += L' ';
        });
        text += L") ";
    });
    return text;
}

// The entries as "name type file: guids".
Lines TakeProducts(SAFEARRAY* array, bool extended) {
    Lines lines;
    TakeEach<ProductEntry>(array, [&](const ProductEntry& entry) {
        CHECK(entry.force == 0);
        const std::wstring guids = entry.guids != nullptr ? TakeGuids(entry.guids, extended) : L"none";
        const std::wstring name = Taken(entry.name);
        lines.push_back(name + L' ' + std::to_wstring(entry.type) + L' ' + Taken(entry.file) + L": " + guids);
    });
    return lines;
}

// A key in the system's list of installed programs, which a catalogue names by "id".
class UninstallKey {
public:
    UninstallKey() {
        HKEY key = nullptr;
        REQUIRE(::RegCreateKeyExW(HKEY_LOCAL_MACHINE, kKey, 0, nullptr, 0,
                                  KEY_ALL_ACCESS | static_cast<REGSAM>(View::Bits64), nullptr, &key,
                                  nullptr) == ERROR_SUCCESS);
        ::RegCloseKey(key);
    }
    ~UninstallKey() { RemoveKeyTree(HKEY_LOCAL_MACHINE, kKey, View::Bits64); }
    UninstallKey(const UninstallKey&) = delete;
    UninstallKey& operator=(const UninstallKey&) = delete;

private:
    static constexpr wchar_t kKey[] = L"Software\\Microsoft\\Windows\\CurrentVersion\\Uninstall\\prodrm-id";
};

// Catalogues of products that are installed by their keys, by their script, in one view, and not at all.
class Installed {
public:
    Installed() {
        m_sandbox.SetString(L"both\\UpdateLocation", L"v", L"", View::Bits64);
        m_sandbox.SetString(L"both\\UpdateLocation", L"v", L"", View::Bits32);
        m_sandbox.MakeKey(L"in32\\UpdateLocation", View::Bits32);
        const std::wstring both = L"<v name='v' keyvalue='v' keypath='" + m_sandbox.Path(L"both") + L"'";
        const std::wstring in32 = L"<v name='v' keyvalue='' keypath='" + m_sandbox.Path(L"in32") + L"'/>";
        const std::wstring none = L"<v name='v' id='prodrm-none'><p>x</p></v><v name='v'/>";
        folder.WriteCatalogue(L"products.xml",
                              Utf8(L"<product name='Keys' file='k.xml'>" + both +
                                   L"><b>2</b><a>1</a><b>0</b></v><v name='v' id='prodrm-id'/>" + none + both +
                                   L"><c>3</c></v></product><product name='Script' file='s.xml'>" + none +
                                   L"</product><product name='More' file='m.xml'>" + both + L"/>" + in32 +
                                   L"</product><product name='View' file='v.xml'>" + in32 + L"</product>"));
        folder.WriteCatalogue(L"detection.xml", Utf8(L"<product name='Script' file='s.xml'>" + none +
                                                     L"</product><product name='View' file='v.xml'>" + in32 +
                                                     L"</product><product name='None' file='n.xml'/>"));
        const std::wstring script = Script(L"<s op_code='kill_process' minimum_score='1'><k/></s>");
        folder.WriteFile(L"intern\\s.xml", Utf8(script));
        folder.WriteFile(L"extern\\s.xml", Utf8(script));
        log.Clear();
    }

    // What the export lists, with the library's folder left out.
    Lines List(ULONG flags, bool extended) const {
        SAFEARRAY* array = kUntouched;
        REQUIRE((extended ? ::GetInstalledProductsEx : ::GetInstalledProducts)(&array, flags));
        Lines lines = TakeProducts(array, extended);
        for (std::wstring& line : lines) {
            line = Replaced(line, folder.Path() + L'\\', L"");
        }
        return lines;
    }

    RecordedLog log;
    LibraryFolder folder;

private:
    RegistrySandbox m_sandbox;
    UninstallKey m_id;
};

Lines Both(Lines lines, const Lines& more) {
    lines.insert(lines.end(), more.begin(), more.end());
    return lines;
}

}  // namespace

TEST_CASE("the installed products of the chosen catalogues, with the key names of the versions found") {
    const Installed installed;
    const std::wstring location = L"UpdateLocation ";
    Lines family = {L"Keys 1 intern\\k.xml: " + location + L"prodrm-id " + location,
                    L"More 1 intern\\m.xml: " + location + location};
    // A key that is in the other view alone is told of a product, and does not make one installed.
    if (!UnderWow64()) {
        family.push_back(L"View 1 intern\\v.xml: " + location);
    }
    const Lines foreign = {L"Script 2 extern\\s.xml: none", L"View 2 extern\\v.xml: " + location};
    CHECK(installed.List(0, false).empty());
    CHECK(installed.List(1, false) == family);
    CHECK(installed.List(2, false) == foreign);
    CHECK(installed.List(0xF3, false) == Both(family, foreign));
    CHECK(installed.log.Of(L"GetInstalledProducts") == Lines(4, L"16 ->"));
    CHECK(installed.log.Of(L"GetInstalledProductsHelper") == Lines(4, L"16 ->"));
}

TEST_CASE("the extended form lists a key path once, with the parameters of its first version") {
    const Installed installed;
    const std::wstring location = L"UpdateLocation() ";
    Lines family = {L"Keys 1 intern\\k.xml: UpdateLocation(a=1, b=2,0, ) prodrm-id() ",
                    L"More 1 intern\\m.xml: " + location + location};
    if (!UnderWow64()) {
        family.push_back(L"View 1 intern\\v.xml: " + location);
    }
    const Lines foreign = {L"Script 2 extern\\s.xml: none", L"View 2 extern\\v.xml: " + location};
    CHECK(installed.List(3, true) == Both(family, foreign));
    CHECK(installed.log.Of(L"GetInstalledProductsEx") == Lines{L"16 ->"});
    CHECK(installed.log.Of(L"GetInstalledProductsHelper") == Lines{L"16 ->"});
}

TEST_CASE("with a catalogue that does not load, no product of the other one is asked for") {
    const struct {
        ULONG flags;
        const wchar_t* broken;
        Lines asked;  // the products that were tested
        Lines lines;
    } rows[] = {
        {3, L"products.xml", {}, {L"4 load products ZN \"products.xml\" failed", L"16 <- false"}},
        {3,
         L"detection.xml",
         {L"Keys", L"Script", L"More", L"View"},
         {L"4 load products EXT \"detection.xml\" failed", L"16 <- false"}},
        {2, L"detection.xml", {}, {L"4 load products EXT \"detection.xml\" failed", L"16 <- false"}},
    };
    for (const auto& row : rows) {
        Installed installed;
        installed.folder.WriteFile(row.broken, "<open>");
        SAFEARRAY* array = kUntouched;
        CHECK_FALSE(::GetInstalledProducts(&array, row.flags));
        CHECK(array == kUntouched);
        Lines lines = {L"16 ->"};
        for (const std::wstring& line : installed.log.Of(L"GetInstalledProductsHelper")) {
            lines.push_back(Replaced(line, installed.folder.Path() + L'\\', L""));
        }
        lines.erase(lines.begin());
        CHECK(lines == Both({L"16 ->"}, row.lines));
        Lines asked;
        for (const std::wstring& line : installed.log.Of(L"CProduct::IsInstalled")) {
            asked.push_back(line.substr(4, line.find(L'"', 4) - 4));
        }
        CHECK(asked == row.asked);
    }
    Installed installed;
    installed.folder.Lose();
    SAFEARRAY* array = kUntouched;
    CHECK_FALSE(::GetInstalledProductsEx(&array, 3));
    CHECK(array == kUntouched);
    CHECK(installed.log.Of(L"GetInstalledProductsHelper") == Lines{L"16 ->", L"4 GetCurrentPath failed"});
}

namespace {

// The array calls of a listing of the foreign products, of which "View" has one version: the outer array's and those
// of the inner ones, from the call that fails on.
std::vector<std::string> CallsFrom(const char* failing, int before, bool extended, SAFEARRAY** array) {
    const WatchedCalls calls(failing, before);
    CHECK((extended ? ::GetInstalledProductsEx : ::GetInstalledProducts)(array, 2));
    std::vector<std::string> made;
    int seen = -1;
    for (const std::string& call : g_calls) {
        seen += call == failing;
        if (seen >= before) {
            made.push_back(call.starts_with("SafeArray") ? call.substr(9) : call);
        }
    }
    return made;
}

ProductEntry& Entry(SAFEARRAY* array, int index) {
    return static_cast<ProductEntry*>(array->pvData)[index];
}

}  // namespace

TEST_CASE("a plain inner array that fails is undone, and its product is listed without it") {
    const struct {
        const char* call;
        std::vector<std::string> calls;
        bool listed;
    } rows[] = {
        {"SafeArrayAllocDescriptor", {"AllocDescriptor", "UnaccessData", "CoUninitialize"}, false},
        {"SafeArrayAllocData", {"AllocData", "DestroyDescriptor", "UnaccessData", "CoUninitialize"}, false},
        {"SafeArrayAccessData",
         {"AccessData", "DestroyData", "DestroyDescriptor", "UnaccessData", "CoUninitialize"},
         false},
        {"SafeArrayUnaccessData", {"UnaccessData", "UnaccessData", "CoUninitialize"}, true},
    };
    Installed installed;
    for (const auto& row : rows) {
        CAPTURE(row.call);
        installed.log.Clear();
        SAFEARRAY* array = nullptr;
        const bool isEnd = std::string(row.call) == "SafeArrayUnaccessData";
        CHECK(CallsFrom(row.call, isEnd ? 0 : 1, false, &array) == row.calls);
        CHECK((Entry(array, 1).guids != nullptr) == row.listed);
        const std::string line = "4 " + std::string(row.call) + " failed 0x8007000e";
        CHECK(installed.log.Of(L"GetInstalledGuids") == Lines{std::wstring(line.begin(), line.end())});
        CHECK(TakeProducts(array, false).size() == 2);
    }
}

TEST_CASE("the extended array of versions tells of its failure, and what is left of it stays in the entry") {
    const Installed installed;
    SAFEARRAY* array = nullptr;
    const std::vector<std::string> calls = {"AccessData", "DestroyData", "DestroyData", "UnaccessData",
                                            "CoUninitialize"};
    CHECK(CallsFrom("SafeArrayAccessData", 1, true, &array) == calls);
    CHECK(installed.log.Of(L"AllocSafeArray") == Lines{L"4 SafeArrayAccessData failed 0x8007000e"});
    CHECK(installed.log.Of(L"GetInstalledGuidsEx") == Lines{L"4 SafeArrayAllocDescriptor failed 0x8007000e"});
    REQUIRE(Entry(array, 1).guids != nullptr);
    CHECK(::SafeArrayDestroyDescriptor(std::exchange(Entry(array, 1).guids, nullptr)) == S_OK);
    CHECK(TakeProducts(array, true).size() == 2);
}
