#include <prodrm.h>

#include "bare.h"
#include "bench.h"
#include "machine.h"

namespace {

using UninstallExport = bool(__cdecl*)(const ProductEntry*, bool*, NotifyCallback);

double RemoveProduct() {
    const TempFolder folder;
    const Machine machine(10000);
    PrepareProduct(folder, machine.Script());
    const Library library(folder.Path());
    const double seconds = Seconds([&] { Uninstall(library); });
    Require(machine.IsClean(), "something of the product is left");
    return seconds;
}

double RemoveProductBare() {
    const Machine machine(10000);
    const double seconds = Seconds([&] { machine.RemoveBare(); });
    Require(machine.IsClean(), "something of the product is left");
    return seconds;
}

// Peak memory of a removal above what the host had before it, in bytes, measured in a process of its own.
double RemovalMemory(int files) {
    const TempFolder folder;
    const Machine machine(files);
    PrepareProduct(folder, machine.Script());
    const double bytes = PeakOfPart(L"--removal-memory", folder);
    Require(machine.IsClean(), "something of the product is left");
    return bytes;
}

double RemoveMissingBare() {
    const TempFolder folder;
    const RegistrySandbox sandbox;
    const std::string script = MissingScript(folder.Path(), sandbox.Path());
    const std::wstring text(script.begin(), script.end());
    const REGSAM access = UnderWow64() ? KEY_ALL_ACCESS | KEY_WOW64_64KEY : KEY_ALL_ACCESS;
    const auto wide = [](const std::string& path) { return std::wstring(path.begin(), path.end()); };
    return Seconds([&] {
        const ComPtr<IXMLDOMDocument> document = BareLoadText(text);
        for (int index = 0; index < kMissing; ++index) {
            const std::wstring path = wide(MissingPath(folder.Path(), "del_folder", index));
            ::SetFileAttributesW(path.c_str(), FILE_ATTRIBUTE_NORMAL);
            ::GetFileAttributesW(path.c_str());
        }
        for (int index = 0; index < kMissing; ++index) {
            const std::wstring path = wide(MissingPath(folder.Path(), "del_file", index));
            ::SetFileAttributesW(path.c_str(), FILE_ATTRIBUTE_NORMAL);
            ::DeleteFileW(path.c_str());
        }
        for (int index = 0; index < kMissing; ++index) {
            BareOpenKey(HKEY_LOCAL_MACHINE, wide(MissingPath(sandbox.Subkey(), "del_regkey", index)), access);
        }
    });
}

}  // namespace

void Uninstall(const Library& library) {
    ProductEntry product = {::SysAllocString(L"product"), nullptr, UNINSTALL_TYPE_FAMILY, nullptr, 1};
    bool restart = false;
    Require(library.Export<UninstallExport>("UninstallProduct")(&product, &restart, nullptr), "the removal failed");
    ::SysFreeString(product.name);
}

double RemoveMissing() {
    const TempFolder folder;
    const RegistrySandbox sandbox;
    PrepareProduct(folder, MissingScript(folder.Path(), sandbox.Path()));
    const Library library(folder.Path());
    return Seconds([&] { Uninstall(library); });
}

int MeasureRemovalMemory(const std::wstring& folder) {
    const Library library(folder);
    return TellPeak(folder, [&] { Uninstall(library); });
}

void AddRemoval(std::vector<Comparison>& comparisons) {
    comparisons.push_back({"UninstallProduct, 10,000 files, 2,000 keys", "the same calls in bare loops", 1.35,
                           &RemoveProduct, &RemoveProductBare});
    comparisons.push_back({"Peak memory of that run", "2,000 files", 1.5, [] { return RemovalMemory(10000); },
                           [] { return RemovalMemory(2000); }});
    comparisons.push_back({"UninstallProduct, 30,000 missing things", "bare MSXML load and the same calls", 1.5,
                           &RemoveMissing, &RemoveMissingBare});
}
