#pragma once

#include <windows.h>
#include <log.h>

#include <string>

#include "foundation/module.h"
#include "foundation/owned.h"

namespace tools::host {

struct LogSettings {
    std::wstring file;  // empty: no log
    DWORD level = LOG_LEVEL_NOTICE;
    DWORD mode = LOG_MODE_APPEND;
    std::wstring heading;  // first line
};

// A hold on the log module beside this program, taken before the library is loaded so that the library's lines go
// where this run wants them. Without a file the log is switched off. Failures to log are thrown as a Failure.
class LogControl {
public:
    explicit LogControl(const LogSettings& settings);
    LogControl(const LogControl&) = delete;
    LogControl& operator=(const LogControl&) = delete;
    ~LogControl();

private:
    template <typename Function>
    Function Find(const char* name) const {
        return EntryPointCast<Function>(::GetProcAddress(m_module.Get(), name));
    }
    template <typename Function, typename... Arguments>
    void Require(const char* name, Arguments... arguments) const;
    void Start(const LogSettings& settings) const;

    OwnedModule m_module;
};

}  // namespace tools::host
