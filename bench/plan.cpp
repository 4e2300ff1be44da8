#include <windows.h>

#include "bare.h"
#include "bench.h"
#include "foundation/CConfigFileMngr.h"
#include "foundation/module.h"
#include "machine.h"
#include "preview/plan.h"

namespace {

constexpr DWORD kDocumentId = 101;
constexpr int kFewFiles = 10000;
constexpr int kManyFiles = 100000;
constexpr double kBytesAnItem = 200;

// Plans the removal of the product whose library is loaded, by the document embedded in it now.
preview::Plan MakePlan(const Library& library) {
    ActForModule(library.Module());
    CConfigFileMngr::Instance().LoadFromResource(kDocumentId);
    return preview::MakePlan({{preview::RemovalCall::Scope::Product, UNINSTALL_TYPE_FAMILY, L"product", true}},
                             library.Module());
}

double PlanProduct() {
    const TempFolder folder;
    const Machine machine(kFewFiles);
    PrepareProduct(folder, machine.Script());
    const Library library(folder.Path());
    preview::NodeId found = 0;
    const double seconds = Seconds([&] { found = MakePlan(library).items.Size(); });
    Require(found > kFewFiles, "the plan does not find the product");
    return seconds;
}

double FindBare() {
    const Machine machine(kFewFiles);
    int found = 0;
    const double seconds = Seconds([&] {
        found = BareFindTree(machine.Tree()) +
                BareFindKey(HKEY_LOCAL_MACHINE, machine.Subkey(), UnderWow64() ? KEY_WOW64_64KEY : 0) +
                BareReadLinks(machine.Links());
    });
    Require(found > kFewFiles, "the bare loops do not find the product");
    return seconds;
}

double PlanMissing() {
    const TempFolder folder;
    const RegistrySandbox sandbox;
    PrepareProduct(folder, MissingScript(folder.Path(), sandbox.Path()));
    const Library library(folder.Path());
    return Seconds([&] { MakePlan(library); });
}

double PlanMemory(int files) {
    const TempFolder folder;
    const Machine machine(files);
    PrepareProduct(folder, machine.Script());
    return PeakOfPart(L"--plan-memory", folder);
}

// Measured once: making so many files takes its time.
double GrowthAnItem() {
    static const double growth = (PlanMemory(kManyFiles) - PlanMemory(kFewFiles)) / (kManyFiles - kFewFiles);
    return growth;
}

}  // namespace

int MeasurePlanMemory(const std::wstring& folder) {
    const Library library(folder);
    return TellPeak(folder, [&] { MakePlan(library); });
}

void AddPlan(std::vector<Comparison>& comparisons) {
    comparisons.push_back(
        {"plan, 10,000 files, 2,000 keys", "bare loops that find the same", 1.5, &PlanProduct, &FindBare});
    comparisons.push_back(
        {"plan, 30,000 missing things", "UninstallProduct of the same", 1.0, &PlanMissing, &RemoveMissing});
    comparisons.push_back(
        {"Growth of its memory, bytes an item", "200", 1.0, &GrowthAnItem, [] { return kBytesAnItem; }});
}
