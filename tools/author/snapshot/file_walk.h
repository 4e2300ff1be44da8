#pragma once

#include <string>

#include "author/snapshot/exclusions.h"
#include "author/snapshot/line_writer.h"

namespace tools::author {

// Writes the files and folders of a drive, such as "C:", or below a folder, in the order of their lines. Links are
// listed and not entered; a folder that cannot be read is listed with the error. Changes nothing.
//
//     C:\Folder\<TAB>d                                    attributes: d folder, l link, r, h, s
//     C:\Folder\file.txt<TAB>1024 2026-01-31T09:30:00.0000000Z r
//     C:\Folder\x.lnk<TAB>... -> C:\Folder\x.exe          what a shortcut points at
void WriteFiles(const std::wstring& drive, const Exclusions& exclusions, LineWriter& out);

}  // namespace tools::author
