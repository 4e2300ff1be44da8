#pragma once

#include <cstdint>

#include "document.h"
#include "machine.h"

// One random machine and one random document over it.
struct Scene {
    Things things;
    Document document;
};

// The scene number `index` of the series `seed`; the same on every call.
Scene MakeScene(std::uint64_t seed, unsigned index);
