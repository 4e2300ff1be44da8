// The removing exports and the lists that a request becomes.

#include <windows.h>
#include <oleauto.h>

#include <doctest/doctest.h>

#include "api/catalogues.h"
#include "catalogue/CProducts.h"

namespace {

// The products A, B and C in each of the catalogues, and a document that removes nothing.
class Family : public Catalogues {
public:
    explicit Family(const std::wstring& installed, const std::wstring& execAll = {}) {
        std::wstring catalogue = execAll;
        for (const wchar_t name : {L'A', L'B', L'C'}) {
            catalogue +=
                Replaced(L"<product name='#' file='#.xml'><v name='v' keypath='KEY\\#' keyvalue='v'/></product>", L"#",
                         std::wstring(1, name));
        }
        Write(L"products.xml", catalogue);
        Write(L"detection.xml", catalogue);
        for (const wchar_t name : installed) {
            key.SetString(std::wstring(1, name) + L"\\UpdateLocation", L"v", L"");
        }
        Embed(Script({}));
        Notifications::Clear(&::GetProgressPercent);
        log.Clear();
    }
};

// An array of products, from "name type" texts: "!" before the name forces, "?" is a null name. The first `skipped` are
// left out by moving the lower bound.
class Request {
public:
    explicit Request(const std::wstring& products, ULONG skipped = 0) {
        for (const std::wstring& product : Split(products, L' ')) {
            const bool force = product[0] == L'!';
            const std::wstring name = product.substr(force, product.size() - 1 - force);
            m_entries.push_back({name == L"?" ? nullptr : ::SysAllocString(name.c_str()), nullptr,
                                 static_cast<ULONG>(product.back() - L'0'), nullptr, force ? -1 : 0});
        }
        m_array.cDims = 1;
        m_array.cbElements = sizeof(ProductEntry);
        m_array.pvData = m_entries.data();
        m_array.rgsabound[0] = {static_cast<ULONG>(m_entries.size()) - skipped, static_cast<LONG>(skipped)};
    }
    ~Request() {
        for (const ProductEntry& entry : m_entries) {
            ::SysFreeString(entry.name);
        }
    }
    Request(const Request&) = delete;
    Request& operator=(const Request&) = delete;

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

// The lines of a run with these lists of names.
std::wstring ListLines(const std::wstring& removed, const std::wstring& checked) {
    std::wstring list;
    for (const wchar_t name : removed) {
        list += std::wstring(L"\"") + name + L"\", ";
    }
    return L"I UNINSTALL LIST :  / I " + list + L" / I CHECK LIST : " +
           (checked.empty() ? L"" : L" / I \"DIR\\intern\\" + checked + L".xml\"");
}

const std::wstring kRestarting = Script(Section(L"disable_driver", L"name='prodrm-none' restart_required='1'"));

}  // namespace

TEST_CASE("a request becomes what is removed and what is asked") {
    // Columns: request, installed, what is removed, what is asked, lines before; then the catalogue's exec_all. The
    // last of the family takes the catalogue with it, forced names or not, unless the catalogue says false in the end.
    // What is named twice, or named and forced, is removed twice.
    for (const Lines& row : Rows(LR"(
!B1 | AB | B | A
A1 | AC | A | C
!X1 B1 | B | BAC |
B1 | B | BAC | | | <exec_all>False</exec_all>
B1 | B | BAC | | | <exec_all>false</exec_all><exec_all/>
B1 | B | BAC | | | <Exec_all>false</Exec_all>
!C1 A1 | A | A | | | <exec_all>true</exec_all><exec_all><b>fal</b>se</exec_all>
A2 !C2 | A | AC |
C2 | ABC | C |
A1 A1 | A | AA |
!A1 A1 | AB | AA | B
B1 a1 A1 | AC | A | C | E "B" is not installed / E "a" is not installed
!X1 | | | | E the uninstall xml file doesn't provide info for "X"
)",
                                 6)) {
        INFO(Utf8(Joined(row)));
        const Family family(row[1], row[5]);
        Request request(row[0]);
        CHECK(request.Run());
        CHECK(family.Told(L"CProducts::Uninstall") ==
              row[4] + (row[4].empty() ? L"" : L" / ") + ListLines(row[2], row[3]) + L" / I <- true");
        CHECK(family.Told(L"UninstallProducts").ends_with(L"\" / I <- true"));
    }
    const Family family(L"");
    const std::wstring none = L"I There are zero installed products and you try to uninstall zero force products";
    CHECK(Request(L"A1").Run());
    CHECK(family.Told(L"CProducts::Uninstall") == L"I Nothing to uninstall / " + none);
    family.log.Clear();
    bool restart = true;
    CHECK(CProducts().Uninstall({}, {}, 1, &restart, nullptr));
    CHECK(restart);
    CHECK(family.Told(L"CProducts::Uninstall") ==
          L"I Nothing to uninstall / I You try to uninstall zero installed products and zero force products / " + none);
}

TEST_CASE("one call of UninstallProducts serves one catalogue and never reports a restart") {
    Family family(L"AB");
    Embed(kRestarting);
    Request request(L"skipped1 A1 !B2 ?7", 1);
    CHECK_FALSE(request.Run());
    CHECK_FALSE(request.restart);
    CHECK(family.Told(L"UninstallProducts") ==
          LR"(I -> / I Uninstall : ""ZN : A" "EXT : B force" "EXT : " " / )"
          LR"(E load products EXT "DIR\products.xml\detection.xml" failed / I <- false)");
    CHECK(Notifications::Heard() == L"0/0 3, 13/0 A, 14/0, 1/0, 9/2, 0/1");

    // No catalogue is read for entries of no known type; an unreadable array clears the flag all the same.
    Notifications::Clear();
    family.log.Clear();
    Request unknown(L"A0 B3");
    CHECK(unknown.Run());
    CHECK_FALSE(unknown.restart);
    CHECK(Notifications::events.empty());
    bool restart = true;
    CHECK_FALSE(::UninstallProducts(nullptr, &restart, nullptr));
    CHECK_FALSE(restart);
    CHECK(family.Told(L"UninstallProducts") ==
          LR"(I -> / I Uninstall : ""EXT : A" "EXT : B" " / I <- true / )"
          L"I -> / E SafeArrayAccessData failed 0x80070057");

    // A catalogue of the family that does not load still leads the other one's path astray.
    ::DeleteFileW(family.folder.Path(L"products.xml").c_str());
    family.log.Clear();
    CHECK_FALSE(request.Run());
    CHECK(family.Told(L"UninstallProducts")
              .ends_with(LR"(E load products ZN "DIR\products.xml" failed / E load products )"
                         LR"(EXT "DIR\products.xml\detection.xml" failed / I <- false)"));
}

TEST_CASE("UninstallProduct, and what the exports do without a catalogue") {
    Family family(L"A");
    Embed(kRestarting);
    bool restart = false;
    CHECK(::UninstallProduct(Request(L"!B2").First(), &restart, &Notifications::Hear));
    CHECK(restart);
    CHECK(Notifications::Heard() == L"0/0 3, 13/0 B, 14/0, 1/0, 9/2");
    CHECK(family.Told(L"UninstallProduct") == L"I -> / I Uninstall \"B\" / I <- true");
    CHECK(::UninstallProduct(Request(L"B1").First(), &restart, nullptr));  // not installed: nothing is tried
    CHECK_FALSE(restart);

    family.log.Clear();
    restart = true;
    CHECK_FALSE(::UninstallProduct(Request(L"A3").First(), &restart, nullptr));
    CHECK_FALSE(::UninstallForceAll(3, &restart, nullptr));
    ::DeleteFileW(family.folder.Path(L"detection.xml").c_str());
    CHECK_FALSE(::UninstallProduct(Request(L"A2").First(), &restart, nullptr));
    CHECK_FALSE(::UninstallAllInstalled(2, &restart, nullptr));
    family.folder.Lose();
    CHECK_FALSE(::UninstallProduct(Request(L"A3").First(), &restart, nullptr));
    CHECK_FALSE(::UninstallForceAll(3, &restart, nullptr));
    CHECK(restart);
    CHECK(family.Told(L"UninstallProduct") ==
          L"I -> / I Uninstall \"A\" / E Unknown unistall type 3 / "
          L"I -> / I Uninstall \"A\" / E load products \"DIR\\detection.xml\" failed / I <- false / "
          L"I -> / I Uninstall \"A\" / E GetCurrentPath failed");
    CHECK(family.Told(L"UninstallForceAll") == L"E Unknown unistall type 3 / E GetCurrentPath failed");
    CHECK(family.Told(L"UninstallAllInstalled") == L"E load products \"DIR\\detection.xml\" failed");
}

TEST_CASE("all installed products, and all of the catalogue") {
    const std::pair<const wchar_t*, const wchar_t*> rows[] = {{L"", L""}, {L"B", L"BAC"}, {L"AC", L"AC"}};
    for (const auto& [installed, removed] : rows) {
        const Family family(installed, L"<exec_all>false</exec_all>");
        bool restart = true;
        CHECK(::UninstallAllInstalled(2, &restart, nullptr));
        CHECK_FALSE(restart);
        CHECK(family.Told(L"CProducts::Uninstall") == ListLines(removed, L""));
        CHECK(family.Told(L"CProducts::UninstallAllInstalled") ==
              L"I -> UninstallAllInstalled / I <- UninstallAllInstalled true");
    }

    // The first product asks for a restart, the second fails, and the third is still tried.
    const Family family(L"");
    Notifications::then = [](const std::wstring& event) {
        if (event.starts_with(L"13")) {
            Embed(event == L"13/0 A" ? kRestarting : event == L"13/0 B" ? L"<no document" : Script({}));
        }
    };
    bool restart = false;
    CHECK_FALSE(::UninstallForceAll(1, &restart, &Notifications::Hear));
    CHECK(restart);
    CHECK(Notifications::Heard() == L"0/0 3, 13/0 A, 14/0, 1/0, 9/2, 13/0 B, 14/0, 1/1, 13/0 C, 14/0, 1/0");
    // It speaks of the product at hand; while the catalogue is read it is still the last call's.
    CHECK(Notifications::progress.ends_with(L" 0 0 30 100 0 0 0 0 0 30"));
    CHECK(::GetProgressPercent() == 30);
    CHECK(family.Told(L"CProducts::UninstallForceAll") == L"I -> UninstallForceAll / I <- UninstallForceAll false");
    CHECK(family.Told(L"UninstallForceAll").empty());
}
