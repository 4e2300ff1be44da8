// The three listing exports: what they list, their arrays, and the COM rule.

#include <windows.h>
#include <oleauto.h>
#include <prodrm.h>

#include <doctest/doctest.h>

#include <utility>

#include "api/catalogues.h"
#include "support/programs.h"

namespace {

using Export = decltype(&::GetProducts);

SAFEARRAY* const kUntouched = reinterpret_cast<SAFEARRAY*>(0xDEADBEEF);

// What an export asks of COM and of the arrays, in order. One call of `failing` fails, the one that brings `before` to
// nothing; an access is ended first.
class WatchedCalls {
public:
    explicit WatchedCalls(const std::string& failing = {}, int before = 0) : m_failing(failing), m_before(before) {}

    std::string made;  // one word each
    HRESULT initialized = E_FAIL;

private:
    template <typename Function>
    using Call = Played<Function, WatchedCalls>;

    template <typename Real, typename... Arguments>
    HRESULT Watch(const char* name, const Real& real, Arguments... arguments) {
        made += (made.empty() ? "" : " ") + std::string(name);
        const bool fails = m_failing == name && m_before-- == 0;
        const HRESULT hr = fails && m_failing != "UnaccessData" ? E_OUTOFMEMORY : real.Real(arguments...);
        return fails ? E_OUTOFMEMORY : hr;
    }

    std::string m_failing;
    int m_before;
    Call<decltype(&::CoInitialize)> m_initialize{
        "CoInitialize", [this](void* none) { return initialized = Watch("CoInitialize", m_initialize, none); }};
    Call<decltype(&::CoUninitialize)> m_uninitialize{"CoUninitialize", [this] {
                                                         made += " CoUninitialize";
                                                         m_uninitialize.Real();
                                                     }};
    Call<decltype(&::SafeArrayAllocDescriptor)> m_descriptor{
        "SafeArrayAllocDescriptor",
        [this](UINT count, SAFEARRAY** array) { return Watch("AllocDescriptor", m_descriptor, count, array); }};
    Played<decltype(&::SafeArrayAllocData), struct AllocData> m_alloc{
        "SafeArrayAllocData", [this](SAFEARRAY* array) { return Watch("AllocData", m_alloc, array); }};
    Call<decltype(&::SafeArrayAccessData)> m_access{"SafeArrayAccessData", [this](SAFEARRAY* array, void** data) {
                                                        return Watch("AccessData", m_access, array, data);
                                                    }};
    Played<decltype(&::SafeArrayUnaccessData), struct UnaccessData> m_unaccess{
        "SafeArrayUnaccessData", [this](SAFEARRAY* array) { return Watch("UnaccessData", m_unaccess, array); }};
    Played<decltype(&::SafeArrayDestroyData), struct DestroyData> m_destroy{
        "SafeArrayDestroyData", [this](SAFEARRAY* array) { return Watch("DestroyData", m_destroy, array); }};
    Played<decltype(&::SafeArrayDestroyDescriptor), struct DestroyDescriptor> m_destroyDescriptor{
        "SafeArrayDestroyDescriptor",
        [this](SAFEARRAY* array) { return Watch("DestroyDescriptor", m_destroyDescriptor, array); }};
};

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

// "key key ", or in the extended form "key(name=text,text, name=text,) key() ".
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

// Catalogues of products that are installed by their keys, by their script, in one view, and not at all.
class Installed : public Catalogues {
public:
    Installed() {
        key.SetString(L"both\\UpdateLocation", L"v", L"");
        key.SetString(L"both\\UpdateLocation", L"v", L"", View::Bits32);
        key.MakeKey(L"in32\\UpdateLocation", View::Bits32);
        const Nicknames parts = {{L"BOTH", L"<v name='v' keyvalue='v' keypath='KEY\\both'"},
                                 {L"IN32", L"<v name='v' keyvalue='' keypath='KEY\\in32'/>"},
                                 {L"NONE", L"<v name='v' id='prodrm-none'><p>x</p></v><v name='v'/>"}};
        Write(L"products.xml", parts.Real(L"<product name='Keys' file='k.xml'>BOTH><b>2</b><a>1</a><b>0</b></v>"
                                          L"<v name='v' id='prodrm-id'/>NONE BOTH><c>3</c></v></product>"
                                          L"<product name='Script' file='s.xml'>NONE</product>"
                                          L"<product name='More' file='m.xml'>BOTH/>IN32</product>"
                                          L"<product name='View' file='v.xml'>IN32</product>"));
        Write(L"detection.xml", parts.Real(L"<product name='Script' file='s.xml'>NONE</product><product name='View' "
                                           L"file='v.xml'>IN32</product><product name='None' file='n.xml'/>"));
        const std::wstring script = Script(L"<s op_code='kill_process' minimum_score='1'><k/></s>");
        folder.WriteFile(L"intern\\s.xml", Utf8(script));
        folder.WriteFile(L"extern\\s.xml", Utf8(script));
        log.Clear();
    }

    // The entries as "name type file: guids".
    std::wstring Take(SAFEARRAY* array, bool extended = false) const {
        Lines lines;
        TakeEach<ProductEntry>(array, [&](const ProductEntry& entry) {
            CHECK(entry.force == 0);
            const std::wstring guids = entry.guids != nullptr ? TakeGuids(entry.guids, extended) : L"none ";
            const std::wstring name = Taken(entry.name);
            lines.push_back(name + L' ' + std::to_wstring(entry.type) + L' ' + Taken(entry.file) + L": " + guids);
        });
        return Replaced(Joined(lines, L"/ "), folder.Path() + L'\\', L"");
    }
    std::wstring List(Export list, ULONG flags) const {
        SAFEARRAY* array = kUntouched;
        REQUIRE(list(&array, flags));
        return Take(array, list == &::GetInstalledProductsEx);
    }

private:
    UninstallEntry m_id{L"prodrm-id"};
};

}  // namespace

TEST_CASE("the listings take the catalogues that the two low bits name, the family first") {
    const Installed installed;
    const std::wstring all =
        LR"(Keys 1 intern\k.xml: none / Script 1 intern\s.xml: none / More 1 intern\m.xml: none )"
        LR"(/ View 1 intern\v.xml: none )";
    const std::wstring foreign =
        LR"(Script 2 extern\s.xml: none / View 2 extern\v.xml: none / None 2 extern\n.xml: none )";
    CHECK(installed.List(&::GetProducts, 0).empty());
    CHECK(installed.List(&::GetProducts, 0xFFFFFFFC).empty());
    CHECK(installed.List(&::GetProducts, 0xF0000001) == all);
    CHECK(installed.List(&::GetProducts, 2) == foreign);
    CHECK(installed.List(&::GetProducts, 3) == all + L"/ " + foreign);
    CHECK(installed.Told(L"GetProducts") == L"I -> / I -> / I -> / I -> / I ->");

    // A key that is in the other view alone is told of a product, and does not make one installed.
    const std::wstring view = UnderWow64() ? L"" : LR"(/ View 1 intern\v.xml: UpdateLocation )";
    const std::wstring family =
        LR"(Keys 1 intern\k.xml: UpdateLocation prodrm-id UpdateLocation )"
        LR"(/ More 1 intern\m.xml: UpdateLocation UpdateLocation )" +
        view;
    const std::wstring found = LR"(Script 2 extern\s.xml: none / View 2 extern\v.xml: UpdateLocation )";
    CHECK(installed.List(&::GetInstalledProducts, 0).empty());
    CHECK(installed.List(&::GetInstalledProducts, 1) == family);
    CHECK(installed.List(&::GetInstalledProducts, 0xF3) == family + L"/ " + found);
    CHECK(installed.Told(L"GetInstalledProducts") == L"I -> / I -> / I ->");
    CHECK(installed.Told(L"GetInstalledProductsHelper") == L"I -> / I -> / I ->");

    // The extended form lists a key path once, with the parameters of its first version.
    CHECK(installed.List(&::GetInstalledProductsEx, 3) ==
          LR"(Keys 1 intern\k.xml: UpdateLocation(a=1, b=2,0, ) prodrm-id() )"
          LR"(/ More 1 intern\m.xml: UpdateLocation() UpdateLocation() )" +
              Replaced(view, L"Location", L"Location()") + L"/ " + Replaced(found, L"Location", L"Location()"));
    CHECK(installed.Told(L"GetInstalledProductsEx") == L"I ->");
}

TEST_CASE("a catalogue that does not load fails the listing, which asks for no product and leaves the pointer") {
    // Columns: flags, the broken catalogues, the lines of a listing, the products of which it was asked whether they
    // are installed.
    for (const Lines& row : Rows(LR"(
3 | products.xml detection.xml | E load products ZN "DIR\products.xml" failed / E load products EXT "DIR\detection.xml" failed / I <- false |
3 | products.xml | E load products ZN "DIR\products.xml" failed / I <- false |
3 | detection.xml | E load products EXT "DIR\detection.xml" failed / I <- false | Keys Script More View
2 | detection.xml | E load products EXT "DIR\detection.xml" failed / I <- false |
3 | the folder | E GetCurrentPath failed |
)",
                                 4)) {
        Installed installed;
        for (const std::wstring& file : Split(row[1], L' ')) {
            installed.folder.WriteFile(file, "<uninstall_information><product/></uninstall_information>");
        }
        if (row[1] == L"the folder") {
            installed.folder.Lose();
        }
        SAFEARRAY* array = kUntouched;
        const ULONG flags = row[0][0] - L'0';
        CHECK_FALSE(::GetProducts(&array, flags));
        CHECK(installed.Told(L"GetProducts") == L"I -> / " + row[2]);
        CHECK_FALSE(::GetInstalledProducts(&array, flags));
        CHECK(installed.Told(L"GetInstalledProductsHelper") == L"I -> / " + row[2]);
        CHECK(array == kUntouched);
        std::wstring asked;
        for (const std::wstring& line : installed.log.Of(L"CProduct::IsInstalled")) {
            asked += line.substr(3, line.find(L'"', 3) - 3) + L' ';
        }
        CHECK(Split(asked, L'|')[0] == row[3]);
    }
}

TEST_CASE("an array call that fails undoes what was made; a product is listed without its inner array") {
    Installed installed;
    // Columns: failing call, how many of it succeed before, the export, the calls from there on, the line.
    for (const Lines& row : Rows(LR"(
AllocDescriptor | 0 | GetProducts | AllocDescriptor CoUninitialize
AllocData | 0 | GetProducts | AllocData DestroyDescriptor CoUninitialize
AccessData | 0 | GetProducts | AccessData DestroyData DestroyDescriptor CoUninitialize
UnaccessData | 0 | GetProducts | UnaccessData CoUninitialize
AllocDescriptor | 1 | GetInstalledGuids | AllocDescriptor UnaccessData CoUninitialize
AllocData | 1 | GetInstalledGuids | AllocData DestroyDescriptor UnaccessData CoUninitialize
AccessData | 1 | GetInstalledGuids | AccessData DestroyData DestroyDescriptor UnaccessData CoUninitialize
UnaccessData | 0 | GetInstalledGuids | UnaccessData UnaccessData CoUninitialize
)",
                                 4)) {
        INFO(Utf8(Joined(row)));
        installed.log.Clear();
        SAFEARRAY* array = nullptr;
        const bool isOuter = row[2] == L"GetProducts";
        const bool isEnd = row[0] == L"UnaccessData";
        std::string made;
        {
            const WatchedCalls calls(Utf8(row[0]), row[1][0] - L'0');
            CHECK((isOuter ? &::GetProducts : &::GetInstalledProducts)(&array, 2) == (!isOuter || isEnd));
            made = calls.made;
        }
        CHECK(made.ends_with(Utf8(row[3])));
        const std::wstring line = L"E SafeArray" + row[0] + L" failed 0x8007000e";
        CHECK(installed.Told(row[2]) == (isOuter ? L"I -> / " : L"") + line);
        if (!isOuter || isEnd) {
            CHECK(installed.Take(array).ends_with(isOuter ? L"none "
                                                  : isEnd ? L"UpdateLocation "
                                                          : L"View 2 extern\\v.xml: none "));
        }
    }
    // The extended array of versions tells of its failure, and what is left of it stays in the entry.
    SAFEARRAY* array = nullptr;
    {
        const WatchedCalls calls("AccessData", 1);
        CHECK(::GetInstalledProductsEx(&array, 2));
        CHECK(calls.made.ends_with(" AccessData DestroyData DestroyData UnaccessData CoUninitialize"));
    }
    CHECK(installed.Told(L"AllocSafeArray") == L"E SafeArrayAccessData failed 0x8007000e");
    CHECK(installed.Told(L"GetInstalledGuidsEx") == L"E SafeArrayAllocDescriptor failed 0x8007000e");
    SAFEARRAY*& left = static_cast<ProductEntry*>(array->pvData)[1].guids;
    REQUIRE(left != nullptr);
    CHECK(::SafeArrayDestroyDescriptor(std::exchange(left, nullptr)) == S_OK);
    installed.Take(array);
}

namespace {

struct ComThread {
    DWORD apartment;  // COM as it stands before, MAXDWORD for not at all
    HRESULT initialized;
    bool released;
};

DWORD WINAPI ListOnThread(void* argument) {
    const auto& asked = *static_cast<const ComThread*>(argument);
    if (asked.apartment != MAXDWORD) {
        ::CoInitializeEx(nullptr, asked.apartment);
    }
    SAFEARRAY* array = nullptr;
    const WatchedCalls calls;
    CHECK(::GetProducts(&array, 0));
    CHECK(calls.initialized == asked.initialized);
    CHECK(calls.made == std::string("CoInitialize AllocDescriptor AllocData AccessData UnaccessData") +
                            (asked.released ? " CoUninitialize" : ""));
    return static_cast<DWORD>(::SafeArrayDestroy(array));
}

}  // namespace

TEST_CASE("COM is initialised once and released, as the last act, only after S_OK") {
    ComThread threads[] = {{MAXDWORD, S_OK, true},
                           {COINIT_APARTMENTTHREADED, S_FALSE, false},
                           {COINIT_MULTITHREADED, RPC_E_CHANGED_MODE, false}};
    for (ComThread& thread : threads) {
        const OwnedHandle running(::CreateThread(nullptr, 0, &ListOnThread, &thread, 0, nullptr));
        CHECK(::WaitForSingleObject(running.Get(), 60000) == WAIT_OBJECT_0);
    }
}
