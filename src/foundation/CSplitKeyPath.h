#pragma once

#include <windows.h>

#include <string>
#include <vector>

// Registry paths as scripts and catalogues write them: hive name, separator, subkey.
class CSplitKeyPath {
public:
    // Cuts at the first backslash or slash. The subkey may be empty and keeps any further slash as it stands.
    // An unknown hive name, compared exactly, is logged and leaves both outputs untouched.
    static bool Split(const std::wstring& path, HKEY& hive, std::wstring& subkey);
};

// All names of the hives, long and short.
std::vector<std::wstring> HiveNames();

// Long name of a predefined hive with static lifetime; null for any other handle.
const wchar_t* HiveName(HKEY hive);
