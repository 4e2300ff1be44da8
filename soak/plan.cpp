#include "plan.h"

#include <nlohmann/json.hpp>

#include "places.h"
#include "text.h"

namespace {

// Finds files as the system does: without regard to case where no name fits exactly, and through links.
class FileFinder {
public:
    FileFinder(const MachineState& machine, const std::map<std::wstring, std::wstring>& links)
        : m_machine(machine), m_links(links) {
        for (const auto& [path, facts] : machine.files) {
            m_byLower.emplace(Lower(path), path);
        }
    }

    // The place behind all links on the way; the last part's own link is not followed. Empty if there is none.
    std::wstring Find(const std::wstring& path) const {
        const std::wstring place = FindAsListed(path);
        if (!place.empty()) {
            return place;
        }
        // As the system takes it: without dots and blanks at the end, and below the current folder, which this program
        // shares with the tool.
        constexpr DWORD kLongest = 0x1000;
        wchar_t folded[kLongest] = {};
        ::GetFullPathNameW(path.c_str(), kLongest, folded, nullptr);
        return FindAsListed(folded);
    }

    std::wstring Followed(std::wstring place) const {
        for (auto link = m_links.find(place); link != m_links.end(); link = m_links.find(place)) {
            place = link->second;
        }
        return place;
    }

private:
    std::wstring FindAsListed(const std::wstring& path) const {
        const std::vector<std::wstring> parts = Split(path, L'\\');
        std::wstring place = L"C:";
        if (Lower(parts.front()) != L"c:") {
            return {};
        }
        for (std::size_t index = 1; index < parts.size() && !place.empty(); ++index) {
            if (!parts[index].empty()) {
                place = Below(Followed(place), parts[index]);
            }
        }
        return place;
    }

    std::wstring Below(const std::wstring& folder, const std::wstring& name) const {
        const std::wstring exact = folder + L'\\' + name;
        if (m_machine.files.contains(exact)) {
            return exact;
        }
        const auto found = m_byLower.find(Lower(exact));
        return found != m_byLower.end() ? found->second : std::wstring();
    }

    const MachineState& m_machine;
    const std::map<std::wstring, std::wstring>& m_links;
    std::map<std::wstring, std::wstring> m_byLower;
};

class PlanReader {
public:
    PlanReader(const MachineState& machine, const std::map<std::wstring, std::wstring>& links)
        : m_machine(machine), m_files(machine, links) {
        m_effect.links = links;
    }

    PlannedEffect Read(const nlohmann::json& plan) {
        for (const nlohmann::json& item : plan.at("items")) {
            const std::string kind = item.at("kind");
            const std::string state = item.at("state");
            if (kind == "key" || kind == "value") {
                AddRegistry(item, kind, state);
            } else if (kind == "process") {
                AddProcess(item, state);
            } else if (kind == "service") {
                AddService(item, state);
            } else if (kind != "tool" && kind != "method") {
                AddFile(item, state);
            }
        }
        return std::move(m_effect);
    }

private:
    static std::wstring Path(const nlohmann::json& item) { return FromUtf8(item.at("path").get<std::string>()); }

    void Add(const std::string& state, const std::wstring& place) {
        (state == "waiting" ? m_effect.waits : m_effect.goes).insert(place);
    }

    static bool Goes(const std::string& state) { return state == "present" || state == "waiting"; }

    void AddFile(const nlohmann::json& item, const std::string& state) {
        const std::wstring place = m_files.Find(Path(item));
        if (!place.empty()) {
            m_effect.named.insert(place);
            m_effect.named.insert(m_files.Followed(place));
        }
        if (!Goes(state)) {
            return;
        }
        const bool isEntry = item.at("kind") == "restart_entry";
        if (place.empty()) {
            // The system is also handed what cannot be there, such as a name with a star.
            if (!isEntry) {
                m_effect.notFound.insert(item.dump());
            }
            return;
        }
        Add(state, place);
        Add(state, m_files.Followed(place));
        if (isEntry) {
            m_effect.handed.insert(place);
        }
    }

    void AddRegistry(const nlohmann::json& item, const std::string& kind, const std::string& state) {
        if (!Goes(state)) {
            return;
        }
        const std::wstring place = RealKeyPath(Path(item), item.at("view"));
        const auto key = m_machine.keys.find(place);
        if (key == m_machine.keys.end()) {
            m_effect.notFound.insert(item.dump());
        } else if (kind == "value") {
            const std::wstring name = Lower(FromUtf8(item.at("name").get<std::string>()));
            if (!key->second.values->contains(name)) {
                m_effect.notFound.insert(item.dump());
            }
            Add(state, ValuePlace(place, name));
        } else {
            Add(state, place);
            for (const auto& [name, data] : *key->second.values) {
                Add(state, ValuePlace(place, name));
            }
        }
    }

    void AddProcess(const nlohmann::json& item, const std::string& state) {
        if (Goes(state)) {
            const std::wstring path = Path(item);
            m_effect.ended.insert(Lower(path.substr(path.rfind(L'\\') + 1)));
        }
    }

    void AddService(const nlohmann::json& item, const std::string& state) {
        if (Goes(state)) {
            const std::wstring key = L"\\registry\\machine\\system\\currentcontrolset\\services\\" + Lower(Path(item));
            m_effect.disabled.insert(ValuePlace(key, L"start"));
        }
    }

    const MachineState& m_machine;
    const FileFinder m_files;
    PlannedEffect m_effect;
};

}  // namespace

PlannedEffect ReadPlan(const std::string& json, const MachineState& machine,
                       const std::map<std::wstring, std::wstring>& links) {
    return PlanReader(machine, links).Read(nlohmann::json::parse(json));
}
