#pragma once

#include <prodrm.h>

#include <string>
#include <variant>
#include <vector>

#include "log_control.h"

namespace tools::host {

enum class Command { List, Explain, Plan, Remove, Verify };

enum class RemovalScope { Names, AllInstalled, ForceAll };

struct Options {
    Command command = Command::List;
    ULONG catalogues = PRODRM_FAMILY | PRODRM_FOREIGN;  // flags of the exports
    bool installed = false;
    bool details = false;
    bool json = false;
    bool escaped = false;             // of list: shows names in ASCII
    std::vector<std::wstring> names;  // of products
    RemovalScope scope = RemovalScope::Names;
    bool force = false;
    bool yes = false;
    bool quiet = false;
    bool all = false;                   // no list is cut short
    std::vector<std::string> accepted;  // codes of findings that do not stop a removal
    std::wstring document;              // file in place of the embedded document; empty: none
    std::wstring receipt;               // file to write or, for verify, to read; empty: none
    std::wstring report;                // file to write; empty: none
    LogSettings log;
};

// `arguments` are without the name of the program. The text is that of the help or the version, if that is asked for.
// Throws a Failure with ERROR_INVALID_COMMAND_LINE.
std::variant<Options, std::wstring> ParseCommandLine(const std::vector<std::wstring>& arguments);

}  // namespace tools::host
