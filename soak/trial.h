#pragma once

#include <functional>
#include <map>
#include <string>
#include <vector>

#include "machine.h"
#include "state.h"

// One difference between what was said and what was done.
struct Fault {
    std::string kind;  // equal for equal causes, so that a reduction can keep to it
    std::string text;
};

// Figures over all trials of a run.
struct Tally {
    std::map<std::string, std::size_t> counts;
    std::map<std::string, double> seconds;
};

// Runs scenes on this machine, each from the same state on.
class Trials {
public:
    // `dist` is the folder of the finished product.
    explicit Trials(const std::wstring& dist);

    // Builds the things, plans, removes, restarts and cleans; says what differed. `xml` is the document.
    std::vector<Fault> Run(const Things& things, const std::string& xml);

    // Compares the machine as a whole with what it was at first, all parts that single trials pass over included.
    std::vector<Fault> CompareWhole();

    const Tally& Figures() const { return m_tally; }

private:
    std::vector<Fault> RunBuilt(Machine& machine, const std::string& xml);
    void Pack(const std::string& xml);
    // The machine as it is; the latest state from then on.
    const MachineState& State(Reach reach = Reach::Near);
    void Timed(const char* what, const std::function<void()>& work);

    std::wstring m_dist;
    std::set<std::wstring> m_shared;  // files that other prefixes share
    MachineState m_base;
    MachineState m_latest;
    Tally m_tally;
};

// The removal itself, in a process of its own: the library in `folder`, asked by force.
int RemoveProduct(const std::wstring& folder);
