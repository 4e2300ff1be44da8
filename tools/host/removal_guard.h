#pragma once

#include "foundation/owned.h"

namespace tools::host {

// Held by one run of this tool on the machine, in whatever session. Throws a Failure with
// ERROR_INSTALL_ALREADY_RUNNING if another run holds it.
class SingleRemoval {
public:
    SingleRemoval();
    ~SingleRemoval();
    SingleRemoval(const SingleRemoval&) = delete;
    SingleRemoval& operator=(const SingleRemoval&) = delete;

private:
    OwnedHandle m_mutex;
};

// For a scope, Ctrl+C and Ctrl+Break only tell that a removal is not broken off half-way.
class BreakRefusal {
public:
    BreakRefusal();
    ~BreakRefusal();
    BreakRefusal(const BreakRefusal&) = delete;
    BreakRefusal& operator=(const BreakRefusal&) = delete;
};

}  // namespace tools::host
