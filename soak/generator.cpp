#include "generator.h"

#include <tuple>

#include "random.h"
#include "text.h"

namespace {

constexpr const wchar_t* kProducts[] = {
    L"Wendelbach",
    L"Gr\u00FCnwald",
    L"Gru\u0308nwald",
    L"Stra\u00DFe & Weg",
    L"\u6587\u66F8\u7BA1\u7406",
    L"\u03A3\u03AF\u03C3\u03C5\u03C6\u03BF\u03C2",
    L"\U0001D49Cstral \U0001F5C2",
    L"a.b c",
    L"Q",
    L"Dot. Net (x86)",
};

constexpr const wchar_t* kNames[] = {
    L"readme.txt",
    L"data.bin",
    L"Data",
    L"cache",
    L"shell.dll",
    L"m\u00FCll.dat",
    L"mu\u0308ll.dat",
    L"\u00DCbersicht",
    L"\u4E2D\u6587.txt",
    L"\U0001F5C2",
    L"a b  c",
    L"no extension",
    L".hidden",
    L"x.lnk",
    L"x.LNK",
    L"[1] (2) {3",
    L"100%",
    L"a;b,c=d",
    L"sub.folder",
    L"UPPER.TXT",
    L"lower.txt",
    L"#####odd.dll",
    L"odd.dll",
    L"log..txt",
    L"~tmp$",
    L"'quoted'",
    L"A",
    L"b",
    L"\u0130stanbul",
    L"\u0131",
    L"\uFF21\uFF22",
};

// Only the native side makes such names: the Win32 calls cut them.
constexpr const wchar_t* kCutNames[] = {L"ends in dot.", L"ends in blank ", L"dots...", L"both. "};

constexpr const wchar_t* kValueNames[] = {
    L"",        L"Path",       L"path2",  L"Version", L"AutoRun", L"Run",
    L"RunOnce", L"\u00DCbung", L"*star*", L"a\\b",    L"abxab",   L"x y",
};

constexpr const wchar_t* kDataFolders[] = {L"common_app_data", L"local_app_data", L"app_data", L"common_files",
                                           L"common_files_x86"};
constexpr const wchar_t* kMenuFolders[] = {L"start_menu_programs", L"common_start_menu_programs", L"start_menu",
                                           L"desktop_folder", L"common_desktop_folder"};
constexpr const wchar_t* kAttributes[] = {L"", L"", L"", L"", L"0x1", L"0x2", L"0x3", L"0x4", L"0x27"};
constexpr const wchar_t* kX32[] = {L"1", L"true", L"TRUE", L"yes", L"0", L""};

std::wstring InBraces(const std::wstring& folder) {
    return L'{' + folder + L'}';
}

// The parts of a machine that a document may name.
struct Stock {
    std::wstring product;
    std::wstring root;        // the main folder
    std::wstring rootFolder;  // the system's folder that it lies in
    std::vector<std::wstring> files;
    std::vector<std::wstring> folders;
    std::vector<std::wstring> programs;
    std::vector<std::wstring> targets;  // of shortcuts
    std::vector<std::wstring> links;
    std::vector<std::pair<std::wstring, std::wstring>> keys;  // view and path
    std::vector<std::wstring> data;
    bool appPathByKey = false;
};

class MachineMaker {
public:
    MachineMaker(Random& random, unsigned index, Things& things, Stock& stock)
        : m_random(random), m_things(things), m_stock(stock) {
        m_stock.product = m_random.Pick(kProducts) + (L' ' + std::to_wstring(index));
    }

    void Make() {
        m_stock.rootFolder = m_random.Chance(60)   ? L"program_files"
                             : m_random.Chance(50) ? L"program_files_x86"
                                                   : m_random.Pick(kDataFolders);
        m_stock.root = InBraces(m_stock.rootFolder) + L'\\' + m_stock.product;
        Tree(m_stock.root, 0);
        for (unsigned count = m_random.Below(3); count > 0; --count) {
            Tree(InBraces(m_random.Pick(kDataFolders)) + L'\\' + m_stock.product, 2);
        }
        if (m_random.Chance(60)) {
            LookAlikes();
        }
        if (m_random.Chance(30)) {
            SystemFiles();
        }
        Shortcuts();
        if (m_random.Chance(30)) {
            Links();
        }
        Registry();
        if (m_random.Chance(40)) {
            Programs();
        }
        Held();
    }

private:
    void Add(const wchar_t* kind, std::vector<std::wstring> words) { m_things.push_back({kind, std::move(words)}); }

    bool Fresh(const std::wstring& path) {
        for (const auto* list : {&m_stock.files, &m_stock.folders}) {
            for (const std::wstring& known : *list) {
                if (Lower(known) == Lower(path)) {
                    return false;
                }
            }
        }
        return true;
    }

    void Folder(const std::wstring& path) {
        if (Fresh(path)) {
            Add(L"folder", {path, m_random.Chance(20) ? m_random.Pick(kAttributes) : L""});
            m_stock.folders.push_back(path);
        }
    }

    void File(const std::wstring& path) {
        if (Fresh(path)) {
            Add(L"file", {path, m_random.Pick(kAttributes)});
            m_stock.files.push_back(path);
        }
    }

    void Tree(const std::wstring& path, unsigned depth) {
        Folder(path);
        for (unsigned count = m_random.Below(5); count > 0; --count) {
            File(path + L'\\' + m_random.Pick(kNames));
        }
        if (m_random.Chance(4)) {
            File(path + L'\\' + m_random.Pick(kCutNames));
        }
        if (m_random.Chance(4)) {
            CasePair(path);
        }
        if (m_random.Chance(3)) {
            Long(path);
        }
        for (unsigned count = depth < 4 ? m_random.Below(4) : 0; count > 0; --count) {
            const std::wstring name = m_random.Chance(2) ? m_random.Pick(kCutNames) : m_random.Pick(kNames);
            const std::wstring inner = path + L'\\' + name;
            if (Fresh(inner)) {
                Tree(inner, depth + 1);
            }
        }
    }

    void CasePair(const std::wstring& path) {
        const std::wstring name = L"pair of letters";
        if (Fresh(path + L'\\' + name)) {
            File(path + L'\\' + name);
            Add(L"unix", {path + L"\\Pair of Letters"});
        }
    }

    // Names on both sides of the limit of 260 characters.
    void Long(const std::wstring& path) {
        const std::size_t given = path.size() + 40;
        const std::wstring folder = path + L'\\' + std::wstring(given < 150 ? 150 - given : 1, L'l');
        Folder(folder);
        for (unsigned count = m_random.Below(4); count > 0; --count) {
            File(folder + L'\\' + std::wstring(70 + m_random.Below(40), L'n'));
        }
    }

    void LookAlikes() {
        const std::wstring folder = InBraces(m_stock.rootFolder) + L'\\';
        File(folder + m_stock.product + L" 2\\data.bin");
        if (m_random.Chance(40)) {
            File(folder + m_stock.product + L".txt");
        }
        if (m_random.Chance(40)) {
            File(folder + m_stock.product.substr(0, m_stock.product.size() - 1) + L"\\data.bin");
        }
        Add(L"value", {L"64", L"HKLM\\Software\\" + m_stock.product + L" 2", L"Path", L"1", L"another"});
    }

    void SystemFiles() {
        File(L"{windows_folder}\\" + m_stock.product + L".ini");
        File(L"{windows_system}\\" + m_stock.product + L".dll");
        File(L"{windows_system_drivers}\\" + m_stock.product + L".sys");
    }

    void Shortcuts() {
        m_stock.targets = {m_stock.root + L"\\program.exe", m_stock.root + L"\\sub\\Program.EXE",
                           L"C:\\elsewhere\\program.exe", L"C:\\elsewhere\\other.exe"};
        if (!m_stock.files.empty()) {
            m_stock.targets.push_back(m_random.Pick(m_stock.files));
        }
        for (unsigned count = m_random.Below(5); count > 0; --count) {
            std::wstring folder = InBraces(m_random.Pick(kMenuFolders)) + L'\\';
            folder += m_random.Chance(60) ? m_stock.product + L'\\' : std::wstring();
            folder += m_random.Chance(20) ? L"inner\\" : L"";
            const std::wstring path =
                folder + m_stock.product + L' ' + std::to_wstring(count) + (m_random.Chance(80) ? L".lnk" : L".LNK");
            if (m_random.Chance(85)) {
                Add(L"shortcut", {path, m_random.Pick(m_stock.targets)});
                m_stock.files.push_back(path);
            } else {
                File(path);  // no shortcut but for its name
            }
        }
    }

    void Links() {
        const std::wstring target =
            m_random.Chance(70) ? L"{documents}\\" + m_stock.product : m_stock.root + L" linked";
        Folder(target);
        File(target + L"\\letter.txt");
        Tree(target + L"\\inner", 3);
        const std::wstring link = m_random.Pick(m_stock.folders) + L"\\link";
        if (!link.starts_with(target) && Fresh(link)) {
            Add(L"link", {link, target});
            m_stock.links.push_back(link);
        }
    }

    void Value(const std::wstring& view, const std::wstring& key, const std::wstring& name) {
        static constexpr const wchar_t* kTypes[] = {L"1", L"1", L"1", L"2", L"3", L"4", L"7"};
        const std::wstring type = m_random.Pick(kTypes);
        const std::wstring& data = m_random.Pick(m_stock.data);
        Add(L"value", {view, key, name, type, type == L"3" || type == L"4" ? L"7" : data});
    }

    void Keys(const std::wstring& view, const std::wstring& path, unsigned depth) {
        Add(L"key", {view, path});
        m_stock.keys.emplace_back(view, path);
        for (unsigned count = m_random.Below(4); count > 0; --count) {
            Value(view, path, m_random.Pick(kValueNames));
        }
        for (unsigned count = depth < 3 ? m_random.Below(3) : 0; count > 0; --count) {
            Keys(view, path + L'\\' + (m_random.Chance(80) ? m_random.Pick(kNames) : L"a/b"), depth + 1);
        }
    }

    void Registry() {
        m_stock.data = {m_stock.root + L"\\shell.dll", m_stock.root, L"text", L"", m_stock.product, L"TEXT"};
        for (const wchar_t* const view : {L"64", L"32"}) {
            if (m_random.Chance(60)) {
                Keys(view, L"HKLM\\Software\\" + m_stock.product, 0);
            }
        }
        if (m_random.Chance(40)) {
            Keys(L"0", L"HKCU\\Software\\" + m_stock.product, 1);
        }
        if (m_random.Chance(30)) {
            Keys(m_random.Chance(50) ? L"64" : L"32", L"HKCR\\" + m_stock.product + L".Document", 1);
        }
        if (m_random.Chance(30)) {
            Keys(L"64", L"HKLM\\System\\CurrentControlSet\\Services\\" + m_stock.product, 3);
            Add(L"value", {L"64", m_stock.keys.back().second, L"Start", L"4", m_random.Chance(70) ? L"2" : L"4"});
        }
        if (m_random.Chance(40)) {
            const std::wstring run = L"HKLM\\Software\\Microsoft\\Windows\\CurrentVersion\\Run";
            for (const wchar_t* const behind : {L"", L" Update", L"2"}) {
                Add(L"value", {m_random.Chance(70) ? L"64" : L"32", run, m_stock.product + behind, L"1", L"x"});
            }
        }
        m_stock.appPathByKey = m_random.Chance(50);
        if (m_stock.appPathByKey) {
            Add(L"value", {L"64", L"HKLM\\Software\\" + m_stock.product + L" folder", L"Folder", L"1", m_stock.root});
        }
    }

    void Programs() {
        const std::wstring program = m_stock.root + L"\\program.exe";
        if (Fresh(program)) {
            Add(L"program", {program});
            m_stock.programs.push_back(program);
        }
        const std::wstring stranger = L"C:\\elsewhere " + m_stock.product + L"\\program.exe";
        if (m_random.Chance(20)) {
            Add(L"program", {stranger});
            m_stock.programs.push_back(stranger);
        }
    }

    void Held() {
        if (m_stock.files.empty() || m_random.Chance(40)) {
            return;
        }
        for (unsigned count = 1 + m_random.Below(3); count > 0; --count) {
            const std::wstring file = m_random.Pick(m_stock.files);
            bool again = false;
            for (const Thing& thing : m_things) {
                again = again || (thing.kind == L"hold" && thing.words[0] == file);
            }
            if (!again) {
                // 3: others may read and write; 7: delete as well.
                static constexpr const wchar_t* kShares[] = {L"0", L"3", L"7"};
                const bool own = !m_stock.programs.empty() && m_random.Chance(30);
                Add(L"hold", {file, m_random.Pick(kShares), own ? m_stock.programs.front() : std::wstring()});
            }
        }
    }

    Random& m_random;
    Things& m_things;
    Stock& m_stock;
};

class DocumentMaker {
public:
    DocumentMaker(Random& random, const Stock& stock) : m_random(random), m_stock(stock) {}

    Document Make() {
        Document document;
        for (unsigned count = m_random.Chance(75) ? 1 : 2 + m_random.Below(2); count > 0; --count) {
            Version version;
            version.name = L"v" + std::to_wstring(count);
            version.isListed = !m_random.Chance(5);
            version.paths = Paths();
            for (unsigned sections = 1 + m_random.Below(5); sections > 0; --sections) {
                version.sections.push_back(MakeSection());
            }
            document.push_back(std::move(version));
        }
        return document;
    }

private:
    using Attributes = std::vector<std::pair<std::wstring, std::wstring>>;

    std::vector<Element> Paths() {
        std::vector<Element> paths;
        if (m_stock.appPathByKey) {
            paths.push_back({L"app_path",
                             {{L"key", L"HKLM\\Software\\" + m_stock.product + L" folder"},
                              {L"name", m_random.Chance(95) ? L"Folder" : L"Missing"}}});
        }
        if (!m_stock.appPathByKey || m_random.Chance(30)) {
            paths.push_back({L"install_folder", {{L"name", m_stock.product}}});
        }
        return paths;
    }

    Section MakeSection() {
        struct Operation {
            const wchar_t* name;
            Attributes (DocumentMaker::*make)();
        };
        static constexpr Operation kOperations[] = {
            {L"del_file", &DocumentMaker::DelFile},
            {L"del_file", &DocumentMaker::DelFile},
            {L"del_folder", &DocumentMaker::DelFolder},
            {L"del_folder", &DocumentMaker::DelFolder},
            {L"del_folder", &DocumentMaker::DelFolder},
            {L"del_shortcut", &DocumentMaker::DelShortcut},
            {L"del_shortcut", &DocumentMaker::DelShortcut},
            {L"del_regkey", &DocumentMaker::DelRegKey},
            {L"del_regkey", &DocumentMaker::DelRegKey},
            {L"del_regkey", &DocumentMaker::DelRegKey},
            {L"del_regkey", &DocumentMaker::DelRegKey},
            {L"del_regvalue", &DocumentMaker::DelRegValue},
            {L"del_regvalue", &DocumentMaker::DelRegValue},
            {L"kill_process", &DocumentMaker::KillProcess},
            {L"exec_tool", &DocumentMaker::ExecTool},
            {L"disable_driver", &DocumentMaker::Service},
            {L"disable_service", &DocumentMaker::Service},
            {L"disableandstop_driver", &DocumentMaker::Service},
            {L"disableandstop_service", &DocumentMaker::Service},
        };
        const Operation& operation = m_random.Pick(kOperations);
        Section section;
        section.operation = operation.name;
        if (m_random.Chance(2)) {
            section.operation += L's';
        } else if (m_random.Chance(5)) {
            section.operation[0] = static_cast<wchar_t>(section.operation[0] - L'a' + L'A');
        }
        for (unsigned count = 1 + m_random.Below(4); count > 0; --count) {
            if (m_random.Chance(1)) {
                section.elements.push_back({L"a comment ends the section", {}, true});
            }
            Element element = {m_random.Chance(1) ? L"sleep" : L"e" + std::to_wstring(count),
                               (this->*operation.make)()};
            Disturb(element.attributes);
            section.elements.push_back(std::move(element));
        }
        return section;
    }

    // Attributes that removals heed or not, and misspelt ones.
    void Disturb(Attributes& attributes) {
        if (m_random.Chance(5)) {
            attributes.emplace_back(L"restart_required", m_random.Chance(50) ? L"yes" : L"no");
        }
        if (m_random.Chance(5)) {
            attributes.emplace_back(L"score", L"3");
        }
        if (m_random.Chance(3)) {
            std::wstring& name = m_random.Pick(std::vector<std::size_t>{0, attributes.size() - 1}) == 0
                                     ? attributes.front().first
                                     : attributes.back().first;
            name += L's';
        }
    }

    // Other writings of one name.
    std::wstring Rewritten(std::wstring name) {
        switch (m_random.Below(24)) {
            case 0:
                return Lower(name);
            case 1:
                ::CharUpperBuffW(name.data(), static_cast<DWORD>(name.size()));
                return name;
            case 2:
                for (wchar_t& unit : name) {
                    unit = unit == L'\\' ? L'/' : unit;
                }
                return name;
            case 3:
                return name + L'\\';
            case 4:
                return L"none\\..\\" + name;
            case 5:
                return name + L'.';
            case 6:
                return name + L' ';
            case 7:
                return name + L"\\*";
            case 8:
                return name.substr(0, name.size() / 2);
            case 9:
                return name + L" missing";
            default:
                return name;
        }
    }

    // A path of the stock as folder name and the rest, or whole.
    void Place(Attributes& attributes, const std::wstring& path, const wchar_t* folder, const wchar_t* name) {
        const std::wstring rest = path.size() > m_stock.root.size() ? path.substr(m_stock.root.size() + 1) : L"";
        const std::size_t close = path.find(L'}');
        if (path.starts_with(m_stock.root + L'\\') && AppPathLeadsThere() && m_random.Chance(60)) {
            attributes.emplace_back(folder, L"app_path");
            attributes.emplace_back(name, Rewritten(rest));
        } else if (close == std::wstring::npos || m_random.Chance(15)) {
            attributes.emplace_back(name, Rewritten(path));
        } else {
            attributes.emplace_back(folder, m_random.Chance(2) ? L"unknown_folder" : path.substr(1, close - 1));
            attributes.emplace_back(name, Rewritten(path.substr(close + 2)));
        }
    }

    bool AppPathLeadsThere() const { return m_stock.appPathByKey || m_stock.rootFolder == L"program_files"; }

    // Documents and the link's target have no name of their own in scripts.
    static bool Nameable(const std::wstring& path) { return !path.starts_with(L"{documents}"); }

    std::wstring AnyFile() {
        if (m_stock.files.empty() || m_random.Chance(5)) {
            return m_stock.root + L"\\missing.dll";
        }
        return m_random.Chance(8) ? AnyFolder() : m_random.Pick(m_stock.files);
    }

    std::wstring AnyFolder() {
        if (!m_stock.links.empty() && m_random.Chance(25)) {
            return m_random.Pick(m_stock.links);
        }
        if (m_random.Chance(5) && !m_stock.files.empty()) {
            return m_random.Pick(m_stock.files);
        }
        return m_random.Chance(25) ? m_stock.root : m_random.Pick(m_stock.folders);
    }

    Attributes DelFile() {
        Attributes attributes;
        std::wstring path = AnyFile();
        Place(attributes, Nameable(path) ? path : m_stock.root, L"path", L"name");
        if (m_random.Chance(15)) {
            attributes.back().second = L"#####" + attributes.back().second;
        }
        return attributes;
    }

    Attributes DelFolder() {
        if (m_random.Chance(15)) {
            return {{L"path", L"app_path"}};
        }
        Attributes attributes;
        const std::wstring path = AnyFolder();
        Place(attributes, Nameable(path) ? path : m_stock.root, L"path", L"name");
        return attributes;
    }

    Attributes DelShortcut() {
        Attributes attributes;
        const std::wstring folder = m_random.Pick(kMenuFolders);
        attributes.emplace_back(L"rel_shortcut", folder);
        attributes.emplace_back(L"path", m_random.Chance(20) ? L"" : Rewritten(m_stock.product));
        if (m_random.Chance(20)) {
            attributes.clear();
            Place(attributes, AnyFile(), L"rel_shortcut", L"path");
        }
        const std::wstring target = m_random.Pick(m_stock.targets);
        if (m_random.Chance(40) && target.starts_with(m_stock.root + L'\\')) {
            attributes.emplace_back(L"rel_target", L"app_path");
            attributes.emplace_back(L"target_name", target.substr(m_stock.root.size() + 1));
        } else {
            attributes.emplace_back(L"target_name", target.substr(target.rfind(L'\\') + 1));
        }
        return attributes;
    }

    // View and key path of the stock, written in one of several ways.
    Attributes Key(const wchar_t* attribute) {
        std::wstring view = L"64";
        std::wstring path = L"HKLM\\Software\\" + m_stock.product + L" missing";
        if (!m_stock.keys.empty() && !m_random.Chance(5)) {
            std::tie(view, path) = m_random.Pick(m_stock.keys);
        }
        if (m_random.Chance(30)) {
            static constexpr const wchar_t* kLong[][2] = {
                {L"HKLM", L"HKEY_LOCAL_MACHINE"}, {L"HKCU", L"HKEY_CURRENT_USER"}, {L"HKCR", L"HKEY_CLASSES_ROOT"}};
            for (const auto& [shortName, longName] : kLong) {
                if (path.starts_with(shortName)) {
                    path = longName + path.substr(4);
                }
            }
        }
        switch (m_random.Below(30)) {
            case 0:
                path = Lower(path);
                break;
            case 1:
                path = path.substr(0, 4) + Lower(path.substr(4));
                break;
            case 2:
                path = path.substr(path.find(L'\\') + 1);
                break;
            case 3:
                path += L'\\';
                break;
            case 4:
                path += L" missing";
                break;
            case 5:
                path = L"HKEY_NONE" + path.substr(path.find(L'\\'));
                break;
            default:
                break;
        }
        Attributes attributes = {{attribute, path}};
        if (view == L"32" ? !m_random.Chance(15) : m_random.Chance(15)) {
            attributes.emplace_back(L"x32view", m_random.Chance(70) ? L"true" : m_random.Pick(kX32));
        }
        return attributes;
    }

    Attributes DelRegKey() {
        Attributes attributes = Key(L"name");
        if (m_random.Chance(35)) {
            std::wstring data = m_random.Pick(m_stock.data);
            data += m_random.Chance(20) ? L';' + m_random.Pick(m_stock.data) : std::wstring();
            attributes.emplace_back(L"data_str", m_random.Chance(10) ? data + L';' : data);
            if (m_random.Chance(40)) {
                attributes.emplace_back(L"complete_str", m_random.Chance(80) ? L"yes" : L"YES");
            }
        }
        return attributes;
    }

    Attributes DelRegValue() {
        if (m_random.Chance(25)) {
            Attributes attributes = {{L"key_path", L"HKLM\\Software\\Microsoft\\Windows\\CurrentVersion\\Run"},
                                     {L"name", m_stock.product + (m_random.Chance(50) ? L"*" : L"")}};
            if (m_random.Chance(30)) {
                attributes.emplace_back(L"x32view", L"1");
            }
            return attributes;
        }
        Attributes attributes = Key(L"key_path");
        std::wstring name = m_random.Pick(kValueNames);
        const unsigned half = static_cast<unsigned>(name.size() / 2);
        switch (m_random.Below(12)) {
            case 0:
                name = name.substr(0, half) + L'*';
                break;
            case 1:
                name = L'*' + name.substr(half);
                break;
            case 2:
                name = L'*' + name.substr(0, half) + L'*';
                break;
            case 3:
                name = name.substr(0, half) + L'*' + name.substr(half);
                break;
            case 4:
                name = L"*";
                break;
            case 5:
                name = Lower(name);
                break;
            default:
                break;
        }
        attributes.emplace_back(L"name", name);
        if (m_random.Chance(10)) {
            attributes.emplace_back(L"rel_name", m_random.Chance(70) ? L"app_path" : L"program_files");
        }
        return attributes;
    }

    Attributes KillProcess() {
        static constexpr const wchar_t* kPrograms[] = {L"program.exe", L"PROGRAM.exe", L"none such.exe", L"program"};
        return {{L"target_name", m_random.Pick(kPrograms)}};
    }

    // Nothing that runs: neither tool nor library is there, or the element is for another kind of system.
    Attributes ExecTool() {
        Attributes attributes = {{L"path", L"app_path"}};
        if (m_random.Chance(50)) {
            attributes.emplace_back(L"tool_name", L"none such.exe");
            attributes.emplace_back(L"cmd_line", L"/quiet");
        } else {
            attributes.emplace_back(L"module", L"none such.dll");
            attributes.emplace_back(L"method_name", L"Nothing");
        }
        if (m_random.Chance(30)) {
            attributes.emplace_back(L"os", m_random.Chance(50) ? L"x32" : L"x64");
        }
        return attributes;
    }

    Attributes Service() { return {{L"name", m_random.Chance(80) ? m_stock.product : m_stock.product + L" missing"}}; }

    Random& m_random;
    const Stock& m_stock;
};

}  // namespace

Scene MakeScene(std::uint64_t seed, unsigned index) {
    Random random(Random(seed + 0x100000000u * index).Next());
    Scene scene;
    Stock stock;
    MachineMaker(random, index, scene.things, stock).Make();
    scene.document = DocumentMaker(random, stock).Make();
    return scene;
}
