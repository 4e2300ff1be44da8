#include "judge.h"

#include "text.h"

namespace {

// Bears the list of what waits for the restart.
constexpr wchar_t kSessionManager[] = L"\\registry\\machine\\system\\currentcontrolset\\control\\session manager";
constexpr wchar_t kPendingName[] = L"pendingfilerenameoperations";

std::wstring Above(const std::wstring& place) {
    const std::size_t value = place.find(L"\\\\", 1);
    return place.substr(0, value != std::wstring::npos ? value : place.rfind(L'\\'));
}

// A shortcut is read to be judged; to put its time of access back moves the time of change.
unsigned Loose(const std::wstring& place) {
    return Lower(place).ends_with(L".lnk") ? kTouched : 0u;
}

std::wstring Pending() {
    return ValuePlace(kSessionManager, kPendingName);
}

// The folders and keys that something went from or came into: their times move.
std::set<std::wstring> Touched(const Difference& difference) {
    std::set<std::wstring> touched;
    for (const auto* list : {&difference.gone, &difference.fresh}) {
        for (const std::wstring& place : *list) {
            touched.insert(Above(place));
        }
    }
    for (const auto& [place, how] : difference.changed) {
        if ((how & kData) != 0) {
            touched.insert(Above(place));
        }
    }
    return touched;
}

class Judge {
public:
    Judge(const PlannedEffect& plan, const MachineState& before, const Difference& difference)
        : m_plan(plan), m_before(before), m_difference(difference), m_touched(Touched(difference)) {
        // A link shows the times of what it leads to.
        for (const auto& [link, target] : plan.links) {
            if (m_touched.contains(target)) {
                m_touched.insert(link);
            }
        }
    }

    void Unplanned(const std::set<std::wstring>& planned, const char* kind) {
        for (const std::wstring& place : m_difference.gone) {
            if (!planned.contains(place)) {
                Add(kind, place);
            }
        }
    }

    void Left(const std::set<std::wstring>& planned, const std::set<std::wstring>& excused, const char* kind) {
        for (const std::wstring& place : planned) {
            if (!m_difference.gone.contains(place) && !excused.contains(place)) {
                Add(kind, place);
            }
        }
    }

    void NewThings() {
        for (const std::wstring& place : m_difference.fresh) {
            if (place != Pending()) {
                Add("came to be", place);
            }
        }
    }

    void Changes() {
        for (const auto& [place, how] : m_difference.changed) {
            if ((how & ~Excused(place)) != 0 && place != Pending()) {
                Add("changed", place, " how " + std::to_string(how));
            }
        }
        for (const std::wstring& start : m_plan.disabled) {
            if (!m_difference.changed.contains(start) && !m_difference.fresh.contains(start) &&
                !m_difference.gone.contains(start) && !IsDisabled(start)) {
                Add("is not disabled", start);
            }
        }
    }

    void Add(const char* kind, const std::wstring& place, const std::string& more = {}) {
        m_faults.push_back({kind, ToUtf8(place) + more});
    }

    std::vector<Fault> Faults() { return std::move(m_faults); }

private:
    unsigned Excused(const std::wstring& place) const {
        // Whoever looks into a file moves its time of access.
        unsigned excused =
            kRead | Loose(place) | (m_touched.contains(place) || place == kSessionManager ? kWritten | kTouched : 0u);
        // The removal takes the attributes of what it is to delete before it tries.
        excused |= m_plan.named.contains(place) ? kAttributes | kTouched : 0u;
        return excused | (m_plan.disabled.contains(place) ? kData : 0u);
    }

    bool IsDisabled(const std::wstring& start) const {
        const auto key = m_before.keys.find(Above(start));
        if (key == m_before.keys.end()) {
            return false;
        }
        const auto value = key->second.values->find(L"start");
        return value != key->second.values->end() && value->second == std::string("4 \4\0\0\0", 6);
    }

    const PlannedEffect& m_plan;
    const MachineState& m_before;
    const Difference& m_difference;
    std::set<std::wstring> m_touched;
    std::vector<Fault> m_faults;
};

void AddWithFoldersAbove(std::wstring place, std::set<std::wstring>& places) {
    for (; place.size() > 3 && place.rfind(L'\\') != std::wstring::npos; place = Above(place)) {
        places.insert(place);
    }
}

// What need not be gone before the restart: files that are held, running programs, and the folders they lie in.
std::set<std::wstring> HeldPlaces(const Machine& machine) {
    std::set<std::wstring> places;
    for (const auto& [path, share] : machine.Held()) {
        AddWithFoldersAbove(path, places);
    }
    for (const Holder& holder : machine.Holders()) {
        AddWithFoldersAbove(holder.Image(), places);
    }
    // A link goes on as long as what it leads to is there.
    for (const auto& [link, target] : machine.Links()) {
        if (places.contains(target)) {
            AddWithFoldersAbove(link, places);
        }
    }
    return places;
}

// Where a folder is deleted through a Unix link, this platform deletes what the link leads to and leaves the link,
// which it then does not show: the folder that holds the link cannot go. Windows deletes the link itself.
void AddHoldersOfDeadLinks(const PlannedEffect& plan, const Difference& difference, std::set<std::wstring>& places) {
    for (const auto& [link, target] : plan.links) {
        if (difference.gone.contains(target)) {
            AddWithFoldersAbove(Above(link), places);
        }
    }
}

}  // namespace

std::vector<Fault> JudgeUnchanged(const Difference& difference, const char* kind) {
    std::vector<Fault> faults;
    for (const auto* list : {&difference.gone, &difference.fresh}) {
        for (const std::wstring& place : *list) {
            faults.push_back({kind, ToUtf8(place)});
        }
    }
    for (const auto& [place, how] : difference.changed) {
        if ((how & ~Loose(place)) != 0) {
            faults.push_back({kind, ToUtf8(place) + " how " + std::to_string(how)});
        }
    }
    return faults;
}

std::vector<Fault> JudgeRemoval(const PlannedEffect& plan, const MachineState& before, const Difference& difference,
                                const Machine& machine) {
    Judge judge(plan, before, difference);
    for (const std::string& item : plan.notFound) {
        judge.Add("is planned and not there", FromUtf8(item));
    }
    std::set<std::wstring> excused = HeldPlaces(machine);
    // A folder stays while something in it waits.
    for (const std::wstring& place : plan.waits) {
        AddWithFoldersAbove(place, excused);
    }
    AddHoldersOfDeadLinks(plan, difference, excused);
    judge.Unplanned(plan.goes, "went unplanned");
    judge.Left(plan.goes, excused, "did not go");
    judge.NewThings();
    judge.Changes();
    for (const Holder& holder : machine.Holders()) {
        const std::wstring& image = holder.Image();
        const bool planned = plan.ended.contains(Lower(image.substr(image.rfind(L'\\') + 1)));
        if (planned == holder.Runs()) {
            judge.Add(planned ? "runs on" : "was ended unplanned", image);
        }
    }
    return judge.Faults();
}

std::vector<Fault> JudgeRestart(const PlannedEffect& plan, const MachineState& before, const MachineState& after) {
    const Difference difference = Compare(before, after);
    // The system itself deletes no folder that holds anything.
    std::set<std::wstring> full;
    for (const std::wstring& place : plan.handed) {
        const auto next = after.files.upper_bound(place + L'\\');
        if (next != after.files.end() && next->first.starts_with(place + L'\\')) {
            full.insert(place);
        }
    }
    Judge judge(plan, before, difference);
    std::set<std::wstring> all = plan.goes;
    all.insert(plan.waits.begin(), plan.waits.end());
    AddHoldersOfDeadLinks(plan, difference, full);
    judge.Unplanned(all, "went unplanned by the restart");
    judge.Left(all, full, "did not go by the restart");
    judge.NewThings();
    judge.Changes();
    return judge.Faults();
}

std::vector<Fault> JudgeCleaned(const PlannedEffect& plan, const Difference& difference) {
    Judge judge(plan, {}, difference);
    std::set<std::wstring> all = plan.goes;
    all.insert(plan.waits.begin(), plan.waits.end());
    judge.Unplanned(all, "was lost");
    for (const std::wstring& place : difference.fresh) {
        judge.Add("cannot be cleaned", place);
    }
    return judge.Faults();
}
