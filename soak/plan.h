#pragma once

#include <set>
#include <string>

#include "machine.h"
#include "state.h"

// What the tool said beforehand, in the names of the state.
struct PlannedEffect {
    std::set<std::wstring> goes;      // at once
    std::set<std::wstring> waits;     // at the restart
    std::set<std::wstring> handed;    // of these, what the removal only hands to the system
    std::set<std::wstring> named;     // files and folders that an item names, whatever becomes of them
    std::set<std::wstring> disabled;  // start values of services
    std::set<std::wstring> ended;     // names of programs, in lower case
    std::map<std::wstring, std::wstring> links;
    std::set<std::string> notFound;  // items that should be there and are not
};

// Reads the JSON of `prodrm plan`; an exception if it is none.
PlannedEffect ReadPlan(const std::string& json, const MachineState& machine,
                       const std::map<std::wstring, std::wstring>& links);
