#include "author/draft/difference.h"

#include <windows.h>

#include "author/compare/merge.h"
#include "author/snapshot/names.h"
#include "common/failure.h"

namespace tools::author {

namespace {

Machine ReadMachine(const std::wstring& file) {
    Machine machine;
    bool isSnapshot = false;
    LineReader lines(file);
    while (lines.Next() && lines.Line().starts_with('#')) {
        const auto [identity, facts] = Split(lines.Line());
        if (constexpr std::string_view folder = "#folder\t"; identity.starts_with(folder)) {
            machine.folders[Unescaped(identity.substr(folder.size()))] = Unescaped(facts);
        } else if (identity == "#system") {
            machine.is64Bit = facts == "x64";
        } else if (identity == "#format") {
            isSnapshot = facts == "1";
        }
    }
    if (!isSnapshot) {
        throw Failure(ERROR_INSTALL_FAILURE, L"no snapshot of this tool: \"" + file + L"\"");
    }
    return machine;
}

}  // namespace

std::wstring Thing::Path() const {
    std::string_view path = std::string_view(identity).substr(0, identity.find('\t'));
    if (path.ends_with('\\')) {
        path.remove_suffix(1);
    }
    return Unescaped(path);
}

std::wstring Thing::ValueName() const {
    return Unescaped(std::string_view(identity).substr(identity.find('\t') + 1));
}

Difference ReadDifference(const std::wstring& before, const std::wstring& after) {
    Difference difference;
    difference.machine = ReadMachine(after);
    ReadMachine(before);
    Merge merge(before, after);
    while (merge.Step()) {
        const auto& [identity, facts] = merge.Line();
        if (identity.starts_with("#excluded")) {
            throw Failure(ERROR_INSTALL_FAILURE,
                          L"the two snapshots leave different things out: take both with one list");
        }
        if (identity.starts_with('#')) {
            continue;
        }
        Thing thing{std::string(identity), std::string(facts), {}};
        switch (merge.What()) {
            case Merge::Kind::New:
                difference.added.push_back(std::move(thing));
                break;
            case Merge::Kind::Gone:
                difference.gone.push_back(std::move(thing));
                break;
            case Merge::Kind::Changed:
                thing.oldFacts = merge.OldFacts();
                difference.changed.push_back(std::move(thing));
                break;
        }
    }
    return difference;
}

}  // namespace tools::author
