#include "holders.h"

#include <windows.h>

#include <algorithm>
#include <span>

#include "foundation/module.h"
#include "foundation/owned.h"

namespace preview {

namespace {

// As the system's restartmanager.h has it, which XP's headers lack.
constexpr DWORD kSessionKeyChars = 32;

struct UniqueProcess {
    DWORD id;
    FILETIME started;
};

struct ProcessInfo {
    UniqueProcess process;
    wchar_t name[256];
    wchar_t service[64];
    int type;
    ULONG status;
    DWORD session;
    BOOL restartable;
};

static_assert(sizeof(ProcessInfo) == 12 + 512 + 128 + 16);

class RestartManager {
public:
    RestartManager() : m_module(::LoadLibraryW(L"rstrtmgr.dll")) {
        Bind("RmStartSession", m_start);
        Bind("RmRegisterResources", m_register);
        Bind("RmGetList", m_list);
        Bind("RmEndSession", m_end);
    }

    bool IsThere() const {
        return m_start != nullptr && m_register != nullptr && m_list != nullptr && m_end != nullptr;
    }

    // Who holds any of the files.
    std::vector<Holder> HoldersOf(std::span<const wchar_t* const> files) const {
        std::vector<Holder> holders;
        DWORD session = 0;
        wchar_t key[kSessionKeyChars + 1] = {};
        if (m_start(&session, 0, key) != ERROR_SUCCESS) {
            return holders;
        }
        if (m_register(session, static_cast<UINT>(files.size()), files.data(), 0, nullptr, 0, nullptr) ==
            ERROR_SUCCESS) {
            std::vector<ProcessInfo> processes;
            UINT needed = 0;
            UINT count = 0;
            DWORD reasons = 0;
            DWORD result = m_list(session, &needed, &count, processes.data(), &reasons);
            while (result == ERROR_MORE_DATA) {
                processes.resize(needed);
                count = needed;
                result = m_list(session, &needed, &count, processes.data(), &reasons);
            }
            for (UINT index = 0; result == ERROR_SUCCESS && index < std::min<std::size_t>(count, processes.size());
                 ++index) {
                holders.push_back({processes[index].process.id, processes[index].name});
            }
        }
        m_end(session);
        return holders;
    }

private:
    template <typename Function>
    void Bind(const char* name, Function& function) {
        function = m_module ? EntryPointCast<Function>(::GetProcAddress(m_module.Get(), name)) : nullptr;
    }

    OwnedModule m_module;
    DWORD(WINAPI* m_start)(DWORD* session, DWORD flags, wchar_t* key) = nullptr;
    DWORD(WINAPI* m_register)
    (DWORD session, UINT files, const wchar_t* const* names, UINT applications, const UniqueProcess* processes,
     UINT services, const wchar_t* const* serviceNames) = nullptr;
    DWORD(WINAPI* m_list)(DWORD session, UINT* needed, UINT* count, ProcessInfo* processes, DWORD* reasons) = nullptr;
    DWORD(WINAPI* m_end)(DWORD session) = nullptr;
};

// The manager tells of all the files of a session together: who holds which is found by halves.
void Search(const RestartManager& manager, Plan& plan, std::span<const NodeId> nodes,
            std::span<const wchar_t* const> files) {
    const std::vector<Holder> holders = nodes.empty() ? std::vector<Holder>() : manager.HoldersOf(files);
    if (holders.empty()) {
        return;
    }
    if (nodes.size() == 1) {
        plan.holders[nodes.front()] = holders;
        return;
    }
    const std::size_t half = nodes.size() / 2;
    Search(manager, plan, nodes.first(half), files.first(half));
    Search(manager, plan, nodes.subspan(half), files.subspan(half));
}

}  // namespace

void AddHolders(Plan& plan) {
    constexpr std::size_t kBatch = 1000;  // paths that are held at a time
    const RestartManager manager;
    std::vector<NodeId> nodes;
    std::vector<std::wstring> paths;
    const auto search = [&] {
        std::vector<const wchar_t*> files;
        std::transform(paths.begin(), paths.end(), std::back_inserter(files),
                       [](const std::wstring& path) { return path.c_str(); });
        Search(manager, plan, nodes, files);
        nodes.clear();
        paths.clear();
    };
    for (NodeId node = 0; manager.IsThere() && node < plan.items.Size(); ++node) {
        const Item& item = plan.items[node];
        if (item.IsItem() && item.state == ItemState::Present &&
            (item.kind == ItemKind::File || item.kind == ItemKind::Shortcut)) {
            nodes.push_back(node);
            paths.push_back(plan.items.Path(node));
        }
        if (nodes.size() == kBatch) {
            search();
        }
    }
    search();
}

}  // namespace preview
