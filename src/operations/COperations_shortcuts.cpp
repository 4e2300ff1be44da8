#include <windows.h>
#include <shlobj.h>
#include <shlwapi.h>

#include <algorithm>
#include <string_view>

#include "foundation/com.h"
#include "foundation/CWow64.h"
#include "foundation/log_statement.h"
#include "foundation/text.h"
#include "operations/COperations.h"
#include "operations/folder_entries.h"

namespace {

constexpr std::size_t kFileNameChars = 260;
constexpr std::size_t kExtensionChars = 16;  // with its dot; what is longer is cut

std::wstring FileNameAndExtension(std::wstring_view path) {
    path.remove_prefix(path.find_last_of(L"\\/:") + 1);
    const std::size_t dot = std::min(path.rfind(L'.'), path.size());
    std::wstring result(path.substr(0, std::min(dot, kFileNameChars)));
    result += path.substr(dot, kExtensionChars);
    return result;
}

}  // namespace

bool COperations::IsShortcut(const wchar_t* name) {
    return EqualsBlind(::PathFindExtensionW(name), L".lnk");
}

HRESULT COperations::GetLinkInfo(const std::wstring& path, wchar_t (&target)[MAX_PATH]) {
    target[0] = L'\0';
    // Asked for with every link and not given back: COM stays initialised on the thread.
    (void)::CoInitialize(nullptr);
    ComPtr<IShellLinkW> link;
    HRESULT result = ::CoCreateInstance(CLSID_ShellLink, nullptr, CLSCTX_INPROC_SERVER, IID_IShellLinkW,
                                        reinterpret_cast<void**>(link.Put()));
    if (FAILED(result)) {
        return result;
    }
    ComPtr<IPersistFile> file;
    result = link.As(IID_IPersistFile, file);
    if (FAILED(result)) {
        return result;
    }
    result = file->Load(path.c_str(), 0);
    if (FAILED(result)) {
        return result;
    }
    WIN32_FIND_DATAW data = {};
    result = link->GetPath(target, MAX_PATH, &data, 0);
    if (FAILED(result)) {
        LOG(kError, L"Retrieve link for \"%s\" error 0x%x", path.c_str(), result);
    }
    return result;
}

bool COperations::PointsAt(const wchar_t* caller, const std::wstring& link, const ShortcutTarget& target) {
    wchar_t path[MAX_PATH];
    const HRESULT result = GetLinkInfo(link, path);
    if (FAILED(result)) {
        LOG_AS(caller, kError, L"GetLinkInfo \"%s\" failed 0x%x", link.c_str(), result);
        return false;
    }
    return target.isWholePath ? EqualsBlind(path, target.text) : EqualsBlind(FileNameAndExtension(path), target.text);
}

template <typename ActOnPath, typename ActOnLink>
OperationResult COperations::WalkShortcuts(const wchar_t* caller, const std::wstring& path,
                                           const ShortcutTarget& target, const ActOnPath& actOnPath,
                                           const ActOnLink& actOnLink) {
    if (!::PathIsDirectoryW(path.c_str())) {
        return actOnPath(path);
    }
    FolderEntries entries(caller, path);
    if (entries.Opened() != _ERROR_SUCCESS) {
        return entries.Opened();
    }
    // The value of the last folder or matching link, no summary: a later success hides an earlier failure.
    OperationResult result = _ERROR_SUCCESS;
    while (entries.Next()) {
        if (entries.IsFolder()) {
            result = WalkShortcuts(caller, entries.Path(), target, actOnPath, actOnLink);
        } else if (IsShortcut(entries.Name()) && PointsAt(caller, entries.Path(), target)) {
            actOnLink(entries.Path(), result);
        }
    }
    return result;
}

OperationResult COperations::DelShortcut(const std::wstring& path, const std::wstring& target, bool targetIsWholePath,
                                         IUsed* used) {
    const Wow64Redirection redirection(CALLER);
    return DelShortcutRec(path, {target, targetIsWholePath}, used);
}

OperationResult COperations::DelShortcutRec(const std::wstring& path, const ShortcutTarget& target, IUsed* used) {
    return WalkShortcuts(
        CALLER, path, target, [&](const std::wstring& file) { return DelFile(file, used); },
        [&](const std::wstring& link, OperationResult& result) {
            result = DelFile(link, used);
            if (result != _ERROR_SUCCESS && result != _ERROR_NOT_FOUND) {
                AddRestartDel(link);
            }
        });
}

OperationResult COperations::CheckShortcut(const std::wstring& path, const std::wstring& target,
                                           bool targetIsWholePath) const {
    const Wow64Redirection redirection(CALLER);
    return CheckShortcutRec(path, {target, targetIsWholePath});
}

OperationResult COperations::CheckShortcutRec(const std::wstring& path, const ShortcutTarget& target) const {
    return WalkShortcuts(
        CALLER, path, target, [&](const std::wstring& file) { return CheckFile(file); },
        [&](const std::wstring& link, OperationResult& result) { result = CheckFile(link); });
}

OperationResult COperations::ExpandShortcut(const std::wstring& path, const std::wstring& target,
                                            bool targetIsWholePath, std::vector<std::wstring>& files) const {
    const Wow64Redirection redirection(CALLER);
    return ExpandShortcutRec(path, {target, targetIsWholePath}, files);
}

OperationResult COperations::ExpandShortcutRec(const std::wstring& path, const ShortcutTarget& target,
                                               std::vector<std::wstring>& files) const {
    return WalkShortcuts(
        CALLER, path, target,
        [&](const std::wstring& file) {
            files.push_back(file);
            return _ERROR_SUCCESS;
        },
        [&](const std::wstring& link, OperationResult&) { files.push_back(link); });
}
