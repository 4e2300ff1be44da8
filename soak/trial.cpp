#include "trial.h"

#include <oleauto.h>
#include <prodrm.h>

#include <cstdio>
#include <stdexcept>

#include "judge.h"
#include "places.h"
#include "plan.h"
#include "programs.h"
#include "text.h"

namespace {

constexpr wchar_t kProduct[] = L"Soak";
constexpr char kCatalogue[] =
    "<uninstall_information><exec_all>false</exec_all><product name=\"Soak\" file=\"soak.xml\"/>"
    "</uninstall_information>";
constexpr DWORD kStopped = 1625;  // the plan holds what a removal would stop at
constexpr char kForeign[] = "<uninstall_information/>";

std::wstring Work(const wchar_t* file) {
    return std::wstring(kWorkFolder) + L'\\' + file;
}

std::wstring Quoted(const std::wstring& path) {
    return L'"' + path + L'"';
}

void Copy(const std::wstring& from, const std::wstring& to) {
    if (!::CopyFileW(from.c_str(), to.c_str(), FALSE)) {
        throw std::runtime_error("cannot copy " + ToUtf8(from));
    }
}

void Append(std::vector<Fault>& faults, std::vector<Fault> more) {
    faults.insert(faults.end(), more.begin(), more.end());
}

}  // namespace

Trials::Trials(const std::wstring& dist) : m_dist(dist) {
    ::CreateDirectoryW(kWorkFolder, nullptr);
    ::CreateDirectoryW(kHostFolder, nullptr);
    ::SetCurrentDirectoryW(kHostFolder);
    for (const wchar_t* const file : {L"prodrm.exe", L"prodrm-pack.exe"}) {
        Copy(m_dist + L'\\' + file, Work(file));
    }
    WriteWholeFile(Work(L"products.xml"), kCatalogue);
    WriteWholeFile(Work(L"detection.xml"), kForeign);
    m_latest = TakeState({}, Reach::Whole);
    for (const auto& [path, facts] : m_latest.files) {
        if (!facts.IsFolder()) {
            m_shared.insert(path);
        }
    }
    m_base = State(Reach::Whole);
}

const MachineState& Trials::State(Reach reach) {
    Timed("states", [&] { m_latest = TakeState(m_latest, reach); });
    // The system's own files are hard links: what happens elsewhere moves these times.
    for (const std::wstring& path : m_shared) {
        if (const auto file = m_latest.files.find(path); file != m_latest.files.end()) {
            file->second.changed = 0;
            file->second.read = 0;
        }
    }
    return m_latest;
}

void Trials::Timed(const char* what, const std::function<void()>& work) {
    LARGE_INTEGER frequency;
    LARGE_INTEGER begin;
    LARGE_INTEGER end;
    ::QueryPerformanceFrequency(&frequency);
    ::QueryPerformanceCounter(&begin);
    work();
    ::QueryPerformanceCounter(&end);
    const double seconds = static_cast<double>(end.QuadPart - begin.QuadPart) / static_cast<double>(frequency.QuadPart);
    m_tally.seconds[what] += seconds;
}

void Trials::Pack(const std::string& xml) {
    Copy(m_dist + L"\\prodrm.dll", Work(L"prodrm.dll"));
    WriteWholeFile(Work(L"document.xml"), Expand(xml));
    const std::wstring command = Quoted(Work(L"prodrm-pack.exe")) + L" --force " + Quoted(Work(L"document.xml")) +
                                 L' ' + Quoted(Work(L"prodrm.dll"));
    if (RunProgram(command, Work(L"pack.txt"), kHostFolder) != 0) {
        throw std::runtime_error("the document cannot be packed: " + ReadWholeFile(Work(L"pack.txt")));
    }
}

std::vector<Fault> Trials::Run(const Things& things, const std::string& xml) {
    std::vector<Fault> faults;
    try {
        std::unique_ptr<Machine> machine;
        Timed("building", [&] { machine = std::make_unique<Machine>(things); });
        faults = RunBuilt(*machine, xml);
    } catch (const std::exception& error) {
        faults.push_back({"broke off", error.what()});
        Clean(m_base, State());
    }
    return faults;
}

std::vector<Fault> Trials::RunBuilt(Machine& machine, const std::string& xml) {
    Timed("packing", [&] { Pack(xml); });
    const MachineState before = State();
    Timed("planning", [&] {
        const std::wstring tool = Quoted(Work(L"prodrm.exe")) + L" plan " + kProduct + L" --force --json";
        const DWORD code = RunProgram(tool, Work(L"plan.json"), kHostFolder);
        if (code != 0 && code != kStopped) {
            throw std::runtime_error("no plan: " + std::to_string(code) + ' ' + ReadWholeFile(Work(L"plan.json")));
        }
    });
    std::vector<Fault> faults = JudgeUnchanged(Compare(before, State()), "looking changes the machine");
    const PlannedEffect plan = ReadPlan(ReadWholeFile(Work(L"plan.json")), before, machine.Links());

    Timed("removing", [&] { RunProgram(Quoted(OwnImage()) + L" --remove", Work(L"removal.txt"), kHostFolder); });
    const Difference removed = Compare(before, State());
    Append(faults, JudgeRemoval(plan, before, removed, machine));

    machine.EndHolders();
    Timed("restarting", [] { RunProgram(L"wineboot.exe -r", {}, kHostFolder); });
    const MachineState restarted = State();
    Append(faults, JudgeRestart(plan, before, restarted));

    for (const std::wstring& place : Compare(before, restarted).gone) {
        ++m_tally.counts[!place.starts_with(L"\\")                   ? "files and folders"
                         : place.find(L"\\\\") == std::wstring::npos ? "keys"
                                                                     : "values"];
        m_tally.counts["of them after the restart"] += removed.gone.contains(place) ? 0 : 1;
    }
    Timed("cleaning", [&] { Clean(m_base, restarted); });
    const MachineState cleaned = State();
    Append(faults, JudgeCleaned(plan, Compare(m_base, cleaned)));
    m_base = cleaned;
    return faults;
}

std::vector<Fault> Trials::CompareWhole() {
    const MachineState before = m_base;
    m_base = State(Reach::Whole);
    return JudgeUnchanged(Compare(before, m_base), "differs far off");
}

int RemoveProduct(const std::wstring& folder) {
    using UninstallFunction = decltype(&UninstallProduct);
    const HMODULE library = ::LoadLibraryW((folder + L"\\prodrm.dll").c_str());
    if (library == nullptr) {
        return 2;
    }
    const auto uninstall =
        reinterpret_cast<UninstallFunction>(reinterpret_cast<void*>(::GetProcAddress(library, "UninstallProduct")));
    ProductEntry product = {};
    product.name = ::SysAllocString(kProduct);
    product.type = UNINSTALL_TYPE_FAMILY;
    product.force = 1;
    bool restart = false;
    const bool done = uninstall(&product, &restart, nullptr);
    ::SysFreeString(product.name);
    std::printf("%s, restart %s\n", done ? "done" : "failed", restart ? "required" : "not required");
    return done ? 0 : 1;
}
