// prodrm-author: for the authors of catalogues, scripts and removal documents.

#include <windows.h>

#include <CLI/CLI.hpp>

#include <algorithm>
#include <iterator>
#include <sstream>
#include <string>
#include <utility>
#include <vector>

#include "command.h"
#include "common/program.h"
#include "common/utf8.h"

namespace tools::author {

namespace {

constexpr char kVersion[] = "prodrm-author " PRODRM_VERSION;
constexpr char kFooter[] =
    "Exit codes: 0 done, 1 done with errors found, 1603 failed, 1639 bad command line; nothing was done.";

using CommandMaker = std::unique_ptr<Command> (*)();
constexpr CommandMaker kCommands[] = {
    &MakeLintCommand,
    &MakeSnapshotCommand,
    &MakeCompareCommand,
    &MakeDraftCommand,
};

int Run(const std::vector<std::wstring>& arguments, Output& out) {
    CLI::App app("Helps to write catalogues, scripts and removal documents.", "prodrm-author");
    app.allow_windows_style_options(false);
    app.set_version_flag("--version", kVersion, "Print the version and exit");
    app.footer(kFooter);
    app.require_subcommand(1);
    std::vector<std::pair<std::unique_ptr<Command>, CLI::App*>> commands;
    for (const CommandMaker make : kCommands) {
        std::unique_ptr<Command> command = make();
        CLI::App* const added = command->AddTo(app);
        commands.emplace_back(std::move(command), added);
    }

    std::vector<std::string> reversed;
    std::transform(arguments.rbegin(), arguments.rend(), std::back_inserter(reversed), ToUtf8);
    try {
        app.parse(std::move(reversed));
    } catch (const CLI::ParseError& error) {
        std::ostringstream words;
        const bool asked = app.exit(error, words, words) == 0;
        Output err(STD_ERROR_HANDLE);
        (asked ? out : err).Write(FromUtf8(words.str()));
        return asked ? ERROR_SUCCESS : ERROR_INVALID_COMMAND_LINE;
    }
    const auto chosen =
        std::find_if(commands.begin(), commands.end(), [](const auto& command) { return command.second->parsed(); });
    return chosen->first->Run(out);
}

}  // namespace

}  // namespace tools::author

int wmain(int count, wchar_t** arguments) {
    return tools::RunTool("prodrm-author", count, arguments, &tools::author::Run);
}
