#pragma once

#include <windows.h>

#include <string>

#include "author/snapshot/exclusions.h"
#include "author/snapshot/line_writer.h"

namespace tools::author {

// Writes the keys and values of a hive in the order of their lines, in the native view, which holds the 32-bit one
// below Wow6432Node. Links are listed as what they are and not followed, but for HKLM\SYSTEM\CurrentControlSet and
// HKCU\Software\Classes, which stand for what they lead to. A key that cannot be opened is listed with the error.
// Changes nothing.
//
//     HKLM\Software\Key\<TAB>                       the key
//     HKLM\Software\Key\<TAB>Name<TAB>sz Data       a value
//
// `name` is what the hive is called in the lines, `subkey` what it is below `base`.
void WriteKeys(HKEY base, const std::wstring& subkey, const std::wstring& name, const Exclusions& exclusions,
               LineWriter& out);

}  // namespace tools::author
