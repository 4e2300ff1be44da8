#pragma once

#include <string>

#include "preview/items.h"

namespace tools::host {

// True if the thing that an item names is there now; also where the system does not let this account see. Of a process
// `id` is its number. Services count as there until they are disabled. Tools and library methods are never there.
bool IsThere(preview::ItemKind kind, preview::View view, const std::wstring& path, const std::wstring& name,
             std::uint64_t id);

}  // namespace tools::host
