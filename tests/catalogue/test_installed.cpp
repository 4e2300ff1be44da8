// Whether a version's mark is there, in both views, and what makes a product installed.

#include <windows.h>
#include <prodrm.h>

#include <doctest/doctest.h>

#include "catalogue/CProduct.h"
#include "foundation/dom.h"
#include "operations/registry_faults.h"
#include "support/com_scope.h"
#include "support/library_folder.h"
#include "support/recorded_log.h"
#include "support/registry_sandbox.h"
#include "support/script_builder.h"

namespace {

// The versions as elements of one product, whose script is `file`.
CProduct Load(const std::wstring& versions, LONG type = UNINSTALL_TYPE_FAMILY, const std::wstring& file = L"none.xml") {
    ComPtr<IXMLDOMDocument> document;
    ComPtr<IXMLDOMElement> element;
    HRESULT hr = S_OK;
    REQUIRE(SUCCEEDED(dom::CreateDocument(document)));
    REQUIRE(dom::LoadText(document.Get(), (L"<p name='P' file='" + file + L"'>" + versions + L"</p>").c_str(), hr));
    REQUIRE(document->get_documentElement(element.Put()) == S_OK);
    CProduct product;
    REQUIRE(product.Load(element.Get(), type));
    return product;
}

std::wstring Keyed(const std::wstring& path, const std::wstring& value = {}) {
    return L"<v name='v' keypath='" + path + L"' keyvalue='" + value + L"'/>";
}

Lines Joined(Lines lines, const Lines& more) {
    lines.insert(lines.end(), more.begin(), more.end());
    return lines;
}

const std::wstring kFirst = L"CProductVersion::IsInstalled";
const std::wstring kSecond = L"CProductVersion::IsInstalled2";

}  // namespace

TEST_CASE("the first test looks in one view, the second in the default one and then in another") {
    const bool wow64 = UnderWow64();
    const RegistrySandbox sandbox;
    sandbox.SetString(L"both\\UpdateLocation", L"there", L"", View::Bits32);
    sandbox.SetString(L"both\\UpdateLocation", L"there", L"", View::Bits64);
    sandbox.SetString(L"in64\\UpdateLocation", L"there", L"", View::Bits64);
    sandbox.SetString(L"in32\\UpdateLocation", L"there", L"", View::Bits32);
    const auto missing = [](const std::wstring& subkey) {
        return L"16 failed RegOpenKeyEx \"" + subkey + L"\\UpdateLocation\" error 0x2";
    };
    const auto redirected = [&](const std::wstring& subkey) {
        return Lines{L"16 failed RegOpenKeyEx (OS redirect) \"" + subkey + L"\\UpdateLocation\" error 0x2",
                     wow64 ? L"16 try KEY_WOW64_64KEY" : L"16 try KEY_WOW64_32KEY"};
    };
    const Lines noValue = {L"16 failed RegQueryValueEx \"gone\" error 0x2"};
    const Lines inNone = {missing(sandbox.Subkey(L"none"))};
    const std::wstring in64 = sandbox.Subkey(L"in64");
    const struct {
        const wchar_t* key;
        const wchar_t* value;
        bool first;
        Lines firstLines;
        bool second;
        Lines secondLines;
    } rows[] = {
        {L"both", L"there", true, {}, true, {}},
        {L"both", L"", true, {}, true, {}},
        {L"both", L"gone", false, noValue, false, noValue},
        {L"none", L"", false, inNone, false, Joined(redirected(sandbox.Subkey(L"none")), inNone)},
        {L"in64", L"there", true, {}, true, wow64 ? Joined(redirected(in64), {L"16 success"}) : Lines{}},
        // After the second try the value is asked for as after the first one.
        {L"in64", L"gone", false, noValue, false,
         wow64 ? Joined(redirected(in64), {L"16 success", noValue[0]}) : noValue},
        {L"in32", L"there", !wow64, wow64 ? Lines{missing(sandbox.Subkey(L"in32"))} : Lines{}, true, {}},
    };
    const ComScope com;
    RecordedLog log;
    const RegistryFaults calls;
    for (const auto& row : rows) {
        CAPTURE(row.key);
        CAPTURE(row.value);
        const CProduct product = Load(Keyed(sandbox.Path(row.key), row.value));
        log.Clear();
        CHECK(product.Versions()[0].IsInstalled() == row.first);
        CHECK(log.Of(kFirst) == row.firstLines);
        CHECK(product.Versions()[0].IsInstalled2() == row.second);
        CHECK(log.Of(kSecond) == row.secondLines);
        CHECK(calls.openKeys == 0);
    }
}

TEST_CASE("a family product goes by the first test, a foreign one by any test and by its script") {
    const RegistrySandbox sandbox;
    sandbox.SetString(L"in64\\UpdateLocation", L"v", L"", View::Bits64);
    sandbox.SetString(L"in32\\UpdateLocation", L"v", L"", View::Bits32);
    RecordedLog log;
    const LibraryFolder folder;
    const std::wstring found = Script(L"<s op_code='kill_process' minimum_score='1'><k/></s>");
    folder.WriteFile(L"intern\\yes.xml", Utf8(found));
    folder.WriteFile(L"extern\\yes.xml", Utf8(found));
    folder.WriteFile(L"extern\\no.xml", Utf8(Script(L"")));
    const std::wstring none = Keyed(sandbox.Path(L"none"));
    const std::wstring in64 = Keyed(sandbox.Path(L"in64"), L"v");
    const std::wstring in32 = Keyed(sandbox.Path(L"in32"), L"v");
    const bool wow64 = UnderWow64();
    const struct {
        std::wstring versions;
        const wchar_t* file;
        LONG type;
        bool installed;
        std::string asked;  // the tests of the versions that found nothing, and the script, in order
    } rows[] = {
        {none + in64 + none, L"no.xml", 1, true, wow64 ? "1 2 2 " : "1 2 "},
        {none + in32, L"yes.xml", 1, !wow64, wow64 ? "1 1 2 " : "1 2 "},
        {none, L"yes.xml", 1, false, "1 2 "},
        {none, L"yes.xml", 2, true, "1 2 script "},
        {none, L"no.xml", 2, false, "1 2 script "},
        {L"", L"yes.xml", 2, true, "script "},
        {in64, L"gone.xml", 2, true, wow64 ? "2 script " : "script "},
        {in32, L"no.xml", 2, true, wow64 ? "1 script " : "script "},
        {none, L"yes.xml", 3, false, "1 2 "},
        {L"", L"yes.xml", 1, false, ""},
    };
    const ComScope com;
    for (const auto& row : rows) {
        CAPTURE(row.versions);
        CAPTURE(row.type);
        const CProduct product = Load(row.versions, row.type, row.file);
        log.Clear();
        CHECK(product.IsInstalled(row.type) == row.installed);
        std::string order;
        for (const LogLine& line : log.Lines()) {
            const bool failed = line.text.starts_with(L"failed RegOpenKeyEx");
            const bool redirected = line.text.find(L"(OS redirect)") != std::wstring::npos;
            order += line.function == kFirst && failed                   ? "1 "
                     : line.function == kSecond && redirected            ? "2 "
                     : line.text.starts_with(L"->\"" + folder.Path(L"")) ? "script "
                                                                         : "";
        }
        CHECK(order == row.asked);
        CHECK(log.Of(L"CProduct::IsInstalled") ==
              Lines{row.installed ? L"16 \"P\" is installed : true" : L"16 \"P\" is installed : false"});
    }
}
