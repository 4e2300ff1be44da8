#pragma once

#include <string>

#include "document.h"

namespace tools::pack {

// Checks that the bytes of a file are those of a 32-bit library without a signature, with resources, and that its
// headers, sections and resources hold together: the system's update of resources believes whatever stands there.
// Throws Failure.
void CheckImage(const std::wstring& file, const Bytes& bytes);

// The system's update of resources moves what lies behind them, but leaves the place of the symbol table in the header
// as it was; the names of sections with more than eight characters lie there. Sets it in the bytes `after` an update of
// the bytes `before`, both of a file that was checked: to where the table went, or to none.
void MendSymbolTable(const Bytes& before, Bytes& after);

}  // namespace tools::pack
