#pragma once

#include <memory>

#include "common/output.h"

namespace CLI {
class App;
}

namespace tools::author {

// A subcommand of the tool. The object holds its options, so it outlives the reading of the command line.
class Command {
public:
    virtual ~Command() = default;

    // Adds the subcommand, its options and the checks of their values; returns what was added.
    virtual CLI::App* AddTo(CLI::App& app) = 0;

    // Runs with the options that were read. The exit code of the program; throws Failure.
    virtual int Run(Output& out) = 0;
};

std::unique_ptr<Command> MakeLintCommand();
std::unique_ptr<Command> MakeSnapshotCommand();
std::unique_ptr<Command> MakeCompareCommand();
std::unique_ptr<Command> MakeDraftCommand();

}  // namespace tools::author
