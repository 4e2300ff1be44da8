#pragma once

#include "generator.h"
#include "trial.h"

// Leaves out of a scene whatever a fault of this kind does not need.
Scene Reduce(Trials& trials, Scene scene, const std::string& kind);
