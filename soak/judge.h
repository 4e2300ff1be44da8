#pragma once

#include <vector>

#include "plan.h"
#include "trial.h"

// Compares what a removal did with what was planned.

// Nothing may differ, times included.
std::vector<Fault> JudgeUnchanged(const Difference& difference, const char* kind);

// `before` and the difference to it after the removal, while files are still held.
std::vector<Fault> JudgeRemoval(const PlannedEffect& plan, const MachineState& before, const Difference& difference,
                                const Machine& machine);

// The same after the restart, with all holders gone.
std::vector<Fault> JudgeRestart(const PlannedEffect& plan, const MachineState& before, const MachineState& after);

// What is left of a scene that was cleaned away: nothing new, and of the machine's own only what went by plan is gone.
std::vector<Fault> JudgeCleaned(const PlannedEffect& plan, const Difference& difference);
