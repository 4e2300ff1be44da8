#pragma once

#include <string>

#include "reader.h"

namespace tools::lint {

// True for the beginning of a program file or library.
bool IsProgramFile(const Bytes& bytes);

// The document embedded in a library file, deciphered, without the zero behind it. Throws Failure if there is none.
Bytes ReadEmbedded(const std::wstring& library);

}  // namespace tools::lint
