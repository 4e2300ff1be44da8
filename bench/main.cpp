// Benchmarks: each piece of the library's work against the bare system calls that it cannot do without, as the ratio
// of the medians of five passes, taken in turns in one run.
//
//     prodrm-bench [TEXT]     the comparisons whose name contains TEXT; exit code 1 if a ratio is above its limit

#include <objbase.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>

#include "bench.h"

namespace {

constexpr int kPasses = 5;

struct NamedPart {
    const wchar_t* name;
    Part part;
};

constexpr NamedPart kParts[] = {
    {L"--walk-catalogue", &WalkCatalogue},
    {L"--removal-memory", &MeasureRemovalMemory},
    {L"--plan-memory", &MeasurePlanMemory},
};

double Median(std::vector<double> values) {
    std::sort(values.begin(), values.end());
    return values[values.size() / 2];
}

bool Run(const Comparison& comparison) {
    std::vector<double> ours;
    std::vector<double> bare;
    for (int pass = 0; pass < kPasses; ++pass) {
        bare.push_back(comparison.bare());
        ours.push_back(comparison.ours());
    }
    const double ratio = Median(ours) / Median(bare);
    const bool good = ratio <= comparison.limit;
    std::printf("%-46s %12.4f %12.4f %7.2f %7.2f  %s   against %s\n", comparison.name.c_str(), Median(ours),
                Median(bare), ratio, comparison.limit, good ? "ok  " : "OVER", comparison.against.c_str());
    std::fflush(stdout);
    return good;
}

}  // namespace

Part FindPart(const std::wstring& name) {
    for (const NamedPart& part : kParts) {
        if (name == part.name) {
            return part.part;
        }
    }
    return nullptr;
}

int wmain(int count, wchar_t** arguments) {
    ::CoInitialize(nullptr);
    const std::wstring first = count > 1 ? arguments[1] : L"";
    if (const Part part = FindPart(first)) {
        return part(count > 2 ? arguments[2] : L"");
    }
    const std::string wanted(first.begin(), first.end());
    std::vector<Comparison> comparisons;
    AddListing(comparisons);
    AddPrimitives(comparisons);
    AddRemoval(comparisons);
    AddPlan(comparisons);
    AddLint(comparisons);
    AddSnapshot(comparisons);
    std::printf("%-46s %12s %12s %7s %7s\n", "medians of five passes (seconds or bytes)", "prodrm", "bare", "ratio",
                "limit");
    bool good = true;
    for (const Comparison& comparison : comparisons) {
        if (comparison.name.find(wanted) != std::string::npos) {
            good = Run(comparison) && good;
        }
    }
    return good ? EXIT_SUCCESS : EXIT_FAILURE;
}
