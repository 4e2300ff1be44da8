#include <prodrm.h>

#include "bare.h"
#include "bench.h"
#include "foundation/dom.h"
#include "support/registry_sandbox.h"
#include "support/temp_folder.h"

namespace {

constexpr int kListedProducts = 5000;
constexpr int kFamilyProducts = 1000;
constexpr int kForeignProducts = 300;
constexpr int kVersions = 3;
constexpr int kElements = 20;
constexpr int kNamedProducts = 1000;
constexpr int kPrograms = 600;

using ListExport = bool(__cdecl*)(SAFEARRAY**, ULONG);

std::string VersionId(int product, int version) {
    return "prodrm-bench-" + std::to_string(product) + "-" + std::to_string(version);
}

std::string Catalogue(int products) {
    std::string text = "<uninstall_information>\n";
    for (int product = 0; product < products; ++product) {
        const std::string number = std::to_string(product);
        text += "<product name=\"product " + number + "\" file=\"" + number + ".xml\">\n";
        for (int version = 0; version < kVersions; ++version) {
            text += "<version name=\"" + std::to_string(version) + "\" id=\"" + VersionId(product, version) +
                    "\"><edition>standard</edition></version>\n";
        }
        text += "</product>\n";
    }
    return text + "</uninstall_information>\n";
}

std::wstring UninstallKey(int product, int version) {
    const std::string id = VersionId(product, version);
    return L"Software\\Microsoft\\Windows\\CurrentVersion\\Uninstall\\" + std::wstring(id.begin(), id.end());
}

double ListTool() {
    static const TempFolder folder;
    if (!FileExists(folder.Path(L"prodrm.dll"))) {
        CopyDist(folder.Path());
        folder.WriteFile(L"products.xml", Catalogue(kListedProducts));
    }
    return ProgramSeconds(L"\"" + folder.Path(L"prodrm.exe") + L"\" list --catalogue family --json");
}

double ListBare() {
    static const TempFolder folder;
    if (!FileExists(folder.Path(L"products.xml"))) {
        folder.WriteFile(L"products.xml", Catalogue(kListedProducts));
    }
    wchar_t program[MAX_PATH] = {};
    ::GetModuleFileNameW(nullptr, program, MAX_PATH);
    return ProgramSeconds(std::wstring(L"\"") + program + L"\" --walk-catalogue \"" + folder.Path(L"products.xml") +
                          L"\"");
}

double CallListing(const TempFolder& folder, ULONG flags, ULONG expected) {
    const Library library(folder.Path());
    const auto list = library.Export<ListExport>("GetInstalledProducts");
    SAFEARRAY* products = nullptr;
    const double seconds = Seconds([&] { Require(list(&products, flags), "GetInstalledProducts failed"); });
    Require(products->rgsabound[0].cElements == expected, "not the products that are installed");
    ::SafeArrayDestroy(products);
    return seconds;
}

// One version of every third product of the family.
class InstalledFamily {
public:
    InstalledFamily() {
        for (int product = 0; product < kFamilyProducts; product += 3) {
            HKEY key = nullptr;
            ::RegCreateKeyExW(HKEY_LOCAL_MACHINE, UninstallKey(product, 0).c_str(), 0, nullptr, 0,
                              KEY_ALL_ACCESS | KEY_WOW64_64KEY, nullptr, &key, nullptr);
            ::RegCloseKey(key);
        }
    }
    ~InstalledFamily() {
        for (int product = 0; product < kFamilyProducts; product += 3) {
            RemoveKeyTree(HKEY_LOCAL_MACHINE, UninstallKey(product, 0), View::Bits64);
        }
    }
    InstalledFamily(const InstalledFamily&) = delete;
    InstalledFamily& operator=(const InstalledFamily&) = delete;

    static ULONG Count() { return (kFamilyProducts + 2) / 3; }
};

double InstalledFamilyPass() {
    const TempFolder folder;
    CopyDist(folder.Path());
    folder.WriteFile(L"products.xml", Catalogue(kFamilyProducts));
    const InstalledFamily family;
    return CallListing(folder, PRODRM_FAMILY, InstalledFamily::Count());
}

// The opens of one walk over the versions, up to the first that is there; each tries a first and a second view.
bool OpenVersions(int product, bool secondView, bool stopAtFirst) {
    const REGSAM first = UnderWow64() && !secondView ? KEY_READ | KEY_WOW64_64KEY : KEY_READ;
    const REGSAM second = UnderWow64() ? KEY_READ | KEY_WOW64_64KEY : KEY_READ | KEY_WOW64_32KEY;
    bool found = false;
    for (int version = 0; version < kVersions && !(found && stopAtFirst); ++version) {
        const std::wstring key = UninstallKey(product, version);
        const bool there =
            BareOpenKey(HKEY_LOCAL_MACHINE, key, first) || (secondView && BareOpenKey(HKEY_LOCAL_MACHINE, key, second));
        found = found || there;
    }
    return found;
}

double InstalledFamilyBare() {
    const TempFolder folder;
    const std::wstring file = folder.WriteFile(L"products.xml", Catalogue(kFamilyProducts));
    const InstalledFamily family;
    return Seconds([&] {
        const ComPtr<IXMLDOMDocument> document = BareLoad(file);
        for (int product = 0; product < kFamilyProducts; ++product) {
            const bool installed = OpenVersions(product, false, true);
            OpenVersions(product, true, true);
            if (installed) {
                OpenVersions(product, true, false);
            }
        }
    });
}

// As many installed programs as a machine may have, in the default view.
class InstalledPrograms {
public:
    InstalledPrograms() {
        for (int program = 0; program < kPrograms; ++program) {
            HKEY key = nullptr;
            const std::wstring name = L"Bench Program " + std::to_wstring(program);
            ::RegCreateKeyExW(HKEY_LOCAL_MACHINE, UninstallKey(program, 0).c_str(), 0, nullptr, 0, KEY_ALL_ACCESS,
                              nullptr, &key, nullptr);
            ::RegSetValueExW(key, L"DisplayName", 0, REG_SZ, reinterpret_cast<const BYTE*>(name.c_str()),
                             static_cast<DWORD>((name.size() + 1) * sizeof(wchar_t)));
            ::RegCloseKey(key);
        }
    }
    ~InstalledPrograms() {
        for (int program = 0; program < kPrograms; ++program) {
            RemoveKeyTree(HKEY_LOCAL_MACHINE, UninstallKey(program, 0));
        }
    }
    InstalledPrograms(const InstalledPrograms&) = delete;
    InstalledPrograms& operator=(const InstalledPrograms&) = delete;
};

// Products that are looked for by their display name: one of three is installed.
std::string NamedCatalogue() {
    std::string text = "<uninstall_information>\n";
    for (int product = 0; product < kNamedProducts; ++product) {
        const std::string number = std::to_string(product);
        text += "<product name=\"product " + number + "\" file=\"" + number +
                ".xml\"><version name=\"0\" prodName=\"Bench Program " + std::to_string(3 * product) +
                "\"/></product>\n";
    }
    return text + "</uninstall_information>\n";
}

double NamedPass() {
    const TempFolder folder;
    CopyDist(folder.Path());
    folder.WriteFile(L"products.xml", NamedCatalogue());
    const InstalledPrograms programs;
    const Library library(folder.Path());
    const auto list = library.Export<ListExport>("GetProducts");
    SAFEARRAY* products = nullptr;
    const double seconds = Seconds([&] { Require(list(&products, PRODRM_FAMILY), "GetProducts failed"); });
    ::SafeArrayDestroy(products);
    return seconds;
}

double NamedBare() {
    const TempFolder folder;
    const std::wstring file = folder.WriteFile(L"products.xml", NamedCatalogue());
    const InstalledPrograms programs;
    return Seconds([&] {
        const ComPtr<IXMLDOMDocument> document = BareLoad(file);
        BareReadDisplayNames(KEY_READ);
        BareReadDisplayNames(UnderWow64() ? KEY_READ | KEY_WOW64_64KEY : KEY_READ | KEY_WOW64_32KEY);
    });
}

// A script of which every element but the last finds nothing.
std::string Script(const TempFolder& machine, const RegistrySandbox& sandbox) {
    std::string text =
        "<uninstall_information><version_list><v1/></version_list><v1 mandatory_sections=\"any\">"
        "<win_nt><s op_code=\"del_file\" minimum_score=\"1\">";
    for (int index = 0; index < kElements / 2; ++index) {
        text += "<e name=\"" + Narrow(machine.Path(std::to_wstring(index))) + "\"/>";
    }
    text += "</s><s op_code=\"del_regkey\" minimum_score=\"1\">";
    for (int index = 0; index < kElements / 2; ++index) {
        text += "<e name=\"" + Narrow(sandbox.Path(std::to_wstring(index))) + "\"/>";
    }
    return text + "</s></win_nt></v1></uninstall_information>";
}

double InstalledForeignPass() {
    const TempFolder folder;
    const TempFolder machine;
    const RegistrySandbox sandbox;
    CopyDist(folder.Path());
    folder.WriteFile(L"detection.xml", Catalogue(kForeignProducts));
    for (int product = 0; product < kForeignProducts; ++product) {
        folder.WriteFile(L"extern\\" + std::to_wstring(product) + L".xml", Script(machine, sandbox));
    }
    return CallListing(folder, PRODRM_FOREIGN, 0);
}

double InstalledForeignBare() {
    const TempFolder folder;
    const TempFolder machine;
    const RegistrySandbox sandbox;
    const std::wstring file = folder.WriteFile(L"detection.xml", Catalogue(kForeignProducts));
    for (int product = 0; product < kForeignProducts; ++product) {
        folder.WriteFile(std::to_wstring(product) + L".xml", Script(machine, sandbox));
    }
    const REGSAM access = UnderWow64() ? KEY_ALL_ACCESS | KEY_WOW64_64KEY : KEY_ALL_ACCESS;
    return Seconds([&] {
        const ComPtr<IXMLDOMDocument> catalogue = BareLoad(file);
        for (int product = 0; product < kForeignProducts; ++product) {
            OpenVersions(product, false, true);
            OpenVersions(product, true, true);
            const ComPtr<IXMLDOMDocument> script = BareLoad(folder.Path(std::to_wstring(product) + L".xml"));
            for (int index = 0; index < kElements / 2; ++index) {
                struct _stat64 status;
                ::_wstat64(machine.Path(std::to_wstring(index)).c_str(), &status);
                BareOpenKey(HKEY_LOCAL_MACHINE, sandbox.Subkey(std::to_wstring(index)), access);
            }
        }
    });
}

void WalkNode(IXMLDOMNode* node) {
    ComPtr<IXMLDOMNamedNodeMap> attributes;
    node->get_attributes(attributes.Put());
    long count = 0;
    if (attributes && SUCCEEDED(attributes->get_length(&count))) {
        for (long index = 0; index < count; ++index) {
            ComPtr<IXMLDOMNode> attribute;
            Variant value;
            attributes->get_item(index, attribute.Put());
            attribute->get_nodeValue(value.Put());
        }
    }
    Bstr name;
    node->get_nodeName(name.Put());
    ComPtr<IXMLDOMNodeList> children;
    node->get_childNodes(children.Put());
    children->get_length(&count);
    for (long index = 0; index < count; ++index) {
        ComPtr<IXMLDOMNode> child;
        children->get_item(index, child.Put());
        WalkNode(child.Get());
    }
}

}  // namespace

int WalkCatalogue(const std::wstring& file) {
    const ComPtr<IXMLDOMDocument> document = BareLoad(file);
    WalkNode(document.Get());
    return 0;
}

void AddListing(std::vector<Comparison>& comparisons) {
    comparisons.push_back(
        {"prodrm list --json, 5,000 products of 3 versions", "a bare MSXML load and walk", 1.5, &ListTool, &ListBare});
    comparisons.push_back({"GetInstalledProducts, 1,000 family products", "bare MSXML load and registry opens", 1.3,
                           &InstalledFamilyPass, &InstalledFamilyBare});
    comparisons.push_back({"GetProducts, 1,000 products by display name", "bare MSXML load, both views read once", 1.3,
                           &NamedPass, &NamedBare});
    comparisons.push_back({"GetInstalledProducts, 300 foreign products", "bare MSXML loads and the same checks", 1.4,
                           &InstalledForeignPass, &InstalledForeignBare});
}
