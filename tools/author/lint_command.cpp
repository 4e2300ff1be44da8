#include <CLI/CLI.hpp>

#include <algorithm>
#include <iterator>

#include "command.h"
#include "common/com_scope.h"
#include "common/utf8.h"
#include "lint/lint.h"
#include "lint/print.h"

namespace tools::author {

namespace {

constexpr int kErrorsFound = 1;

class LintCommand : public Command {
public:
    CLI::App* AddTo(CLI::App& app) override {
        CLI::App* const lint = app.add_subcommand("lint", "Check catalogues, scripts and removal documents");
        lint->add_option("PATH", m_paths, "Files, libraries with a document, or product folders")->required();
        CLI::Option* const json = lint->add_flag("--json", m_json, "Write JSON");
        lint->add_flag("--sarif", m_sarif, "Write SARIF 2.1.0")->excludes(json);
        return lint;
    }

    int Run(Output& out) override {
        const ComScope com;
        std::vector<std::wstring> paths;
        std::transform(m_paths.begin(), m_paths.end(), std::back_inserter(paths), FromUtf8);
        lint::Report report;
        lint::CheckPaths(paths, report);
        out.Write(m_sarif ? lint::AsSarif(report) : m_json ? lint::AsJson(report) : lint::AsText(report));
        return report.Count(lint::Severity::Error) > 0 ? kErrorsFound : ERROR_SUCCESS;
    }

private:
    std::vector<std::string> m_paths;  // UTF-8
    bool m_json = false;
    bool m_sarif = false;
};

}  // namespace

std::unique_ptr<Command> MakeLintCommand() {
    return std::make_unique<LintCommand>();
}

}  // namespace tools::author
