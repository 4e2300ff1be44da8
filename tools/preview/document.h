#pragma once

#include "plan.h"

namespace preview {

// The document that removals of this process read. Raises std::runtime_error if it cannot be deciphered.
DocumentSource EmbeddedDocument();

}  // namespace preview
