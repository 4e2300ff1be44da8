#pragma once

#include <string>
#include <vector>

#include "common/output.h"

namespace tools::author {

struct DraftOptions {
    std::wstring before;
    std::wstring after;
    std::wstring uninstallEntry;  // key name: the catalogue entry and the detection alone, from this machine
    std::wstring name;
    std::vector<std::wstring> owned;
    std::wstring folder;
    bool overwrite = false;
};

// Writes detection.xml and the script below extern, and from two snapshots removal.xml and kept.txt, the lines of the
// second snapshot that the removal will leave. Says what it wrote. Throws a Failure; then nothing was written over.
void WriteDraft(const DraftOptions& options, Output& out);

}  // namespace tools::author
