#include <CLI/CLI.hpp>

#include <algorithm>
#include <iterator>

#include "author/draft/draft.h"
#include "command.h"
#include "common/utf8.h"

namespace tools::author {

namespace {

class DraftCommand : public Command {
public:
    CLI::App* AddTo(CLI::App& app) override {
        CLI::App* const draft = app.add_subcommand("draft", "Draft catalogue, detection and removal of a product");
        CLI::Option* const entry = draft->add_option(
            "--from-uninstall-entry", m_entry, "From this key of the list of programs: catalogue and detection alone");
        CLI::Option* const before = draft->add_option("BEFORE", m_before, "Snapshot before the installation");
        CLI::Option* const after = draft->add_option("AFTER", m_after, "Snapshot after it");
        before->excludes(entry);
        after->excludes(entry);
        draft->add_option("--name", m_name, "The product's name in the catalogue")->required();
        draft
            ->add_option("--owns", m_owned,
                         "A folder or key of the maker that no other product uses, by its name; it goes as a whole")
            ->excludes(entry);
        draft->add_option("--output", m_folder, "Folder for what is drafted")->capture_default_str();
        draft->add_flag("--force", m_overwrite, "Write over files that are there");
        draft->final_callback([entry, after] {
            if (entry->empty() && after->empty()) {
                throw CLI::RequiredError("BEFORE and AFTER, or --from-uninstall-entry");
            }
        });
        return draft;
    }

    int Run(Output& out) override {
        DraftOptions options{FromUtf8(m_before), FromUtf8(m_after), FromUtf8(m_entry), FromUtf8(m_name), {},
                             FromUtf8(m_folder), m_overwrite};
        std::transform(m_owned.begin(), m_owned.end(), std::back_inserter(options.owned), FromUtf8);
        WriteDraft(options, out);
        return ERROR_SUCCESS;
    }

private:
    std::string m_before;  // texts are UTF-8
    std::string m_after;
    std::string m_entry;
    std::string m_name;
    std::vector<std::string> m_owned;
    std::string m_folder = ".";
    bool m_overwrite = false;
};

}  // namespace

std::unique_ptr<Command> MakeDraftCommand() {
    return std::make_unique<DraftCommand>();
}

}  // namespace tools::author
