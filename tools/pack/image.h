#pragma once

#include <string>

#include "document.h"

namespace tools::pack {

// Checks that the bytes of a file are those of a 32-bit library without a signature, with resources, and that its
// headers, sections and resources hold together: the system's update of resources believes whatever stands there.
// Throws Failure.
void CheckImage(const std::wstring& file, const Bytes& bytes);

}  // namespace tools::pack
