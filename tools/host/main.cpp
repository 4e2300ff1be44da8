#include <windows.h>

#include <string>
#include <variant>
#include <vector>

#include "command_line.h"
#include "common/modules.h"
#include "common/output.h"
#include "common/program.h"
#include "explain.h"
#include "library.h"
#include "list.h"
#include "log_control.h"
#include "plan.h"
#include "remove.h"
#include "verify.h"

namespace tools::host {

namespace {

int RunCommand(const Options& options, Output& out) {
    switch (options.command) {
        case Command::Plan:
            return RunPlan(options, out);
        case Command::Remove:
            return RunRemove(options, out);
        default:
            break;
    }
    const LogControl log(options.log);
    const Library library(OwnFolder());
    switch (options.command) {
        case Command::List:
            return RunList(options, library, out);
        case Command::Explain:
            return RunExplain(options, library, out);
        default:
            return RunVerify(options, library, out);
    }
}

int Run(const std::vector<std::wstring>& arguments, Output& out) {
    const auto parsed = ParseCommandLine(arguments);
    if (const auto* text = std::get_if<std::wstring>(&parsed)) {
        out.Write(*text);
        return ERROR_SUCCESS;
    }
    return RunCommand(std::get<Options>(parsed), out);
}

}  // namespace

}  // namespace tools::host

int wmain(int count, wchar_t** arguments) {
    return tools::RunTool("prodrm", count, arguments, &tools::host::Run);
}
