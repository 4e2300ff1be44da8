#pragma once

#include "plan.h"

namespace preview {

// Adds to a plan which programs hold its files open, as the system's restart manager tells it. Where the system has
// none (before Vista), nobody is named.
void AddHolders(Plan& plan);

}  // namespace preview
