#include "command_line.h"

#include <windows.h>

#include <CLI/CLI.hpp>

#include <algorithm>
#include <map>
#include <sstream>
#include <utility>

#include "text.h"

namespace host {

namespace {

constexpr char kVersion[] = "prodrm " PRODRM_VERSION;
constexpr char kFooter[] =
    "Exit codes: 0 success, 1603 failure, 1605 unknown or not installed, 1618 another removal is running,\n"
    "1639 bad command line, 3010 success, restart required.";

const std::map<std::string, ULONG> kCatalogueNames = {
    {"family", PRODRM_FAMILY},
    {"foreign", PRODRM_FOREIGN},
    {"all", PRODRM_FAMILY | PRODRM_FOREIGN},
};

const std::map<std::string, DWORD> kLevelNames = {
    {"error", LOG_LEVEL_ERROR},
    {"warning", LOG_LEVEL_WARNING},
    {"info", LOG_LEVEL_INFO},
    {"notice", LOG_LEVEL_NOTICE},
};

// What the parser fills: texts are UTF-8.
struct Raw {
    std::string catalogue;
    std::string logFile;
    std::string logLevel = "notice";
    Options options;
};

void AddCatalogue(CLI::App& command, Raw& raw, const std::string& preset) {
    raw.catalogue = preset;
    command.add_option("--catalogue", raw.catalogue, "family, foreign or all")
        ->check(CLI::IsMember(kCatalogueNames))
        ->capture_default_str();
}

void AddLog(CLI::App& command, Raw& raw) {
    CLI::Option* const file = command.add_option("--log", raw.logFile, "Append the library's log to this file");
    command.add_option("--log-level", raw.logLevel, "error, warning, info or notice (everything)")
        ->check(CLI::IsMember(kLevelNames))
        ->capture_default_str()
        ->needs(file);
}

void AddList(CLI::App& app, Raw& raw) {
    CLI::App* const list = app.add_subcommand("list", "List the products of the catalogues");
    AddCatalogue(*list, raw, "all");
    CLI::Option* const installed =
        list->add_flag("--installed", raw.options.installed, "Only the products found on this machine");
    list->add_flag("--details", raw.options.details, "With the registry keys found and their parameters")
        ->needs(installed);
    list->add_flag("--json", raw.options.json, "Write JSON");
    AddLog(*list, raw);
    list->callback([&raw] { raw.options.command = Command::List; });
}

Options Finish(const Raw& raw, const std::vector<std::wstring>& arguments) {
    Options options = raw.options;
    options.catalogues = kCatalogueNames.at(raw.catalogue);
    options.log.file = FromUtf8(raw.logFile);
    options.log.level = kLevelNames.at(raw.logLevel);
    options.log.heading = L"prodrm.exe";
    for (const std::wstring& argument : arguments) {
        options.log.heading += L" \"" + argument + L"\"";
    }
    return options;
}

}  // namespace

std::variant<Options, Ending> ParseCommandLine(const std::vector<std::wstring>& arguments) {
    Raw raw;
    CLI::App app("Lists, explains and removes software products.", "prodrm");
    app.allow_windows_style_options(false);
    app.set_version_flag("--version", kVersion, "Print the version and exit");
    app.footer(kFooter);
    app.require_subcommand(1);
    AddList(app, raw);

    std::vector<std::string> reversed;
    std::transform(arguments.rbegin(), arguments.rend(), std::back_inserter(reversed), ToUtf8);
    try {
        app.parse(std::move(reversed));
    } catch (const CLI::ParseError& error) {
        std::ostringstream out;
        std::ostringstream err;
        const bool asked = app.exit(error, out, err) == 0;
        return Ending{asked ? ERROR_SUCCESS : ERROR_INVALID_COMMAND_LINE, FromUtf8(asked ? out.str() : err.str())};
    }
    return Finish(raw, arguments);
}

}  // namespace host
