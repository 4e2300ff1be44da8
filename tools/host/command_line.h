#pragma once

#include <prodrm.h>

#include <string>
#include <variant>
#include <vector>

#include "log_control.h"

namespace tools::host {

enum class Command { List, Explain, Remove };

enum class RemovalScope { Names, AllInstalled, ForceAll };

struct Options {
    Command command = Command::List;
    ULONG catalogues = PRODRM_FAMILY | PRODRM_FOREIGN;  // flags of the exports
    bool installed = false;
    bool details = false;
    bool json = false;
    std::vector<std::wstring> names;  // of products
    RemovalScope scope = RemovalScope::Names;
    bool force = false;
    bool yes = false;
    bool quiet = false;
    LogSettings log;
};

// What ends the program without a command: help and version (code 0), or what is wrong with the command line.
struct Ending {
    int code;
    std::wstring text;
};

// `arguments` are without the name of the program.
std::variant<Options, Ending> ParseCommandLine(const std::vector<std::wstring>& arguments);

}  // namespace tools::host
