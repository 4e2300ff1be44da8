#pragma once

#include <windows.h>

#include "catalogue/CProducts.h"

namespace preview {

// Loads the catalogue of a type from the library's folder.
bool LoadCatalogue(LONG type, CProducts& catalogue);

}  // namespace preview
