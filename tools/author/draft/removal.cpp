#include "author/draft/removal.h"

#include <algorithm>
#include <optional>

#include "author/draft/evidence.h"
#include "author/draft/places.h"
#include "author/draft/territory.h"
#include "author/draft/uninstall_entry.h"
#include "author/snapshot/names.h"
#include "foundation/text.h"

namespace tools::author {

namespace {

constexpr const wchar_t* kSharedDlls = L"Software\\Microsoft\\Windows\\CurrentVersion\\SharedDLLs";
constexpr const wchar_t* kServices = L"HKLM\\System\\CurrentControlSet\\Services";
constexpr std::size_t kLongestPath = 259;

namespace why {
constexpr const wchar_t* kShared = L"a place that products share, although it is new";
constexpr const wchar_t* kMaker =
    L"the maker's level, where other products of the maker may lie (the option owns takes it)";
constexpr const wchar_t* kSystem = L"may be the system's own: nothing in it speaks of the product";
constexpr const wchar_t* kCounted = L"counted in SharedDLLs: other products may use it";
constexpr const wchar_t* kRandom = L"bears another name on each machine";
constexpr const wchar_t* kNoName = L"lies in a profile where no folder name leads";
constexpr const wchar_t* kOtherUser = L"in the hive of another user";
constexpr const wchar_t* kUnspeakable = L"has a name that no script can hold or no removal can reach";
constexpr const wchar_t* kRenamed = L"was there before under a name in other letters";
constexpr const wchar_t* kChanged = L"was there before and holds something else now";
constexpr const wchar_t* kGone = L"was there before and is gone";
}  // namespace why

// Letters and digits in lower case: what two spellings of a name share.
std::wstring Plain(const std::wstring& name) {
    std::wstring plain = LowerCase(name);
    std::erase_if(plain, [](wchar_t c) { return c < 0x80 && !((c >= L'a' && c <= L'z') || (c >= L'0' && c <= L'9')); });
    return plain;
}

// Characters that XML has no place for, among them half of a pair.
bool CanStandInXml(const std::wstring& text) {
    return std::none_of(text.begin(), text.end(), [](wchar_t c) { return c < 0x20 || c == 0xFFFE || c == 0xFFFF; }) &&
           Escaped(text).find("`d") == std::string::npos;
}

bool CanBeReached(const std::wstring& path) {
    const wchar_t last = path.empty() ? L'.' : path.back();
    return path.size() <= kLongestPath && last != L'.' && last != L' ';
}

std::optional<std::wstring> TextOf(const Thing& value) {
    for (const std::string_view type : {"sz ", "expand_sz "}) {
        if (value.facts.starts_with(type)) {
            return Unescaped(std::string_view(value.facts).substr(type.size()));
        }
    }
    return std::nullopt;
}

std::wstring ShortcutTarget(const Thing& file) {
    constexpr std::string_view arrow = " -> ";
    const std::size_t found = file.facts.find(arrow);
    return found == std::string::npos ? L"" : Unescaped(std::string_view(file.facts).substr(found + arrow.size()));
}

class Planner {
public:
    Planner(const Difference& difference, const RemovalOptions& options)
        : m_added(difference.added),
          m_options(options),
          m_places(difference.machine),
          m_territory(difference.machine),
          m_evidence(difference, m_territory, options.productName) {
        for (const Thing& thing : difference.gone) {
            m_goneNames.insert(LowerCase(Unescaped(thing.identity)));
        }
        for (const Thing& thing : m_added) {
            m_newNames.insert(LowerCase(Unescaped(thing.identity)));
            Count(thing, difference.machine);
        }
        for (const Thing& thing : difference.changed) {
            Keep(why::kChanged, thing);
            Count(thing, difference.machine);
        }
        for (const Thing& thing : difference.gone) {
            Keep(why::kGone, thing);
        }
    }

    Removal Plan() {
        for (std::size_t index = 0; index < m_added.size(); index = End(index)) {
            Visit(index);
        }
        AddSharedDllsOfOwnFolders();
        AddPlainKey();
        SpareFromThinning(m_keys);
        SpareFromThinning(m_values);
        for (Section* section :
             {&m_services, &m_drivers, &m_processes, &m_folders, &m_files, &m_shortcuts, &m_keys, &m_values}) {
            if (!section->elements.empty()) {
                m_removal.sections.push_back(std::move(*section));
            }
        }
        return std::move(m_removal);
    }

private:
    // Behind the last line of what this thing holds.
    std::size_t End(std::size_t index) const {
        const Thing& thing = m_added[index];
        std::size_t end = index + 1;
        while (thing.IsContainer() && end < m_added.size() && m_added[end].identity.starts_with(thing.identity)) {
            ++end;
        }
        return end;
    }

    void Keep(const wchar_t* reason, const Thing& thing) { m_removal.kept.push_back({reason, thing}); }

    void KeepAll(const wchar_t* reason, std::size_t index) {
        for (const std::size_t end = End(index); index < end; ++index) {
            Keep(reason, m_added[index]);
        }
    }

    void VisitContent(std::size_t index) {
        for (std::size_t next = index + 1, end = End(index); next < end; next = End(next)) {
            Visit(next);
        }
    }

    void Visit(std::size_t index) {
        const Thing& thing = m_added[index];
        if (!CanStandInXml(thing.Path()) || (thing.IsValue() && !CanStandInXml(thing.ValueName()))) {
            KeepAll(why::kUnspeakable, index);
        } else if (m_goneNames.contains(LowerCase(Unescaped(thing.identity)))) {
            KeepAll(why::kRenamed, index);
        } else if (thing.IsValue()) {
            VisitValue(thing);
        } else if (thing.IsRegistry()) {
            VisitKey(index);
        } else if (thing.IsContainer()) {
            VisitFolder(index);
        } else {
            VisitFile(thing);
        }
    }

    // --- the registry

    void VisitKey(std::size_t index) {
        const Thing& thing = m_added[index];
        const std::wstring path = thing.Path();
        const std::optional<KeyPath> key = m_places.Key(path);
        if (!key) {
            KeepAll(why::kOtherUser, index);
        } else if (m_territory.IsShared(path) || IsPartOfOthers(index)) {
            Keep(why::kShared, thing);
            VisitContent(index);
        } else if (IsMakersLevel(index)) {
            Keep(why::kMaker, thing);
            VisitContent(index);
        } else if (m_territory.IsOfSystem(path) && !m_territory.HoldsProducts(Parent(path)) &&
                   !SpeaksOfProduct(index)) {
            Keep(why::kSystem, thing);
            VisitContent(index);
        } else {
            AddKey(index, *key);
        }
    }

    // By its name or its own values.
    bool SpeaksOfProduct(std::size_t index) const {
        if (m_evidence.Speaks(m_added[index])) {
            return true;
        }
        const std::string ownValues = m_added[index].identity + "\t";
        for (std::size_t next = index + 1; next < End(index); ++next) {
            if (m_added[next].identity.starts_with(ownValues) && m_evidence.Speaks(m_added[next])) {
                return true;
            }
        }
        return false;
    }

    void AddKey(std::size_t index, const KeyPath& key) {
        Element element{{L"name", key.path}};
        AddView(element, key);
        AddGuard(element, index);
        m_keys.elements.push_back(std::move(element));
        AddServiceOf(index);
        NoteInstallerOf(index);
    }

    static void AddView(Element& element, const KeyPath& key) {
        if (key.x32view) {
            element.emplace_back(L"x32view", L"true");
        }
    }

    // A key that others may have as well goes only as long as it speaks of the product.
    void AddGuard(Element& element, std::size_t index) const {
        if (const std::wstring handler = HandlerOfExtension(index); !handler.empty()) {
            element.insert(element.end(), {{L"data_str", handler}, {L"complete_str", L"yes"}});
        } else if (IsInClassOfOthers(m_added[index].Path())) {
            if (const std::wstring words = OwnWords(index); !words.empty()) {
                element.insert(element.end(), {{L"data_str", words}, {L"complete_str", L"no"}});
            }
        }
    }

    // The handler that an extension names by its default value, if that is new.
    std::wstring HandlerOfExtension(std::size_t index) const {
        const std::wstring path = m_added[index].Path();
        const Thing* const value = FindValue(index, "");
        const std::wstring handler = value != nullptr ? TextOf(*value).value_or(L"") : L"";
        const bool isGuard = Territory::IsExtension(path) && handler.find(L';') == std::wstring::npos &&
                             m_newNames.contains(LowerCase(Parent(path) + L"\\" + handler + L"\\"));
        return isGuard ? handler : L"";
    }

    // What the default value says of a folder of the product, without what differs from machine to machine.
    std::wstring OwnWords(std::size_t index) const {
        const Thing* const value = FindValue(index, "");
        const std::wstring text = value != nullptr ? TextOf(*value).value_or(L"") : L"";
        for (const std::wstring& folder : m_ownFolders) {
            const std::size_t found = LowerCase(text).find(LowerCase(folder));
            const std::optional<FolderPath> place = m_places.Folder(folder);
            if (found != std::wstring::npos && place && folder.find(L';') == std::wstring::npos) {
                return text.substr(found + folder.size() - place->rest.size(), place->rest.size());
            }
        }
        return {};
    }

    bool IsInClassOfOthers(const std::wstring& path) const {
        const std::wstring above = m_places.InItsView(Parent(path));
        return !m_territory.HoldsProducts(Parent(path)) &&
               (LiesIn(Parent(above), L"HKLM\\Software\\Classes") || LiesIn(Parent(above), L"HKCU\\Software\\Classes"));
    }

    // An extension, or a part that many classes have by that name, without a guard.
    bool IsPartOfOthers(std::size_t index) const {
        const std::wstring path = m_added[index].Path();
        if (Territory::IsExtension(path)) {
            return HandlerOfExtension(index).empty();
        }
        return IsInClassOfOthers(path) && Territory::IsPartOfClass(path) && OwnWords(index).empty();
    }

    const Thing* FindValue(std::size_t key, std::string_view name) const {
        const std::string identity = m_added[key].identity + "\t" + std::string(name);
        const auto found =
            std::lower_bound(m_added.begin() + static_cast<std::ptrdiff_t>(key), m_added.end(), identity,
                             [](const Thing& thing, const std::string& wanted) { return thing.identity < wanted; });
        return found != m_added.end() && found->identity == identity ? &*found : nullptr;
    }

    // To the thinning "A/b" lies in "A", which it does not for the registry. Under the hive's other name it stays
    // apart.
    void SpareFromThinning(Section& section) const {
        for (Element& element : section.elements) {
            std::wstring& path = element.front().second;
            const bool isTaken = std::any_of(m_keys.elements.begin(), m_keys.elements.end(), [&](const Element& other) {
                const std::wstring& above = other.front().second;
                return path.size() > above.size() && path[above.size()] == L'/' && path.starts_with(above);
            });
            if (isTaken) {
                path = OtherHiveName(path);
            }
        }
    }

    // A removal runs the guarded keys only where it has a plain key or a value to delete as well.
    void AddPlainKey() {
        const bool hasPlain = std::any_of(m_keys.elements.begin(), m_keys.elements.end(), [](const Element& element) {
            return element.back().first != std::wstring_view(L"complete_str");
        });
        if (!m_keys.elements.empty() && !hasPlain && m_values.elements.empty()) {
            m_keys.elements.push_back({{L"name", L"HKEY_CURRENT_USER\\Software\\" + m_options.productName}});
        }
    }

    void AddServiceOf(std::size_t index) {
        const std::wstring path = m_added[index].Path();
        const Thing* const type = FindValue(index, "Type");
        if (!EqualsBlind(Parent(path), kServices) || type == nullptr || FindValue(index, "ImagePath") == nullptr) {
            return;
        }
        constexpr std::string_view dword = "dword ";
        const std::string_view lowByte =
            std::string_view(type->facts).substr(std::min(type->facts.size(), dword.size()), 2);
        const bool isDriver = lowByte.starts_with('0');  // services have 0x10 or 0x20
        (isDriver ? m_drivers : m_services).elements.push_back({{L"name", LastName(path)}});
    }

    // Its own removal takes the package that it keeps under a random name, but also keys that it finds empty then.
    void NoteInstallerOf(std::size_t index) {
        const std::wstring path = m_added[index].Path();
        const Thing* const value = FindValue(index, "WindowsInstaller");
        if (IsUninstallEntry(m_places, path) && value != nullptr && value->facts == "dword 01000000") {
            m_removal.notes.push_back(L"The system's installer knows this product: msiexec /x " + LastName(path) +
                                      L" /qn, as an exec_tool with wait, would also take the package that it keeps and "
                                      L"settle its counts of shared components, where that removal still works.");
        }
    }

    bool IsSharedDll(const Thing& value) const {
        return EqualsBlind(m_places.InItsView(value.Path()), std::wstring(L"HKLM\\") + kSharedDlls);
    }

    // What a 32-bit program calls the system folder is the 32-bit one on a 64-bit system: both count.
    void Count(const Thing& thing, const Machine& machine) {
        if (!thing.IsValue() || !IsSharedDll(thing)) {
            return;
        }
        const std::wstring file = thing.ValueName();
        m_counted.insert(LowerCase(file));
        const auto system = machine.folders.find(L"windows_system");
        const auto system32Bit = machine.folders.find(L"windows_system_x86");
        if (system != machine.folders.end() && system32Bit != machine.folders.end() && LiesIn(file, system->second)) {
            m_counted.insert(LowerCase(system32Bit->second + file.substr(system->second.size())));
        }
    }

    void VisitValue(const Thing& thing) {
        const std::optional<KeyPath> key = m_places.Key(thing.Path());
        const std::wstring name = thing.ValueName();
        if (!key) {
            Keep(why::kOtherUser, thing);
        } else if (IsSharedDll(thing)) {
            m_sharedDlls.push_back(&thing);
        } else if (name.find(L'*') != std::wstring::npos) {
            Keep(why::kUnspeakable, thing);  // a removal would take it for a pattern
        } else if (m_territory.IsOfSystem(thing.Path()) && !m_evidence.Speaks(thing)) {
            Keep(why::kSystem, thing);
        } else {
            AddValue(*key, name);
        }
    }

    void AddValue(const KeyPath& key, const std::wstring& name) {
        Element element{{L"key_path", key.path}};
        // A name that is a path is another one on each machine.
        const std::optional<FolderPath> place = m_places.Folder(name);
        if (place && !place->folder.empty()) {
            element.insert(element.end(), {{L"rel_name", place->folder}, {L"name", place->rest}});
        } else {
            element.emplace_back(L"name", name);
        }
        AddView(element, key);
        m_values.elements.push_back(std::move(element));
    }

    void AddSharedDllsOfOwnFolders() {
        for (const Thing* const thing : m_sharedDlls) {
            const std::wstring file = thing->ValueName();
            const bool isOwn = std::any_of(m_ownFolders.begin(), m_ownFolders.end(),
                                           [&](const std::wstring& folder) { return LiesIn(file, folder); });
            if (isOwn) {
                AddValue(*m_places.Key(thing->Path()), file);
            } else {
                Keep(why::kCounted, *thing);
            }
        }
    }

    // --- files

    bool IsMakersLevel(std::size_t index) const {
        const std::wstring path = m_added[index].Path();
        const std::wstring name = LastName(path);
        if (!m_territory.HoldsMakers(Parent(path)) || m_options.owned.contains(LowerCase(name)) ||
            Plain(name) == Plain(m_options.productName)) {
            return false;
        }
        std::size_t containers = 0;
        for (std::size_t next = index + 1, end = End(index); next < end; next = End(next)) {
            if (!m_added[next].IsContainer()) {
                return false;  // a product's own level
            }
            ++containers;
        }
        return containers == 1 || (containers > 1 && Plain(name) == Plain(m_options.maker));
    }

    void VisitFolder(std::size_t index) {
        const Thing& thing = m_added[index];
        const std::wstring path = thing.Path();
        const std::optional<FolderPath> place = m_places.Folder(path);
        if (m_territory.IsShared(path)) {
            Keep(why::kShared, thing);
            VisitContent(index);
        } else if (!place) {
            KeepAll(why::kNoName, index);
        } else if (IsMakersLevel(index)) {
            // A folder on the restart list goes only if it is empty then.
            m_files.elements.push_back({{L"path", place->folder}, {L"name", L"#####" + place->rest}});
            m_removal.notes.push_back(L"\"" + path +
                                      L"\" is the maker's level: it goes at the restart, and only if it is empty "
                                      L"then. With the option owns \"" +
                                      LastName(path) + L"\" it goes at once, with all it holds.");
            VisitContent(index);
        } else if (!CanBeReached(path)) {
            KeepAll(why::kUnspeakable, index);
        } else {
            AddFolder(index, *place);
        }
    }

    void AddFolder(std::size_t index, const FolderPath& place) {
        m_folders.elements.push_back(ElementOf(place));
        m_ownFolders.push_back(m_added[index].Path());
        for (const std::size_t end = End(index); index < end; ++index) {
            const std::wstring path = m_added[index].Path();
            if (!CanBeReached(path)) {
                m_removal.notes.push_back(L"No removal reaches \"" + path + L"\", which its folder holds.");
            }
            AddProcessOf(m_added[index]);
        }
    }

    Element ElementOf(const FolderPath& place) {
        if (place.folder.empty()) {
            m_removal.notes.push_back(L"\"" + place.rest +
                                      L"\" lies where no folder name leads: it is found on machines "
                                      L"alone that have it there too.");
            return {{L"name", place.rest}};
        }
        return {{L"path", place.folder}, {L"name", place.rest}};
    }

    void VisitFile(const Thing& thing) {
        const std::wstring path = thing.Path();
        const std::optional<FolderPath> place = m_places.Folder(path);
        if (m_territory.HasRandomName(path)) {
            Keep(why::kRandom, thing);
        } else if (!place) {
            Keep(why::kNoName, thing);
        } else if (m_counted.contains(LowerCase(path))) {
            Keep(why::kCounted, thing);
        } else if (!CanBeReached(path)) {
            Keep(why::kUnspeakable, thing);
        } else if (!AddShortcut(thing)) {
            m_files.elements.push_back(ElementOf(*place));
            AddProcessOf(thing);
        }
    }

    // By its target, if that is new: copies of the link go as well, under whatever name.
    bool AddShortcut(const Thing& file) {
        const std::wstring target = ShortcutTarget(file);
        const std::optional<FolderPath> folder = m_places.Folder(Parent(file.Path()));
        const std::optional<FolderPath> program = m_places.Folder(target);
        if (target.empty() || !m_newNames.contains(LowerCase(target)) || !folder || folder->folder.empty() ||
            !program || program->folder.empty() || !CanStandInXml(target)) {
            return false;
        }
        Element element{{L"rel_shortcut", folder->folder},
                        {L"path", folder->rest},
                        {L"rel_target", program->folder},
                        {L"target_name", program->rest}};
        if (std::find(m_shortcuts.elements.begin(), m_shortcuts.elements.end(), element) ==
            m_shortcuts.elements.end()) {
            m_shortcuts.elements.push_back(std::move(element));
        }
        return true;
    }

    // A kill goes by the name alone: names that others bear are left out.
    void AddProcessOf(const Thing& thing) {
        const std::wstring name = LastName(thing.Path());
        const std::wstring lower = LowerCase(name);
        if (thing.IsContainer() || !lower.ends_with(L".exe") || !CanStandInXml(name)) {
            return;
        }
        constexpr const wchar_t* kCommon[] = {L"unins", L"setup", L"install", L"update"};
        const bool isCommon = std::any_of(std::begin(kCommon), std::end(kCommon),
                                          [&](const wchar_t* begin) { return lower.starts_with(begin); });
        if (isCommon || m_options.programs.contains(lower)) {
            m_removal.notes.push_back(L"\"" + name + L"\" is not ended, since programs of others bear that name.");
            return;
        }
        const Element element{{L"target_name", name}};
        if (std::find(m_processes.elements.begin(), m_processes.elements.end(), element) ==
            m_processes.elements.end()) {
            m_processes.elements.push_back(element);
        }
    }

    const std::vector<Thing>& m_added;
    const RemovalOptions& m_options;
    Places m_places;
    Territory m_territory;
    Evidence m_evidence;
    std::set<std::wstring> m_goneNames;  // identities in lower case
    std::set<std::wstring> m_newNames;   // likewise
    std::set<std::wstring> m_counted;    // files with a count in SharedDLLs
    std::vector<const Thing*> m_sharedDlls;
    std::vector<std::wstring> m_ownFolders;
    Removal m_removal;
    Section m_services{L"services", L"disableandstop_service", {}};
    Section m_drivers{L"drivers", L"disableandstop_driver", {}};
    Section m_processes{L"processes", L"kill_process", {}};
    Section m_folders{L"folders", L"del_folder", {}};
    Section m_files{L"files", L"del_file", {}};
    Section m_shortcuts{L"shortcuts", L"del_shortcut", {}};
    Section m_keys{L"keys", L"del_regkey", {}};
    Section m_values{L"values", L"del_regvalue", {}};
};

}  // namespace

Removal PlanRemoval(const Difference& difference, const RemovalOptions& options) {
    return Planner(difference, options).Plan();
}

}  // namespace tools::author
