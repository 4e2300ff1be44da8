// Random machines and random documents over them: is what `prodrm plan` says beforehand what a removal does?
//
//     prodrm-soak [--count N] [--seed S] [--only K] [--reduce] [--show] [CASE...]
//
// Runs the cases, then N scenes of the series S, or number K of it alone; --show prints the scene, --reduce the least
// of it that still shows the first fault. The finished product lies in the folder that the environment variable
// PRODRM_DIST names. Exit code 1 if anything differed. It makes and removes things all over the machine and asks
// nobody: run it in a throw-away prefix only, as scripts/soak.sh does.

#include <windows.h>
#include <objbase.h>
#include <shlobj.h>

#include <cstdio>
#include <cstdlib>
#include <stdexcept>

#include "foundation/com.h"
#include "generator.h"
#include "places.h"
#include "reduce.h"
#include "text.h"
#include "trial.h"

namespace {

constexpr unsigned kWholeEvery = 25;  // trials from one comparison of the whole machine to the next

struct Request {
    unsigned count = 25;
    std::uint64_t seed = 1;
    int only = -1;
    bool reduce = false;
    bool show = false;
    std::vector<std::wstring> cases;
};

Request ReadRequest(int count, wchar_t** arguments) {
    Request request;
    for (int index = 1; index < count; ++index) {
        const std::wstring word = arguments[index];
        const wchar_t* const next = index + 1 < count ? arguments[index + 1] : L"";
        if (word == L"--count" || word == L"--seed" || word == L"--only") {
            const unsigned long long number = std::wcstoull(next, nullptr, 10);
            if (word == L"--seed") {
                request.seed = number;
            } else if (word == L"--count") {
                request.count = static_cast<unsigned>(number);
            } else {
                request.only = static_cast<int>(number);
            }
            ++index;
        } else if (word == L"--reduce") {
            request.reduce = true;
        } else if (word == L"--show") {
            request.show = true;
        } else if (word.starts_with(L"--")) {
            throw std::runtime_error("unknown option " + ToUtf8(word));
        } else {
            request.cases.push_back(word);
        }
    }
    return request;
}

// The first use loads what must come from this process's own system folder; from then on it sees the folders as they
// are.
void SeeRealFolders() {
    ComPtr<IShellLinkW> link;
    ::CoCreateInstance(CLSID_ShellLink, nullptr, CLSCTX_INPROC_SERVER, IID_IShellLinkW,
                       reinterpret_cast<void**>(link.Put()));
    using Disable = BOOL(WINAPI*)(PVOID*);
    const auto disable = reinterpret_cast<Disable>(reinterpret_cast<void*>(
        ::GetProcAddress(::GetModuleHandleW(L"kernel32.dll"), "Wow64DisableWow64FsRedirection")));
    PVOID old = nullptr;
    if (disable != nullptr) {
        disable(&old);
    }
}

void Print(const std::vector<Fault>& faults, const std::string& what) {
    constexpr std::size_t kShown = 12;
    for (std::size_t index = 0; index < faults.size() && index < kShown; ++index) {
        std::printf("%s: %s: %s\n", what.c_str(), faults[index].kind.c_str(), faults[index].text.c_str());
    }
    if (faults.size() > kShown) {
        std::printf("%s: and %zu more\n", what.c_str(), faults.size() - kShown);
    }
    std::fflush(stdout);
}

void Print(const Scene& scene) {
    std::printf("%s\n%s", ToText(scene.things).c_str(), ToXml(scene.document).c_str());
    std::fflush(stdout);
}

// A case is a file with the things, a line each, an empty line and the document.
bool RunCase(Trials& trials, const std::wstring& file) {
    const std::string text = ReadWholeFile(file);
    const std::size_t end = text.find("\n\n");
    if (end == std::string::npos) {
        throw std::runtime_error("not a case: " + ToUtf8(file));
    }
    const std::vector<Fault> faults = trials.Run(ThingsFromText(text.substr(0, end)), text.substr(end + 2));
    Print(faults, ToUtf8(file.substr(file.find_last_of(L"\\/") + 1)));
    return faults.empty();
}

bool RunScene(Trials& trials, const Request& request, unsigned index) {
    const Scene scene = MakeScene(request.seed, index);
    if (request.show) {
        Print(scene);
    }
    const std::vector<Fault> faults = trials.Run(scene.things, ToXml(scene.document));
    Print(faults, "--seed " + std::to_string(request.seed) + " --only " + std::to_string(index));
    if (!faults.empty() && request.reduce) {
        const Scene least = Reduce(trials, scene, faults.front().kind);
        std::printf("the least that shows \"%s\":\n", faults.front().kind.c_str());
        Print(least);
    }
    return faults.empty();
}

void PrintFigures(const Tally& figures, unsigned run, unsigned bad) {
    std::printf("%u machines, %u with differences\n", run, bad);
    for (const auto& [what, count] : figures.counts) {
        std::printf("    %-26s %9zu\n", what.c_str(), count);
    }
    double all = 0;
    for (const auto& [what, seconds] : figures.seconds) {
        std::printf("    %-26s %9.3f s a machine\n", what.c_str(), seconds / run);
        all += seconds / run;
    }
    std::printf("    %-26s %9.3f s a machine\n", "all", all);
}

int Soak(const Request& request) {
    wchar_t dist[MAX_PATH] = {};
    ::GetEnvironmentVariableW(L"PRODRM_DIST", dist, MAX_PATH);
    Trials trials(dist);
    unsigned run = 0;
    unsigned bad = 0;
    const auto count = [&](bool good) {
        bad += good ? 0 : 1;
        if (++run % kWholeEvery == 0) {
            const std::vector<Fault> faults = trials.CompareWhole();
            Print(faults, "after machine " + std::to_string(run));
            bad += faults.empty() ? 0 : 1;
        }
    };
    for (const std::wstring& file : request.cases) {
        count(RunCase(trials, file));
    }
    const unsigned first = request.only >= 0 ? static_cast<unsigned>(request.only) : 0;
    const unsigned scenes = request.only >= 0 ? 1 : request.count;
    std::printf("seed %llu\n", static_cast<unsigned long long>(request.seed));
    for (unsigned index = first; index < first + scenes; ++index) {
        count(RunScene(trials, request, index));
    }
    PrintFigures(trials.Figures(), run, bad);
    return bad == 0 && run > 0 ? EXIT_SUCCESS : EXIT_FAILURE;
}

}  // namespace

int wmain(int count, wchar_t** arguments) {
    ::CoInitialize(nullptr);
    try {
        if (count > 1 && std::wstring(arguments[1]) == L"--remove") {
            return RemoveProduct(kWorkFolder);
        }
        const Request request = ReadRequest(count, arguments);
        SeeRealFolders();
        return Soak(request);
    } catch (const std::exception& error) {
        std::fprintf(stderr, "prodrm-soak: %s\n", error.what());
        return EXIT_FAILURE;
    }
}
