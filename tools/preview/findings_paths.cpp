#include <windows.h>
#include <winioctl.h>

#include <algorithm>
#include <cwchar>
#include <string>
#include <vector>

#include "findings_passes.h"
#include "foundation/CWow64.h"
#include "foundation/log_statement.h"
#include "foundation/module.h"
#include "foundation/owned.h"

namespace preview {

namespace {

constexpr DWORD kShareAll = FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE;

// What the system keeps of a link: the two kinds differ by one field in front of their names.
struct ReparseData {
    DWORD tag;
    WORD length;
    WORD reserved;
    WORD substituteOffset;
    WORD substituteLength;
    WORD printOffset;
    WORD printLength;
};

// As the link itself says it; empty if it does not.
std::wstring StoredTarget(const std::wstring& link) {
    const OwnedFileHandle file(::CreateFileW(link.c_str(), FILE_READ_ATTRIBUTES, kShareAll, nullptr, OPEN_EXISTING,
                                             FILE_FLAG_BACKUP_SEMANTICS | FILE_FLAG_OPEN_REPARSE_POINT, nullptr));
    alignas(ReparseData) BYTE buffer[MAXIMUM_REPARSE_DATA_BUFFER_SIZE] = {};
    DWORD size = 0;
    if (!file ||
        !::DeviceIoControl(file.Get(), FSCTL_GET_REPARSE_POINT, nullptr, 0, buffer, sizeof(buffer), &size, nullptr)) {
        return {};
    }
    const auto& data = *reinterpret_cast<const ReparseData*>(buffer);
    const DWORD flags = data.tag == IO_REPARSE_TAG_SYMLINK ? sizeof(DWORD) : 0;
    const bool isLink = data.tag == IO_REPARSE_TAG_SYMLINK || data.tag == IO_REPARSE_TAG_MOUNT_POINT;
    const std::size_t names = sizeof(ReparseData) + flags;
    if (!isLink || names + data.substituteOffset + data.substituteLength > size) {
        return {};
    }
    const auto* const text = reinterpret_cast<const wchar_t*>(buffer + names + data.substituteOffset);
    std::wstring target(text, data.substituteLength / sizeof(wchar_t));
    constexpr std::wstring_view kDevice = L"\\??\\";
    return target.starts_with(kDevice) ? target.substr(kDevice.size()) : target;
}

// Where the system ends up when it follows the link; empty if it does not say.
std::wstring FollowedTarget(const std::wstring& link) {
    using FinalPath = DWORD(WINAPI*)(HANDLE, LPWSTR, DWORD, DWORD);
    const auto finalPath =
        EntryPointCast<FinalPath>(::GetProcAddress(::GetModuleHandleW(L"kernel32.dll"), "GetFinalPathNameByHandleW"));
    const OwnedFileHandle file(::CreateFileW(link.c_str(), FILE_READ_ATTRIBUTES, kShareAll, nullptr, OPEN_EXISTING,
                                             FILE_FLAG_BACKUP_SEMANTICS, nullptr));
    wchar_t path[1024] = {};
    if (!file || finalPath == nullptr || finalPath(file.Get(), path, std::size(path) - 1, 0) == 0) {
        return {};
    }
    const std::wstring target = path;
    constexpr std::wstring_view kPrefix = L"\\\\?\\";
    return target.starts_with(kPrefix) ? target.substr(kPrefix.size()) : target;
}

std::wstring TargetText(const std::wstring& link) {
    std::wstring target = StoredTarget(link);
    if (target.empty()) {
        target = FollowedTarget(link);
    }
    if (target.empty() || FoldedPath(target) == FoldedPath(link)) {
        return L" is a link, and the system does not tell where to";
    }
    return L" is a link to " + target;
}

bool IsLink(const ItemTree& items, NodeId node) {
    if (items[node].IsItem()) {
        return items[node].isLink;
    }
    if (items[node].view != View::None) {
        return false;
    }
    const DWORD attributes = ::GetFileAttributesW((items.Path(node) + L"\\").c_str());
    const DWORD itself = ::GetFileAttributesW(items.Path(node).c_str());
    return attributes != INVALID_FILE_ATTRIBUTES && (itself & FILE_ATTRIBUTE_REPARSE_POINT) != 0;
}

// For each node the first item below it that goes, and how many there are.
struct Reached {
    NodeId item = kNoNode;
    unsigned count = 0;
};

std::vector<Reached> ReachedThrough(const ItemTree& items, const Effects& effects) {
    std::vector<Reached> reached(items.Size());
    // A node comes after what it lies in, so that the first item is the last to be seen.
    for (NodeId node = items.Size(); node-- > 0;) {
        const NodeId parent = items[node].parent;
        if (parent == kNoNode) {
            continue;
        }
        const bool goes = effects.Goes(node);
        if (goes || reached[node].count > 0) {
            reached[parent].item = goes ? node : reached[node].item;
            reached[parent].count += reached[node].count + (goes ? 1U : 0U);
        }
    }
    return reached;
}

void CheckLinks(Plan& plan, const Effects& effects) {
    const std::vector<Reached> reached = ReachedThrough(plan.items, effects);
    for (NodeId node = 0; node < plan.items.Size(); ++node) {
        if (reached[node].count == 0 || !IsLink(plan.items, node)) {
            continue;
        }
        const std::wstring path = plan.items.Path(node);
        const NodeId item = effects.Goes(node) ? node : reached[node].item;
        AddFinding(plan, "through-link", Severity::Stop, item,
                   path + TargetText(path) + L"; of what lies there would go: " + std::to_wstring(reached[node].count));
    }
}

bool HasDriveOrServer(const std::wstring& path) {
    return path.starts_with(L"\\\\") || path.starts_with(L"//") ||
           (path.size() >= 2 && path[1] == L':' && (path.size() == 2 || path[2] == L'\\'));
}

void CheckRelative(Plan& plan) {
    for (NodeId node = 0; node < plan.items.Size(); ++node) {
        const Item& item = plan.items[node];
        if (!item.IsItem()) {
            continue;
        }
        const bool isFile = item.kind == ItemKind::File || item.kind == ItemKind::Folder ||
                            item.kind == ItemKind::Shortcut || item.kind == ItemKind::RestartEntry;
        const bool isTop = item.parent == kNoNode || !plan.items[item.parent].IsItem();
        if (isFile && isTop && !HasDriveOrServer(plan.items.Path(node))) {
            AddFinding(plan, "relative-path", Severity::Stop, node,
                       L"\"" + plan.items.Path(node) +
                           L"\" has no drive of its own: it is looked for wherever the host stands");
        }
    }
}

}  // namespace

void AddPathFindings(Plan& plan, const Effects& effects) {
    const Wow64Redirection off(CALLER);
    CheckRelative(plan);
    CheckLinks(plan, effects);
}

}  // namespace preview
