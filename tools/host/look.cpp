#include "look.h"

#include <windows.h>
#include <tlhelp32.h>

#include "foundation/CSplitKeyPath.h"
#include "foundation/CWow64.h"
#include "foundation/log_statement.h"
#include "foundation/owned.h"
#include "foundation/registry_access.h"
#include "foundation/text.h"

namespace tools::host {

namespace {

using preview::ItemKind;
using preview::View;

constexpr DWORD kEndOfProcess = 5000;  // milliseconds that a process may take to end once it was told to

bool MeansMissing(LONG error) {
    return error == ERROR_FILE_NOT_FOUND || error == ERROR_PATH_NOT_FOUND || error == ERROR_BAD_NETPATH ||
           error == ERROR_INVALID_NAME || error == ERROR_KEY_DELETED;
}

bool IsFileThere(const std::wstring& path) {
    const Wow64Redirection off(CALLER);
    return ::GetFileAttributesW(path.c_str()) != INVALID_FILE_ATTRIBUTES ||
           !MeansMissing(static_cast<LONG>(::GetLastError()));
}

LONG OpenKey(const std::wstring& path, View view, OwnedRegKey& key) {
    HKEY hive = nullptr;
    std::wstring subkey;
    if (!CSplitKeyPath::Split(path + L"\\", hive, subkey)) {
        return ERROR_FILE_NOT_FOUND;
    }
    subkey.erase(subkey.find_last_not_of(L'\\') + 1);
    REGSAM access = kReadDefaultView;
    if (CWow64::Instance().IsWow64Process() && view != View::None) {
        access = view == View::Bits32 ? kRead32BitView : kRead64BitView;
    }
    return ::RegOpenKeyExW(hive, subkey.c_str(), 0, access, key.Put());
}

bool IsKeyThere(const std::wstring& path, View view) {
    OwnedRegKey key;
    return !MeansMissing(OpenKey(path, view, key));
}

bool IsValueThere(const std::wstring& path, View view, const std::wstring& name) {
    OwnedRegKey key;
    const LONG error = OpenKey(path, view, key);
    if (error != ERROR_SUCCESS) {
        return !MeansMissing(error);
    }
    return !MeansMissing(::RegQueryValueExW(key.Get(), name.c_str(), nullptr, nullptr, nullptr, nullptr));
}

bool BearsName(DWORD process, const std::wstring& image) {
    const std::wstring name = image.substr(image.find_last_of(L'\\') + 1);
    const OwnedFileHandle snapshot(::CreateToolhelp32Snapshot(TH32CS_SNAPPROCESS, 0));
    PROCESSENTRY32W entry = {};
    entry.dwSize = sizeof(entry);
    for (BOOL more = snapshot && ::Process32FirstW(snapshot.Get(), &entry); more;
         more = ::Process32NextW(snapshot.Get(), &entry)) {
        if (entry.th32ProcessID == process) {
            return EqualsBlind(entry.szExeFile, name);
        }
    }
    return false;
}

bool IsProcessThere(DWORD process, const std::wstring& image) {
    if (!BearsName(process, image)) {
        return false;
    }
    const OwnedHandle handle(::OpenProcess(SYNCHRONIZE, FALSE, process));
    return !handle || ::WaitForSingleObject(handle.Get(), kEndOfProcess) == WAIT_TIMEOUT;
}

bool IsServiceThere(const std::wstring& name) {
    OwnedRegKey key;
    const std::wstring path = L"SYSTEM\\CurrentControlSet\\Services\\" + name;
    if (::RegOpenKeyExW(HKEY_LOCAL_MACHINE, path.c_str(), 0, kReadDefaultView, key.Put()) != ERROR_SUCCESS) {
        return false;
    }
    DWORD start = 0;
    DWORD bytes = sizeof(start);
    return ::RegQueryValueExW(key.Get(), L"Start", nullptr, nullptr, reinterpret_cast<BYTE*>(&start), &bytes) !=
               ERROR_SUCCESS ||
           start != SERVICE_DISABLED;
}

}  // namespace

bool IsThere(ItemKind kind, View view, const std::wstring& path, const std::wstring& name, std::uint64_t id) {
    switch (kind) {
        case ItemKind::File:
        case ItemKind::Folder:
        case ItemKind::Shortcut:
        case ItemKind::RestartEntry:
            return IsFileThere(path);
        case ItemKind::Key:
            return IsKeyThere(path, view);
        case ItemKind::Value:
            return IsValueThere(path, view, name);
        case ItemKind::Process:
            return IsProcessThere(static_cast<DWORD>(id), path);
        case ItemKind::Service:
            return IsServiceThere(path);
        default:
            return false;
    }
}

}  // namespace tools::host
