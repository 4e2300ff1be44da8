#include "command_line.h"

#include <windows.h>

#include <CLI/CLI.hpp>

#include <algorithm>
#include <map>
#include <sstream>
#include <utility>

#include "common/exit_codes.h"
#include "common/utf8.h"

namespace tools::host {

namespace {

constexpr char kVersion[] = "prodrm " PRODRM_VERSION;

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
    std::string catalogue = "all";
    std::vector<std::string> names;
    bool allInstalled = false;
    bool forceAll = false;
    std::string logFile;
    std::string logLevel = "notice";
    Options options;
};

void AddCatalogue(CLI::App& command, Raw& raw) {
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
    AddCatalogue(*list, raw);
    CLI::Option* const installed =
        list->add_flag("--installed", raw.options.installed, "Only the products found on this machine");
    list->add_flag("--details", raw.options.details, "With the registry keys found and their parameters")
        ->needs(installed);
    list->add_flag("--json", raw.options.json, "Write JSON");
    AddLog(*list, raw);
    list->callback([&raw] { raw.options.command = Command::List; });
}

void AddExplain(CLI::App& app, Raw& raw) {
    CLI::App* const explain = app.add_subcommand("explain", "Tell why a product counts as installed or not");
    explain->add_option("PRODUCT", raw.names, "Name of a product, as list gives it")->required()->expected(1);
    AddCatalogue(*explain, raw);
    explain->add_flag("--json", raw.options.json, "Write JSON");
    explain->callback([&raw] { raw.options.command = Command::Explain; });
}

void AddRemove(CLI::App& app, Raw& raw) {
    CLI::App* const remove = app.add_subcommand("remove", "Remove products");
    Options& options = raw.options;
    CLI::Option* const names = remove->add_option("NAME", raw.names, "Names of installed products, as list gives them");
    AddCatalogue(*remove, raw);
    remove->add_flag("--force", options.force, "Remove the named products also if they are not installed")
        ->needs(names);
    remove->add_flag("--all-installed", raw.allInstalled, "All products of one catalogue that are installed")
        ->excludes(names);
    remove->add_flag("--force-all", raw.forceAll, "All products of one catalogue, installed or not")
        ->excludes(names, "--all-installed");
    CLI::Option* const yes = remove->add_flag("--yes", options.yes, "Do not ask");
    CLI::Option* const quiet = remove->add_flag("--quiet", options.quiet, "Write nothing but failures");
    quiet->needs(yes);
    remove->add_flag("--json", options.json, "Write JSON Lines")->needs(yes)->excludes(quiet);
    AddLog(*remove, raw);
    remove->callback([&raw] { raw.options.command = Command::Remove; });
}

// What the parser cannot tell by itself.
void Check(const Raw& raw) {
    if (raw.options.command != Command::Remove) {
        return;
    }
    const bool whole = raw.allInstalled || raw.forceAll;
    if (raw.names.empty() && !whole) {
        throw CLI::RequiredError("NAME, --all-installed or --force-all");
    }
    if (whole && raw.catalogue == "all") {
        throw CLI::ValidationError("--all-installed and --force-all", "need --catalogue family or foreign");
    }
}

Options Finish(const Raw& raw, const std::vector<std::wstring>& arguments) {
    Options options = raw.options;
    options.catalogues = kCatalogueNames.at(raw.catalogue);
    std::transform(raw.names.begin(), raw.names.end(), std::back_inserter(options.names), FromUtf8);
    if (raw.allInstalled || raw.forceAll) {
        options.scope = raw.forceAll ? RemovalScope::ForceAll : RemovalScope::AllInstalled;
    }
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
    app.footer(ToUtf8(ExitCodesHelp()));
    app.require_subcommand(1);
    AddList(app, raw);
    AddExplain(app, raw);
    AddRemove(app, raw);

    std::vector<std::string> reversed;
    std::transform(arguments.rbegin(), arguments.rend(), std::back_inserter(reversed), ToUtf8);
    try {
        app.parse(std::move(reversed));
        Check(raw);
    } catch (const CLI::ParseError& error) {
        std::ostringstream out;
        std::ostringstream err;
        const bool asked = app.exit(error, out, err) == 0;
        return Ending{asked ? ERROR_SUCCESS : ERROR_INVALID_COMMAND_LINE, FromUtf8(asked ? out.str() : err.str())};
    }
    return Finish(raw, arguments);
}

}  // namespace tools::host
