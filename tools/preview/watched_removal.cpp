#include "watched_removal.h"

#include <windows.h>

#include <algorithm>
#include <utility>

#include "foundation/log_statement.h"
#include "foundation/text.h"
#include "processes.h"
#include "script/operation_request.h"
#include "script/vocabulary.h"

namespace preview {

namespace {

constexpr wchar_t kBetween = L'\0';

std::wstring FileMark(const std::wstring& path) {
    return L"f" + path;
}
std::wstring FolderMark(const std::wstring& path) {
    return L"d" + path;
}
std::wstring ProcessMark(const std::wstring& name) {
    return L"p" + name;
}
std::wstring DisableMark(const std::wstring& name) {
    return L"s" + name;
}
std::wstring StopMark(const std::wstring& name) {
    return L"S" + name;
}
std::wstring ShortcutMark(const DelShortcutOp& shortcut) {
    return (shortcut.targetIsWholePath ? L"L" : L"l") + shortcut.path + kBetween + shortcut.target;
}
std::wstring KeyMark(const std::wstring& path, bool x32view) {
    return (x32view ? L"K" : L"k") + path;
}
std::wstring ValueMark(const DelRegOp& value) {
    return (value.x32view ? L"V" : L"v") + value.keyPath + kBetween + value.valueName;
}
std::wstring SearchMark(const DelRegKeyDataOp& search) {
    std::wstring mark = L"q" + std::to_wstring(search.x32view) + std::to_wstring(search.completeStr) + search.keyPath;
    for (const std::wstring& text : search.dataStrings) {
        mark += kBetween + text;
    }
    return mark;
}
std::wstring ToolMark(const ExecToolOp& tool) {
    return L"t" + std::to_wstring(tool.wait) + std::to_wstring(tool.showWindow) +
           std::to_wstring(tool.disableWow64Redir) + tool.commandLine;
}

// The attributes as the script has them, but for the section's own.
std::wstring Describe(const OperationAttributes& attributes) {
    std::wstring text;
    for (const auto& [name, value] : attributes) {
        if (name != attribute::kOpCode) {
            text.append(text.empty() ? 0 : 1, L' ').append(name).append(L"=\"").append(value).append(L"\"");
        }
    }
    return text;
}

std::wstring MethodMark(const OperationAttributes& attributes, const std::wstring& appPath) {
    return L"m" + Describe(attributes) + kBetween + appPath;
}

bool Exists(const std::wstring& path) {
    return ::GetFileAttributesW(path.c_str()) != INVALID_FILE_ATTRIBUTES;
}

}  // namespace

WatchedRemoval::WatchedRemoval(const CProduct& product, const std::vector<CProductCheckUse>& toCheck, Plan& plan,
                               Looks& looks)
    : CProductUninstall(product.Name().c_str(), product.File(), &toCheck, nullptr),
      m_plan(plan),
      m_looks(looks),
      m_product(plan.products.size() - 1) {}

bool WatchedRemoval::Watch() {
    const LogEar ear(kError | kWarning | kNotice, [this](const HeardLine& line) { Hear(line); });
    m_isWalking = true;
    const bool walked = Process();
    m_isWalking = false;
    if (!walked) {
        return false;
    }
    SortCachedOps();
    ExecuteCachedOps();
    SettleUnreached();
    m_plan.restartAsked = m_plan.restartAsked || m_restartRequired;
    return true;
}

void WatchedRemoval::Hear(const HeardLine& line) {
    m_complaint = line.text;
    if (m_isWalking && std::wstring_view(line.function) == L"CProductUninstall::Process") {
        AddNote(line.text);
    }
}

void WatchedRemoval::AddNote(const std::wstring& note) const {
    if (std::find(m_plan.notes.begin(), m_plan.notes.end(), note) == m_plan.notes.end()) {
        m_plan.notes.push_back(note);
    }
}

Record& WatchedRemoval::AddRecord(std::wstring text) {
    Record& record = m_plan.records.emplace_back();
    record.product = m_product;
    record.place = Place();
    record.text = std::move(text);
    return record;
}

void WatchedRemoval::AddUnread(const wchar_t* what, long count) {
    Record& record = AddRecord({});
    record.state = RecordState::NotCarried;
    record.reason = m_complaint + L"; " + std::to_wstring(count) + what;
}

bool WatchedRemoval::ProcessNTVersion(IXMLDOMNode* version, const std::wstring& appPath) {
    m_complaint.clear();
    const bool read = CProductUninstall::ProcessNTVersion(version, appPath);
    if (!read) {
        Record& record = AddRecord({});
        record.state = RecordState::NotCarried;
        record.reason = m_complaint;
    }
    return read;
}

bool WatchedRemoval::ProcessSection(IXMLDOMNode* section, const std::wstring& appPath) {
    m_complaint.clear();
    const bool succeeded = CProductUninstall::ProcessSection(section, appPath);
    dom::ChildList children;
    if (!succeeded && SUCCEEDED(children.ReadNodes(section)) && children.HasNodes() &&
        SUCCEEDED(children.ReadCount())) {
        const long unread = children.Count() - 1 - Place().element;
        if (unread > 0) {
            AddUnread(L" after it in the section not read", unread);
        }
    }
    return succeeded;
}

bool WatchedRemoval::ExecOperation(const OperationAttributes& attributes, const std::wstring& appPath) {
    m_complaint.clear();
    const Sizes before = ListSizes();
    const std::size_t restarts = m_restartDel.Paths().size();
    const bool succeeded = CProductUninstall::ExecOperation(attributes, appPath);
    Record& record = AddRecord(Describe(attributes));
    const Mark mark = Recorded(before);
    if (!mark.empty()) {
        Settle(record, mark);
        return succeeded;
    }
    FileRequest request;
    if (succeeded && ReadFileRequest(CALLER, attributes, appPath, request) && request.atRestart) {
        const RecordId id = static_cast<RecordId>(m_plan.records.size() - 1);
        m_looks.files.AtRestart(request.path, id, m_restartDel.Paths().size() > restarts);
        return succeeded;
    }
    record.state = RecordState::NotCarried;
    record.reason = m_complaint.empty() ? L"an attribute that it needs is missing" : m_complaint;
    return succeeded;
}

void WatchedRemoval::Settle(Record& record, const Mark& mark) {
    const RecordId id = static_cast<RecordId>(m_plan.records.size() - 1);
    const auto [known, isNew] = m_marks.emplace(mark, id);
    if (!isNew) {
        record.state = RecordState::Covered;
        record.coveredBy = known->second;
    }
}

WatchedRemoval::Sizes WatchedRemoval::ListSizes() const {
    return {m_cached.delFiles.size(),       m_cached.delFolders.size(),     m_cached.killProcesses.size(),
            m_cached.disableDrivers.size(), m_cached.delRegKeyData.size(),  m_cached.delReg.size(),
            m_cached.execTools.size(),      m_cached.execDllMethods.size(), m_cached.disableAndStopDrivers.size(),
            m_cached.delShortcuts.size()};
}

WatchedRemoval::Mark WatchedRemoval::Recorded(const Sizes& before) const {
    const Sizes now = ListSizes();
    const auto grown = std::mismatch(now.begin(), now.end(), before.begin()).first - now.begin();
    switch (grown) {
        case 0:
            return FileMark(m_cached.delFiles.back());
        case 1:
            return FolderMark(m_cached.delFolders.back());
        case 2:
            return ProcessMark(m_cached.killProcesses.back());
        case 3:
            return DisableMark(m_cached.disableDrivers.back());
        case 4:
            return SearchMark(m_cached.delRegKeyData.back());
        case 5:
            return m_cached.delReg.back().isValue
                       ? ValueMark(m_cached.delReg.back())
                       : KeyMark(m_cached.delReg.back().keyPath, m_cached.delReg.back().x32view);
        case 6:
            return ToolMark(m_cached.execTools.back());
        case 7:
            return MethodMark(m_cached.execDllMethods.back().attributes, m_cached.execDllMethods.back().text);
        case 8:
            return StopMark(m_cached.disableAndStopDrivers.back().text);
        case 9:
            return ShortcutMark(m_cached.delShortcuts.back());
        default:
            return {};
    }
}

RecordId WatchedRemoval::Reach(const Mark& mark) {
    const auto found = m_marks.find(mark);
    if (found == m_marks.end()) {
        return kNoRecord;
    }
    m_reached.insert(found->second);
    return found->second;
}

// What stood in a list and did not run.
void WatchedRemoval::SettleUnreached() {
    for (const auto& [mark, id] : m_marks) {
        if (m_reached.contains(id)) {
            continue;
        }
        Record& record = m_plan.records[id];
        record.coveredBy = CoverOf(mark);
        if (record.coveredBy != kNoRecord) {
            record.state = RecordState::Covered;
            if (const wchar_t kind = mark.front();
                (kind == L'K' || kind == L'k') && m_looks.keys.Keep(mark.substr(1), kind == L'K', id)) {
                record.reason = L"stays: what covers it goes in the other view";
            }
        } else {
            record.state = RecordState::NotCarried;
            record.reason = L"searches run only where the document names a key or a value to delete as well";
        }
    }
}

// The operation that names a folder or key above, or the key itself in the other view.
RecordId WatchedRemoval::CoverOf(const Mark& mark) const {
    const std::wstring path = mark.substr(1, mark.find(kBetween) - 1);
    const bool isFolder = mark.front() == FolderMark({}).front();
    const bool x32view = mark.front() == L'K' || mark.front() == L'V';
    for (std::size_t end = path.size(); end != std::wstring::npos && end != 0;
         end = path.find_last_of(L"\\/", end - 1)) {
        const std::wstring upper = path.substr(0, end);
        for (const Mark& cover : isFolder ? std::vector{FolderMark(upper)}
                                          : std::vector{KeyMark(upper, x32view), KeyMark(upper, !x32view)}) {
            const auto found = m_marks.find(cover);
            if (found != m_marks.end() && m_reached.contains(found->second)) {
                return found->second;
            }
        }
    }
    return kNoRecord;
}

OperationResult WatchedRemoval::ReadAppPath(HKEY hive, const std::wstring& subkey, const std::wstring& valueName,
                                            wchar_t* buffer) const {
    // A product removed before this one may have taken the value along.
    const OperationResult result = m_product != 0 && m_looks.keys.IsValueGone(hive, subkey, valueName)
                                       ? _ERROR_NOT_FOUND
                                       : CProductUninstall::ReadAppPath(hive, subkey, valueName, buffer);
    if (result != _ERROR_SUCCESS) {
        AddNote(L"the application path of the version " + Place().version + L" is not in the registry (" + subkey +
                L", value \"" + valueName + L"\"): its install_folder counts");
    }
    return result;
}

OperationResult WatchedRemoval::RemoveFolder(const std::wstring& path) {
    return m_looks.files.Folder(path, Reach(FolderMark(path)));
}

OperationResult WatchedRemoval::RemoveFile(const std::wstring& path) {
    return m_looks.files.File(path, Reach(FileMark(path)));
}

OperationResult WatchedRemoval::RemoveShortcut(const DelShortcutOp& shortcut) {
    return m_looks.files.Shortcuts(shortcut, Reach(ShortcutMark(shortcut)));
}

OperationResult WatchedRemoval::RemoveKeysBySearch(const DelRegKeyDataOp& search) {
    return m_looks.keys.Search(search, Reach(SearchMark(search)));
}

OperationResult WatchedRemoval::RemoveKey(const DelRegOp& key) {
    return m_looks.keys.Key(key, Reach(KeyMark(key.keyPath, key.x32view)));
}

OperationResult WatchedRemoval::RemoveValue(const DelRegOp& value) {
    return m_looks.keys.Value(value, Reach(ValueMark(value)));
}

OperationResult WatchedRemoval::EndProcess(const std::wstring& imageName) {
    const RecordId record = Reach(ProcessMark(imageName));
    if (!m_looks.processes.insert(LowerCase(imageName)).second) {
        return _ERROR_NOT_FOUND;
    }
    const std::vector<RunningProgram> programs = ProgramsNamed(imageName);
    for (const RunningProgram& program : programs) {
        AddItem(m_plan.items.Append(ItemKind::Process, program.image), ItemState::Present, record).size = program.id;
    }
    if (programs.empty()) {
        AddItem(m_plan.items.Append(ItemKind::Process, imageName), ItemState::Missing, record);
    }
    return _ERROR_NOT_FOUND;
}

OperationResult WatchedRemoval::RunTool(const ExecToolOp& tool) {
    const RecordId record = Reach(ToolMark(tool));
    // The path stands in quotes, then a blank, then the parameters.
    const std::size_t end = tool.commandLine.find(L'"', 1);
    const std::wstring path = tool.commandLine.substr(1, end - 1);
    const NodeId file = m_plan.items.AtPath(ItemKind::File, View::None, path);
    const bool exists = Exists(path) || Exists(path + L".exe");
    AddItem(m_plan.items.Child(file, ItemKind::Tool, View::None, tool.commandLine.substr(end + 2)),
            exists ? ItemState::Present : ItemState::Missing, record);
    return _ERROR_SUCCESS;
}

bool WatchedRemoval::ProcessExecDllMethod(const OperationAttributes& attributes, const std::wstring& appPath) {
    m_complaint.clear();
    m_method = Reach(MethodMark(attributes, appPath));
    const std::size_t before = m_plan.items.Size();
    const bool succeeded = CProductUninstall::ProcessExecDllMethod(attributes, appPath);
    if (m_plan.items.Size() == before && m_method != kNoRecord && !m_complaint.empty()) {
        m_plan.records[m_method].state = RecordState::NotCarried;
        m_plan.records[m_method].reason = m_complaint;
    }
    return succeeded;
}

OperationResult WatchedRemoval::CallMethod(const std::wstring& library, const std::wstring& method) {
    const NodeId file = m_plan.items.AtPath(ItemKind::File, View::None, library);
    AddItem(m_plan.items.Child(file, ItemKind::LibraryMethod, View::None, method),
            Exists(library) ? ItemState::Present : ItemState::Missing, m_method);
    return _ERROR_SUCCESS;
}

OperationResult WatchedRemoval::Disable(const std::wstring& service) {
    const RecordId disabled = Reach(DisableMark(service));
    const RecordId record = disabled != kNoRecord ? disabled : Reach(StopMark(service));
    const OperationResult found = m_operations.CheckService(service);
    AddItem(m_plan.items.Child(kNoNode, ItemKind::Service, View::None, service),
            found == _ERROR_SUCCESS ? ItemState::Present : ItemState::Missing, record);
    return found;
}

OperationResult WatchedRemoval::Stop(const std::wstring& service) {
    Reach(StopMark(service));
    return _ERROR_SUCCESS;
}

Item& WatchedRemoval::AddItem(NodeId node, ItemState state, RecordId record) {
    Item& item = m_plan.items[node];
    if (!item.IsItem()) {
        item.state = state;
        item.record = record;
    }
    return item;
}

}  // namespace preview
