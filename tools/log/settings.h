#pragma once

#include <windows.h>

#include <string>

#include "../../include/log.h"

namespace tools::logwriter {

struct Settings {
    DWORD enabled = 1;
    DWORD level = LOG_LEVEL_NOTICE;
    DWORD type = LOG_TYPE_FILE;
    DWORD mode = LOG_MODE_APPEND;
    DWORD maxSize = 10 * 1024 * 1024;  // bytes
    DWORD depth = 3;
    std::wstring path;  // empty: the default file

    bool AreValid() const;
};

// Environment variables expanded, made absolute.
std::wstring FullPath(const std::wstring& path);

// prodrm.log in the folder for temporary files.
std::wstring DefaultLogPath();

// Overwrites in `settings` what `file` names. On failure `settings` may be partly overwritten.
HRESULT ReadSettings(const std::wstring& file, Settings& settings);

}  // namespace tools::logwriter
