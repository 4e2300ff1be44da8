#include "author/draft/detection.h"

#include <algorithm>
#include <set>

#include "foundation/text.h"

namespace tools::author {

namespace {

constexpr std::size_t kMostFiles = 8;
constexpr std::size_t kMostKeys = 6;
constexpr int kStrong = 2;  // the score of a mark that few others could have set

struct FileMark {
    int rank;  // programs first
    std::wstring path;
    FolderPath place;
};

int RankOf(const std::wstring& path) {
    const std::wstring lower = LowerCase(LastName(path));
    if (lower.ends_with(L".exe")) {
        return lower.starts_with(L"unins") ? 1 : 0;
    }
    return lower.ends_with(L".dll") ? 1 : 2;
}

// More than half of what there is.
void SetMinimum(JudgingSection& judging) {
    int total = 0;
    for (const int score : judging.scores) {
        total += score;
    }
    judging.minimum = total / 2 + 1;
}

void AddFiles(std::vector<FileMark> marks, std::vector<JudgingSection>& sections) {
    std::sort(marks.begin(), marks.end(), [](const FileMark& a, const FileMark& b) {
        return a.rank != b.rank ? a.rank < b.rank : a.path.size() < b.path.size();
    });
    marks.resize(std::min(marks.size(), kMostFiles));
    JudgingSection judging{{L"files", L"del_file", {}}, {}, 1};
    for (const FileMark& mark : marks) {
        judging.section.elements.push_back({{L"path", mark.place.folder}, {L"name", mark.place.rest}});
        judging.scores.push_back(mark.rank == 0 ? kStrong : 1);
    }
    if (!marks.empty()) {
        SetMinimum(judging);
        sections.push_back(std::move(judging));
    }
}

const Section* FindSection(const Removal& removal, const std::wstring& operation) {
    const auto found = std::find_if(removal.sections.begin(), removal.sections.end(),
                                    [&](const Section& section) { return section.operation == operation; });
    return found == removal.sections.end() ? nullptr : &*found;
}

const std::wstring& Attribute(const Element& element, const std::wstring& name) {
    static const std::wstring none;
    const auto found =
        std::find_if(element.begin(), element.end(), [&](const auto& attribute) { return attribute.first == name; });
    return found == element.end() ? none : found->second;
}

// The key in the list of programs, and the product's own keys below Software.
void AddKeys(const Removal& removal, std::vector<JudgingSection>& sections) {
    const Section* const keys = FindSection(removal, L"del_regkey");
    if (keys == nullptr) {
        return;
    }
    JudgingSection judging{{L"keys", L"del_regkey", {}}, {}, 1};
    for (const Element& element : keys->elements) {
        const std::wstring path = LowerCase(Attribute(element, L"name"));
        const bool isEntry = path.find(L"\\currentversion\\uninstall\\") != std::wstring::npos;
        const bool isOwn = path.find(L"\\software\\") != std::wstring::npos &&
                           path.find(L"\\software\\classes\\") == std::wstring::npos &&
                           path.find(L"\\software\\microsoft\\") == std::wstring::npos;
        if ((isEntry || isOwn) && judging.scores.size() < kMostKeys) {
            judging.section.elements.push_back(element);
            judging.scores.push_back(isEntry ? kStrong : 1);
        }
    }
    if (!judging.scores.empty()) {
        const bool hasStrong = std::count(judging.scores.begin(), judging.scores.end(), kStrong) > 0;
        judging.minimum = hasStrong ? kStrong : static_cast<int>(judging.scores.size() / 2 + 1);
        sections.push_back(std::move(judging));
    }
}

void AddServices(const Removal& removal, std::vector<JudgingSection>& sections) {
    for (const wchar_t* operation : {L"disableandstop_service", L"disableandstop_driver"}) {
        if (const Section* const services = FindSection(removal, operation)) {
            JudgingSection judging{{services->name, L"disable_service", services->elements}, {}, 1};
            judging.scores.assign(services->elements.size(), 1);
            SetMinimum(judging);
            sections.push_back(std::move(judging));
        }
    }
}

}  // namespace

std::vector<JudgingSection> PlanDetection(const Difference& difference, const Removal& removal) {
    const Places places(difference.machine);
    std::set<std::string> kept;
    for (const Kept& thing : removal.kept) {
        kept.insert(thing.thing.identity);
    }
    std::vector<FileMark> files;
    for (const Thing& thing : difference.added) {
        if (thing.IsRegistry() || thing.IsContainer() || kept.contains(thing.identity)) {
            continue;
        }
        const std::wstring path = thing.Path();
        const auto place = places.Folder(path);
        if (place && !place->folder.empty() && !LowerCase(path).ends_with(L".lnk")) {
            files.push_back({RankOf(path), path, *place});
        }
    }
    std::vector<JudgingSection> sections;
    AddFiles(std::move(files), sections);
    AddKeys(removal, sections);
    AddServices(removal, sections);
    return sections;
}

std::vector<JudgingSection> PlanDetection(const UninstallEntry& entry, const Machine& machine) {
    const Places places(machine);
    std::vector<JudgingSection> sections;
    if (const auto place = places.Folder(entry.displayIcon); place && !place->folder.empty()) {
        AddFiles({{RankOf(entry.displayIcon), entry.displayIcon, *place}}, sections);
    }
    if (const auto key = places.Key(entry.path)) {
        Element element{{L"name", key->path}};
        if (key->x32view) {
            element.emplace_back(L"x32view", L"true");
        }
        sections.push_back({{L"keys", L"del_regkey", {std::move(element)}}, {kStrong}, kStrong});
    }
    return sections;
}

}  // namespace tools::author
