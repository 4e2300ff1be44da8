// The removing exports and the lists that a request becomes.

#include <windows.h>
#include <oleauto.h>

#include <doctest/doctest.h>

#include <utility>
#include <vector>

#include "catalogue/CProducts.h"
#include "removal/embedded_document.h"
#include "removal/notifications.h"
#include "support/recorded_log.h"
#include "support/registry_sandbox.h"
#include "support/script_builder.h"
#include "support/temp_folder.h"

namespace {

std::wstring g_libraryFolder;
DWORD WINAPI AnswerLibraryPath(HMODULE, LPWSTR buffer, DWORD size) {
    ::SetLastError(ERROR_INVALID_HANDLE);
    return g_libraryFolder.empty() ? 0
                                   : ::lstrlenW(::lstrcpynW(buffer, g_libraryFolder.c_str(), static_cast<int>(size)));
}

// A library's folder with the products A, B and C in each of its catalogues, and a document that removes nothing.
class Catalogues {
public:
    explicit Catalogues(const std::wstring& installed, const std::string& execAll = {}) {
        std::string catalogue = "<uninstall_information>" + execAll;
        for (const wchar_t* const name : {L"A", L"B", L"C"}) {
            catalogue += "<product name='" + Utf8(name) + "' file='" + Utf8(name) + ".xml'><v name='v' keypath='" +
                         Utf8(m_sandbox.Path(name)) + "' keyvalue='v'/></product>";
        }
        m_folder.WriteFile(L"products.xml", catalogue + "</uninstall_information>");
        m_folder.WriteFile(L"detection.xml", catalogue + "</uninstall_information>");
        for (const wchar_t name : installed) {
            m_sandbox.SetString(std::wstring(1, name) + L"\\UpdateLocation", L"v", L"",
                                UnderWow64() ? View::Bits64 : View::Default);
        }
        g_libraryFolder = m_folder.Path(L"prodrm.dll");
        Embed(Script({}));
        Notifications::Clear();
        Notifications::readProgress = &::GetProgressPercent;
        log.Clear();
    }

    std::wstring Path(const std::wstring& file) const { return m_folder.Path(file); }

    // What the log holds of one function, in one text without the folder of the library.
    std::string Told(const std::wstring& function) const {
        std::wstring told;
        for (const std::wstring& line : log.Of(function)) {
            told += line + L'|';
        }
        for (std::size_t at = told.find(Path({})); at != std::wstring::npos; at = told.find(Path({}))) {
            told.erase(at, Path({}).size() + 1);
        }
        return Utf8(told);
    }

    RecordedLog log;

private:
    TempFolder m_folder;
    RegistrySandbox m_sandbox;
    ImportPatch m_path{"GetModuleFileNameW", &AnswerLibraryPath};
};

using Wanted = std::vector<std::pair<const wchar_t*, ULONG>>;  // names and types

// An array of products; "!" before the name forces.
class Request {
public:
    explicit Request(const Wanted& products) {
        m_entries.reserve(products.size());
        for (const auto& [name, type] : products) {
            const bool force = name != nullptr && *name == L'!';
            m_entries.push_back({::SysAllocString(force ? name + 1 : name), nullptr, type, nullptr, force ? -1 : 0});
        }
        m_array.cDims = 1;
        m_array.cbElements = sizeof(ProductEntry);
        m_array.pvData = m_entries.data();
        m_array.rgsabound[0] = {static_cast<ULONG>(m_entries.size()), 0};
    }
    ~Request() {
        for (const ProductEntry& entry : m_entries) {
            ::SysFreeString(entry.name);
        }
    }
    Request(const Request&) = delete;
    Request& operator=(const Request&) = delete;

    // Leaves out the first products by moving the lower bound.
    void ReadFrom(ULONG first) {
        m_array.rgsabound[0] = {static_cast<ULONG>(m_entries.size()) - first, static_cast<LONG>(first)};
    }
    const ProductEntry* First() const { return m_entries.data(); }

    bool Run() {
        restart = true;
        return ::UninstallProducts(&m_array, &restart, &Notifications::Hear);
    }

    bool restart = false;

private:
    std::vector<ProductEntry> m_entries;
    SAFEARRAY m_array = {};
};

// The lines of a run with these lists; `checked` is one script, or none.
std::string Lists(const std::string& removed, const std::string& checked = {}) {
    return "16 UNINSTALL LIST : |16 " + removed + "|16 CHECK LIST : |" +
           (checked.empty() ? checked : "16 \"intern\\" + checked + "\"|");
}

}  // namespace

TEST_CASE("a request becomes what is removed and what is asked") {
    const std::string nothing = "16 Nothing to uninstall|";
    const std::string noneInstalled =
        "16 There are zero installed products and you try to uninstall zero force products|";
    struct {
        Wanted request;
        const wchar_t* installed;
        std::string told;
        std::string execAll = {};
    } const rows[] = {
        {{{L"!B", 1}}, L"AB", Lists("\"B\", ", "A.xml")},
        {{{L"A", 1}}, L"AC", Lists("\"A\", ", "C.xml")},
        // The last of the family takes the catalogue with it, forced names or not, unless the catalogue says false.
        {{{L"!X", 1}, {L"B", 1}}, L"B", Lists("\"B\", \"A\", \"C\", ")},
        {{{L"B", 1}}, L"B", Lists("\"B\", \"A\", \"C\", "), "<exec_all>False</exec_all>"},
        {{{L"!C", 1}, {L"A", 1}}, L"A", Lists("\"A\", "), "<exec_all>false</exec_all>"},
        {{{L"A", 2}, {L"!C", 2}}, L"A", Lists("\"A\", \"C\", ")},
        {{{L"C", 2}}, L"ABC", Lists("\"C\", ")},
        // Named twice, or named and forced: removed twice.
        {{{L"A", 1}, {L"A", 1}}, L"A", Lists("\"A\", \"A\", ")},
        {{{L"!A", 1}, {L"A", 1}}, L"AB", Lists("\"A\", \"A\", ", "B.xml")},
        {{{L"B", 1}, {L"a", 1}, {L"A", 1}},
         L"AC",
         "4 \"B\" is not installed|4 \"a\" is not installed|" + Lists("\"A\", ", "C.xml")},
        {{{L"!X", 1}}, L"", "4 the uninstall xml file doesn't provide info for \"X\"|" + Lists("")},
        {{{L"A", 1}}, L"", nothing + noneInstalled},
    };
    for (const auto& row : rows) {
        const Catalogues catalogues(row.installed, row.execAll);
        Request request(row.request);
        CHECK(request.Run());
        CHECK(catalogues.Told(L"CProducts::Uninstall") ==
              row.told + (row.told.starts_with(nothing) ? "" : "16 <- true|"));
        CHECK(catalogues.Told(L"UninstallProducts").ends_with("\"|16 <- true|"));
    }
    const Catalogues catalogues(L"");
    bool restart = true;
    CHECK(CProducts().Uninstall({}, {}, 1, &restart, nullptr));
    CHECK(restart);
    CHECK(catalogues.Told(L"CProducts::Uninstall") ==
          nothing + "16 You try to uninstall zero installed products and zero force products|" + noneInstalled);
}

TEST_CASE("one call of UninstallProducts serves one catalogue and never reports a restart") {
    Catalogues catalogues(L"AB");
    Embed(Script(Section(L"disable_driver", L"name='prodrm-none' restart_required='1'")));
    Request request({{L"skipped", 1}, {L"A", 1}, {L"!B", 2}, {nullptr, 7}});
    request.ReadFrom(1);
    CHECK_FALSE(request.Run());
    CHECK_FALSE(request.restart);
    CHECK(catalogues.Told(L"UninstallProducts") ==
          "16 ->|16 Uninstall : \"\"ZN : A\" \"EXT : B force\" \"EXT : \" \"|"
          "4 load products EXT \"products.xml\\detection.xml\" failed|16 <- false|");
    CHECK(Notifications::events == Lines{L"0/0 3", L"13/0 A", L"14/0", L"1/0", L"9/2", L"0/1"});

    // No catalogue is read for entries of no known type; an unreadable array clears the flag all the same.
    Notifications::Clear();
    catalogues.log.Clear();
    Request unknown({{L"A", 0}, {L"B", 3}});
    CHECK(unknown.Run());
    CHECK_FALSE(unknown.restart);
    CHECK(Notifications::events.empty());
    bool restart = true;
    CHECK_FALSE(::UninstallProducts(nullptr, &restart, nullptr));
    CHECK_FALSE(restart);
    CHECK(catalogues.Told(L"UninstallProducts") ==
          "16 ->|16 Uninstall : \"\"EXT : A\" \"EXT : B\" \"|16 <- true|"
          "16 ->|4 SafeArrayAccessData failed 0x80070057|");

    // A catalogue of the family that does not load still leads the other one's path astray.
    ::DeleteFileW(catalogues.Path(L"products.xml").c_str());
    catalogues.log.Clear();
    CHECK_FALSE(request.Run());
    CHECK(catalogues.Told(L"UninstallProducts")
              .ends_with("4 load products ZN \"products.xml\" failed|4 load products "
                         "EXT \"products.xml\\detection.xml\" failed|16 <- false|"));
}

TEST_CASE("UninstallProduct, and what the exports do without a catalogue") {
    Catalogues catalogues(L"A");
    Embed(Script(Section(L"disable_driver", L"name='prodrm-none' restart_required='1'")));
    bool restart = false;
    CHECK(::UninstallProduct(Request({{L"!B", 2}}).First(), &restart, &Notifications::Hear));
    CHECK(restart);
    CHECK(Notifications::events == Lines{L"0/0 3", L"13/0 B", L"14/0", L"1/0", L"9/2"});
    CHECK(catalogues.Told(L"UninstallProduct") == "16 ->|16 Uninstall \"B\"|16 <- true|");
    CHECK(::UninstallProduct(Request({{L"B", 1}}).First(), &restart, nullptr));  // not installed: nothing is tried
    CHECK_FALSE(restart);

    catalogues.log.Clear();
    restart = true;
    CHECK_FALSE(::UninstallProduct(Request({{L"A", 3}}).First(), &restart, nullptr));
    CHECK_FALSE(::UninstallForceAll(3, &restart, nullptr));
    ::DeleteFileW(catalogues.Path(L"detection.xml").c_str());
    CHECK_FALSE(::UninstallProduct(Request({{L"A", 2}}).First(), &restart, nullptr));
    CHECK_FALSE(::UninstallAllInstalled(2, &restart, nullptr));
    g_libraryFolder.clear();
    CHECK_FALSE(::UninstallProduct(Request({{L"A", 3}}).First(), &restart, nullptr));
    CHECK_FALSE(::UninstallForceAll(3, &restart, nullptr));
    CHECK(restart);
    CHECK(catalogues.Told(L"UninstallProduct") ==
          "16 ->|16 Uninstall \"A\"|4 Unknown unistall type 3|"
          "16 ->|16 Uninstall \"A\"|4 load products \"detection.xml\" failed|16 <- false|"
          "16 ->|16 Uninstall \"A\"|4 GetCurrentPath failed|");
    CHECK(catalogues.Told(L"UninstallForceAll") == "4 Unknown unistall type 3|4 GetCurrentPath failed|");
    CHECK(catalogues.Told(L"UninstallAllInstalled") == "4 load products \"detection.xml\" failed|");
}

TEST_CASE("all installed products, and all of the catalogue") {
    struct {
        const wchar_t* installed;
        const char* removed;
    } const rows[] = {{L"", ""}, {L"B", "\"B\", \"A\", \"C\", "}, {L"AC", "\"A\", \"C\", "}};
    for (const auto& row : rows) {
        const Catalogues catalogues(row.installed, "<exec_all>false</exec_all>");
        bool restart = true;
        CHECK(::UninstallAllInstalled(2, &restart, nullptr));
        CHECK_FALSE(restart);
        CHECK(catalogues.Told(L"CProducts::Uninstall") == Lists(row.removed));
        CHECK(catalogues.Told(L"CProducts::UninstallAllInstalled") ==
              "16 -> UninstallAllInstalled|16 <- UninstallAllInstalled true|");
    }

    // The first product asks for a restart, the second fails, and the third is still tried.
    const Catalogues catalogues(L"");
    Notifications::then = [](const std::wstring& event) {
        if (event == L"13/0 A") {
            Embed(Script(Section(L"disable_driver", L"name='prodrm-none' restart_required='1'")));
        } else if (event.starts_with(L"13")) {
            Embed(event == L"13/0 B" ? L"<no document" : Script({}));
        }
    };
    bool restart = false;
    CHECK_FALSE(::UninstallForceAll(1, &restart, &Notifications::Hear));
    CHECK(restart);
    CHECK(Notifications::events ==
          Lines{L"0/0 3", L"13/0 A", L"14/0", L"1/0", L"9/2", L"13/0 B", L"14/0", L"1/1", L"13/0 C", L"14/0", L"1/0"});
    // It speaks of the product at hand; while the catalogue is read it is still the last call's.
    Notifications::progress.erase(Notifications::progress.begin());
    CHECK(Notifications::progress == std::vector<LONG>{0, 0, 30, 100, 0, 0, 0, 0, 0, 30});
    CHECK(::GetProgressPercent() == 30);
    CHECK(catalogues.Told(L"CProducts::UninstallForceAll") == "16 -> UninstallForceAll|16 <- UninstallForceAll false|");
    CHECK(catalogues.Told(L"UninstallForceAll").empty());
}
