#include <CLI/CLI.hpp>

#include "author/compare/compare.h"
#include "command.h"
#include "common/utf8.h"

namespace tools::author {

namespace {

constexpr int kDifferencesFound = 1;

class CompareCommand : public Command {
public:
    CLI::App* AddTo(CLI::App& app) override {
        CLI::App* const compare = app.add_subcommand("compare", "Write what differs between two snapshots");
        compare->add_option("BEFORE", m_before, "The older snapshot")->required();
        compare->add_option("AFTER", m_after, "The newer snapshot")->required();
        return compare;
    }

    int Run(Output& out) override {
        const DifferenceCounts counts = WriteDifferences(FromUtf8(m_before), FromUtf8(m_after), out);
        Output err(STD_ERROR_HANDLE);
        err.WriteLine(L"new " + std::to_wstring(counts.added) + L", gone " + std::to_wstring(counts.gone) +
                      L", changed " + std::to_wstring(counts.changed));
        return counts.Any() ? kDifferencesFound : ERROR_SUCCESS;
    }

private:
    std::string m_before;  // UTF-8
    std::string m_after;
};

}  // namespace

std::unique_ptr<Command> MakeCompareCommand() {
    return std::make_unique<CompareCommand>();
}

}  // namespace tools::author
