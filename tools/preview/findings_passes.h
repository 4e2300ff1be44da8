#pragma once

#include <string>

#include "findings_places.h"
#include "plan.h"

// The looks at a plan, each for findings of its own.
namespace preview {

// Roots of the system, and personal files.
void AddRootFindings(Plan& plan, const Effects& effects);
// What is reached through a link, or from wherever the host stands.
void AddPathFindings(Plan& plan, const Effects& effects);
// Other programs of the machine: installed, running, services.
void AddProgramFindings(Plan& plan, const Effects& effects);
// Products of the catalogues in `folder` that stay.
void AddProductFindings(Plan& plan, const Effects& effects, const std::wstring& folder);

inline void AddFinding(Plan& plan, const char* code, Severity severity, NodeId item, std::wstring evidence) {
    plan.findings.push_back({code, severity, item, plan.items[item].record, std::move(evidence)});
}

}  // namespace preview
