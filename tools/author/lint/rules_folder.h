#pragma once

#include <string>
#include <vector>

#include "rules_catalogue.h"
#include "script.h"

namespace tools::lint {

struct Catalogue {
    const Document* document;
    CatalogueKind kind;
};

// A product folder with the documents in it.
struct Suite {
    std::wstring folder;  // empty for documents that were named one by one
    std::vector<Catalogue> catalogues;
    std::vector<const Script*> scripts;  // of detection
    std::vector<const Script*> removals;

    void Add(const Suite& other);
};

// Runs every rule about documents that belong together.
void CheckSuite(const Suite& suite, Report& report);

}  // namespace tools::lint
