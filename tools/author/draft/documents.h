#pragma once

#include <optional>
#include <string>
#include <vector>

#include "author/draft/detection.h"
#include "author/draft/removal.h"
#include "author/draft/uninstall_entry.h"

namespace tools::author {

// The texts of the drafted files, UTF-8.

std::string CatalogueText(const std::wstring& productName, const std::wstring& scriptFile,
                          const std::optional<UninstallEntry>& entry);
std::string DetectionText(const std::vector<JudgingSection>& sections);
// What the removal leaves, and what an author should know, stands in comments outside the versions.
std::string RemovalText(const std::wstring& productName, const Removal& removal);

// Names of files for a product, without characters that a file cannot bear.
std::wstring ScriptFileName(const std::wstring& productName);

}  // namespace tools::author
