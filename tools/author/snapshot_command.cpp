#include <CLI/CLI.hpp>

#include <algorithm>
#include <iterator>

#include "author/snapshot/exclusions.h"
#include "author/snapshot/snapshot.h"
#include "command.h"
#include "common/utf8.h"

namespace tools::author {

namespace {

class SnapshotCommand : public Command {
public:
    CLI::App* AddTo(CLI::App& app) override {
        CLI::App* const snapshot = app.add_subcommand("snapshot", "Write the state of this machine into a file");
        CLI::Option* const file = snapshot->add_option("FILE", m_file, "The file to write");
        snapshot->add_option("--exclude", m_exclusions, "What to leave out, in place of the list that is built in");
        snapshot->add_option("--drive", m_drives, "Only these drives, such as C:; otherwise the fixed ones")
            ->check(CLI::Validator(
                [](const std::string& drive) {
                    const bool isDrive =
                        drive.size() == 2 && std::isalpha(static_cast<unsigned char>(drive[0])) != 0 && drive[1] == ':';
                    return isDrive ? std::string() : "not a drive: " + drive;
                },
                "DRIVE"));
        snapshot->add_flag("--print-exclusions", m_print, "Print the list that is built in, for changing it")
            ->excludes(file);
        snapshot->final_callback([this, file] {
            if (!m_print && file->empty()) {
                throw CLI::RequiredError("FILE");
            }
        });
        return snapshot;
    }

    int Run(Output& out) override {
        if (m_print) {
            out.Write(FromUtf8(Exclusions::Default()));
            return ERROR_SUCCESS;
        }
        SnapshotOptions options{FromUtf8(m_file), FromUtf8(m_exclusions), {}};
        for (std::string drive : m_drives) {
            drive[0] = static_cast<char>(std::toupper(static_cast<unsigned char>(drive[0])));
            options.drives.push_back(FromUtf8(drive));
        }
        const unsigned long lines = TakeSnapshot(options);
        out.WriteLine(std::to_wstring(lines) + L" lines");
        return ERROR_SUCCESS;
    }

private:
    std::string m_file;  // texts are UTF-8
    std::string m_exclusions;
    std::vector<std::string> m_drives;
    bool m_print = false;
};

}  // namespace

std::unique_ptr<Command> MakeSnapshotCommand() {
    return std::make_unique<SnapshotCommand>();
}

}  // namespace tools::author
