#include "command_line.h"

#include <windows.h>

#include <CLI/CLI.hpp>

#include <map>
#include <set>
#include <sstream>
#include <utility>

#include "common/exit_codes.h"
#include "common/failure.h"
#include "common/literal_arguments.h"
#include "common/text.h"
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

// Codes of the findings that stop a removal.
const std::set<std::string> kStopCodes = {"protected-root", "through-link", "relative-path", "other-product", "shared"};

// What the parser fills: names and files as the parser got them, which are tokens.
struct Raw {
    explicit Raw(const LiteralArguments& arguments) : literal(arguments) {}

    std::string catalogue = "all";
    std::vector<std::string> names;
    bool allInstalled = false;
    bool forceAll = false;
    std::vector<std::string> accepted;
    std::string document;
    std::string receipt;
    std::string report;
    std::string logFile;
    std::string logLevel = "notice";
    const LiteralArguments& literal;
    Options options;
};

// An option whose value is one of these names.
template <typename Names>
CLI::Option* AddChoice(CLI::App& command, const Raw& raw, const char* option, std::string& value, const Names& names,
                       const char* text) {
    return command.add_option(option, value, text)
        ->check(CLI::IsMember(names))
        ->transform([&raw](const std::string& token) { return ToUtf8(raw.literal.Restored(token)); })
        ->capture_default_str();
}

void AddCatalogue(CLI::App& command, Raw& raw) {
    AddChoice(command, raw, "--catalogue", raw.catalogue, kCatalogueNames, "family, foreign or all");
}

void AddEscaped(CLI::App& command, Raw& raw) {
    command.add_flag("--escaped", raw.options.escaped,
                     "Names are given with \\uXXXX for a character, as list shows what is not to be shown");
}

void AddLog(CLI::App& command, Raw& raw) {
    CLI::Option* const file = command.add_option("--log", raw.logFile, "Append the library's log to this file");
    AddChoice(command, raw, "--log-level", raw.logLevel, kLevelNames, "error, warning, info or notice (everything)")
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
    list->add_flag("--escaped", raw.options.escaped, "Write \\uXXXX for all characters but those of ASCII");
    AddLog(*list, raw);
    list->callback([&raw] { raw.options.command = Command::List; });
}

void AddExplain(CLI::App& app, Raw& raw) {
    CLI::App* const explain = app.add_subcommand("explain", "Tell why a product counts as installed or not");
    explain->add_option("PRODUCT", raw.names, "Name of a product, as list gives it")->required()->expected(1);
    AddCatalogue(*explain, raw);
    AddEscaped(*explain, raw);
    explain->add_flag("--json", raw.options.json, "Write JSON");
    explain->callback([&raw] { raw.options.command = Command::Explain; });
}

// Which products go.
void AddTargets(CLI::App& command, Raw& raw) {
    CLI::Option* const names = command.add_option("NAME", raw.names, "Names of installed products, as list gives them");
    AddCatalogue(command, raw);
    AddEscaped(command, raw);
    command.add_flag("--force", raw.options.force, "The named products also if they are not installed")->needs(names);
    command.add_flag("--all-installed", raw.allInstalled, "All products of one catalogue that are installed")
        ->excludes(names);
    command.add_flag("--force-all", raw.forceAll, "All products of one catalogue, installed or not")
        ->excludes(names, "--all-installed");
}

// What a removal goes by, and the page that shows its plan.
void AddPlanning(CLI::App& command, Raw& raw) {
    command.add_option("--document", raw.document, "Remove by this document instead of the one in the library");
    command.add_option("--report", raw.report, "Write a page for people (HTML) to this file");
}

void AddPlan(CLI::App& app, Raw& raw) {
    CLI::App* const plan = app.add_subcommand("plan", "Show what a removal would take, and change nothing");
    AddTargets(*plan, raw);
    CLI::Option* const json = plan->add_flag("--json", raw.options.json, "Write JSON");
    plan->add_flag("--all", raw.options.all, "Cut no list short")->excludes(json);
    AddPlanning(*plan, raw);
    plan->callback([&raw] { raw.options.command = Command::Plan; });
}

void AddRemove(CLI::App& app, Raw& raw) {
    CLI::App* const remove = app.add_subcommand("remove", "Remove products");
    Options& options = raw.options;
    AddTargets(*remove, raw);
    CLI::Option* const yes = remove->add_flag("--yes", options.yes, "Do not ask");
    CLI::Option* const quiet = remove->add_flag("--quiet", options.quiet, "Write nothing but failures");
    quiet->needs(yes);
    remove->add_flag("--json", options.json, "Write JSON Lines")->needs(yes)->excludes(quiet);
    remove->add_option("--accept", raw.accepted, "Go on in spite of findings of this code; may be given several times")
        ->expected(1)
        ->take_all();
    AddPlanning(*remove, raw);
    remove->add_option("--receipt", raw.receipt, "Write what was planned and what became of it to this file (JSON)");
    AddLog(*remove, raw);
    remove->callback([&raw] { raw.options.command = Command::Remove; });
}

void AddVerify(CLI::App& app, Raw& raw) {
    CLI::App* const verify = app.add_subcommand("verify", "Look again at what a removal took, after its restart");
    verify->add_option("RECEIPT", raw.receipt, "What remove --receipt has written")->required();
    verify->add_flag("--json", raw.options.json, "Write JSON");
    verify->callback([&raw] { raw.options.command = Command::Verify; });
}

// What the parser cannot tell by itself.
void Check(const Raw& raw) {
    if (raw.options.command != Command::Plan && raw.options.command != Command::Remove) {
        return;
    }
    for (const std::string& token : raw.accepted) {
        if (!kStopCodes.contains(ToUtf8(raw.literal.Restored(token)))) {
            throw CLI::ValidationError("--accept", "knows no finding of this code that stops: " + token);
        }
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
    for (const std::string& token : raw.names) {
        const std::wstring name = raw.literal.Restored(token);
        options.names.push_back(options.escaped ? FromPrintable(name) : name);
    }
    if (raw.allInstalled || raw.forceAll) {
        options.scope = raw.forceAll ? RemovalScope::ForceAll : RemovalScope::AllInstalled;
    }
    for (const std::string& token : raw.accepted) {
        options.accepted.push_back(ToUtf8(raw.literal.Restored(token)));
    }
    options.document = raw.literal.Restored(raw.document);
    options.receipt = raw.literal.Restored(raw.receipt);
    options.report = raw.literal.Restored(raw.report);
    options.log.file = raw.literal.Restored(raw.logFile);
    options.log.level = kLevelNames.at(raw.logLevel);
    options.log.heading = L"prodrm.exe";
    for (const std::wstring& argument : arguments) {
        options.log.heading += L" \"" + argument + L"\"";
    }
    return options;
}

}  // namespace

std::variant<Options, std::wstring> ParseCommandLine(const std::vector<std::wstring>& arguments) {
    const LiteralArguments literal(arguments);
    Raw raw(literal);
    CLI::App app("Lists, explains and removes software products.", "prodrm");
    app.allow_windows_style_options(false);
    app.set_version_flag("--version", kVersion, "Print the version and exit");
    app.footer(ToUtf8(ExitCodesHelp()));
    app.require_subcommand(1);
    AddList(app, raw);
    AddExplain(app, raw);
    AddPlan(app, raw);
    AddRemove(app, raw);
    AddVerify(app, raw);

    try {
        app.parse(std::vector<std::string>(literal.ForParser().rbegin(), literal.ForParser().rend()));
        Check(raw);
    } catch (const CLI::ParseError& error) {
        std::ostringstream text;
        if (app.exit(error, text, text) == 0) {
            return FromUtf8(text.str());
        }
        throw Failure(ERROR_INVALID_COMMAND_LINE,
                      literal.Restored(error.what()) + L" (prodrm --help tells the command line)");
    }
    return Finish(raw, arguments);
}

}  // namespace tools::host
