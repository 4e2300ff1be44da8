#include "author/draft/draft.h"

#include <windows.h>

#include <algorithm>
#include <set>

#include "author/draft/detection.h"
#include "author/draft/difference.h"
#include "author/draft/documents.h"
#include "author/draft/removal.h"
#include "author/draft/uninstall_entry.h"
#include "author/snapshot/line_reader.h"
#include "author/snapshot/names.h"
#include "common/failure.h"
#include "foundation/CSpecialFolder.h"
#include "foundation/CWow64.h"
#include "foundation/text.h"

namespace tools::author {

namespace {

struct DraftedFile {
    std::wstring path;
    std::string text;
};

// Names of all programs of a machine, in lower case.
std::set<std::wstring> ProgramNames(const std::wstring& snapshot) {
    std::set<std::wstring> names;
    LineReader lines(snapshot);
    while (lines.Next()) {
        const std::string_view path = lines.Line().substr(0, lines.Line().find('\t'));
        if (!path.starts_with("HK") && path.size() > 4 &&
            EqualsBlind(Unescaped(path.substr(path.size() - 4)), L".exe")) {
            names.insert(LowerCase(Unescaped(path.substr(path.rfind('\\') + 1))));
        }
    }
    return names;
}

std::string KeptLines(const Removal& removal) {
    std::set<std::string> lines;
    for (const Kept& kept : removal.kept) {
        lines.insert(kept.thing.identity + "\t" + kept.thing.facts + "\n");
    }
    std::string text;
    for (const std::string& line : lines) {
        text += line;
    }
    return text;
}

void WriteFileOf(const DraftedFile& file, bool overwrite) {
    const OwnedFileHandle handle(::CreateFileW(file.path.c_str(), GENERIC_WRITE, 0, nullptr,
                                               overwrite ? CREATE_ALWAYS : CREATE_NEW, FILE_ATTRIBUTE_NORMAL, nullptr));
    DWORD written = 0;
    if (!handle ||
        !::WriteFile(handle.Get(), file.text.data(), static_cast<DWORD>(file.text.size()), &written, nullptr) ||
        written != file.text.size()) {
        throw SystemFailure(L"cannot write", file.path);
    }
}

// Nothing is written where one of the files is there already.
void WriteFiles(const DraftOptions& options, const std::vector<DraftedFile>& files) {
    for (const DraftedFile& file : files) {
        if (!options.overwrite && ::GetFileAttributesW(file.path.c_str()) != INVALID_FILE_ATTRIBUTES) {
            throw Failure(ERROR_INSTALL_FAILURE, L"\"" + file.path + L"\" is there already; --force writes over it");
        }
    }
    ::CreateDirectoryW(options.folder.c_str(), nullptr);
    ::CreateDirectoryW((options.folder + L"\\extern").c_str(), nullptr);
    for (const DraftedFile& file : files) {
        WriteFileOf(file, options.overwrite);
    }
}

std::size_t CountElements(const Removal& removal) {
    std::size_t count = 0;
    for (const Section& section : removal.sections) {
        count += section.elements.size();
    }
    return count;
}

Machine ThisMachine() {
    Machine machine;
    machine.is64Bit = CWow64::Instance().IsWow64Process();
    for (const wchar_t* name : {L"program_files", L"program_files_x86", L"common_files", L"common_files_x86",
                                L"local_app_data", L"app_data", L"common_app_data", L"windows_folder"}) {
        std::wstring path;
        if (CSpecialFolder().Get(name, path)) {
            machine.folders[name] = path;
        }
    }
    return machine;
}

void AddDetection(const DraftOptions& options, const std::optional<UninstallEntry>& entry,
                  const std::vector<JudgingSection>& detection, std::vector<DraftedFile>& files) {
    const std::wstring script = ScriptFileName(options.name);
    files.push_back({options.folder + L"\\detection.xml", CatalogueText(options.name, script, entry)});
    files.push_back({options.folder + L"\\extern\\" + script, DetectionText(detection)});
}

}  // namespace

void WriteDraft(const DraftOptions& options, Output& out) {
    std::vector<DraftedFile> files;
    std::wstring summary;
    if (!options.uninstallEntry.empty()) {
        const UninstallEntry entry = ReadUninstallEntry(options.uninstallEntry);
        AddDetection(options, entry, PlanDetection(entry, ThisMachine()), files);
    } else {
        const Difference difference = ReadDifference(options.before, options.after);
        if (difference.added.empty()) {
            throw Failure(ERROR_INSTALL_FAILURE, L"nothing is new between the two snapshots");
        }
        const auto entry = FindUninstallEntry(difference, options.name);
        RemovalOptions removalOptions{options.name, entry ? entry->publisher : L"", {}, ProgramNames(options.before)};
        for (const std::wstring& owned : options.owned) {
            removalOptions.owned.insert(LowerCase(owned));
        }
        const Removal removal = PlanRemoval(difference, removalOptions);
        AddDetection(options, entry, PlanDetection(difference, removal), files);
        files.push_back({options.folder + L"\\removal.xml", RemovalText(options.name, removal)});
        files.push_back({options.folder + L"\\kept.txt", KeptLines(removal)});
        summary = std::to_wstring(difference.added.size()) + L" new things, " +
                  std::to_wstring(CountElements(removal)) + L" elements, " + std::to_wstring(removal.kept.size()) +
                  L" things that stay\n";
    }
    WriteFiles(options, files);
    for (const DraftedFile& file : files) {
        out.WriteLine(file.path);
    }
    out.Write(summary);
}

}  // namespace tools::author
