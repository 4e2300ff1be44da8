#pragma once

#include "document.h"
#include "report.h"

namespace tools::lint {

// Which of the two catalogues a document is. Of the family's products detection runs no script.
enum class CatalogueKind { Family, Foreign };

// Runs every rule for catalogues.
void CheckCatalogue(const Document& document, CatalogueKind kind, Report& report);

}  // namespace tools::lint
