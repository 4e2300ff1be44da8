#pragma once

#include <windows.h>

#include <string>
#include <vector>

#include "tree.h"

namespace tools::lint {

using Bytes = std::vector<BYTE>;

// Why the engine refuses a document, in the words of the engine where it has some.
struct ParseError {
    Position position;
    std::wstring message;
};

struct Parsed {
    bool wellFormed = false;
    Node document;     // its children are what stands at the top level
    ParseError error;  // where it is not well-formed
};

// Reads a document with the SAX reader of the engine that the library uses. COM must be initialised. Throws Failure if
// there is no such engine.
Parsed Parse(const Bytes& document);

}  // namespace tools::lint
