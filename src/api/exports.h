#pragma once

#include <prodrm.h>

#include "foundation/log_statement.h"

// What the exports share. Their prototypes and records are in prodrm.h.

using PathText = logging::LogFormat<const wchar_t*>;

// The two catalogues in the order in which they are always taken.
struct Catalogue {
    ULONG flag;  // bit of the listing exports' argument
    LONG type;
    const wchar_t* file;
    PathText notLoaded;
};

inline constexpr Catalogue kCatalogues[] = {
    {PRODRM_FAMILY, UNINSTALL_TYPE_FAMILY, L"products.xml", L"load products ZN \"%s\" failed"},
    {PRODRM_FOREIGN, UNINSTALL_TYPE_FOREIGN, L"detection.xml", L"load products EXT \"%s\" failed"},
};
