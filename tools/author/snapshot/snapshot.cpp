#include "author/snapshot/snapshot.h"

#include <windows.h>
#include <sddl.h>

#include <algorithm>

#include "author/snapshot/exclusions.h"
#include "author/snapshot/file_walk.h"
#include "author/snapshot/key_walk.h"
#include "author/snapshot/line_writer.h"
#include "author/snapshot/names.h"
#include "author/snapshot/text_file.h"
#include "common/com_scope.h"
#include "common/failure.h"
#include "foundation/CSpecialFolder.h"
#include "foundation/CWow64.h"
#include "foundation/log_statement.h"
#include "foundation/owned.h"

namespace tools::author {

namespace {

constexpr const wchar_t* kFolderNames[] = {
    L"app_data",
    L"common_app_data",
    L"common_desktop_folder",
    L"common_files",
    L"common_files_x86",
    L"common_start_menu",
    L"common_start_menu_programs",
    L"desktop_folder",
    L"local_app_data",
    L"program_files",
    L"program_files_x86",
    L"start_menu",
    L"start_menu_programs",
    L"windows_folder",
    L"windows_system",
    L"windows_system_drivers",
    L"windows_system_drivers_x86",
    L"windows_system_x86",
};

std::vector<std::wstring> FixedDrives() {
    std::vector<std::wstring> drives;
    const DWORD present = ::GetLogicalDrives();
    for (wchar_t letter = L'A'; letter <= L'Z'; ++letter) {
        const std::wstring drive = {letter, L':'};
        if ((present & 1U << (letter - L'A')) != 0 && ::GetDriveTypeW((drive + L"\\").c_str()) == DRIVE_FIXED) {
            drives.push_back(drive);
        }
    }
    return drives;
}

// Empty where the system does not tell.
std::wstring UserId() {
    OwnedHandle token;
    if (!::OpenProcessToken(::GetCurrentProcess(), TOKEN_QUERY, token.Put())) {
        return {};
    }
    BYTE buffer[sizeof(TOKEN_USER) + SECURITY_MAX_SID_SIZE];
    DWORD size = 0;
    wchar_t* text = nullptr;
    if (!::GetTokenInformation(token.Get(), TokenUser, buffer, sizeof(buffer), &size) ||
        !::ConvertSidToStringSidW(reinterpret_cast<TOKEN_USER*>(buffer)->User.Sid, &text)) {
        return {};
    }
    const std::wstring id = text;
    ::LocalFree(text);
    return id;
}

// In the order of their names, which is that of the whole file.
void WriteHeader(const Exclusions& exclusions, LineWriter& out) {
    for (const std::string& line : exclusions.Lines()) {
        out.Write("#excluded\t" + line + "\t");
    }
    for (const wchar_t* name : kFolderNames) {
        std::wstring path;
        if (CSpecialFolder().Get(name, path)) {
            out.Write("#folder\t" + Escaped(name) + "\t" + Escaped(path));
        }
    }
    out.Write("#format\t1");
    out.Write(CWow64::Instance().IsWow64Process() ? "#system\tx64" : "#system\tx32");
}

// The user's own hive stands under HKCU alone.
void WriteRegistry(Exclusions& exclusions, LineWriter& out) {
    if (const std::wstring user = UserId(); !user.empty()) {
        exclusions.AddPath(L"HKU\\" + user);
    }
    WriteKeys(HKEY_CURRENT_USER, L"", L"HKCU", exclusions, out);
    WriteKeys(HKEY_LOCAL_MACHINE, L"", L"HKLM", exclusions, out);
    WriteKeys(HKEY_USERS, L"", L"HKU", exclusions, out);
}

std::wstring FullPath(const std::wstring& file) {
    std::wstring path(::GetFullPathNameW(file.c_str(), 0, nullptr, nullptr), L'\0');
    path.resize(::GetFullPathNameW(file.c_str(), static_cast<DWORD>(path.size()), path.data(), nullptr));
    return path;
}

}  // namespace

unsigned long TakeSnapshot(const SnapshotOptions& options) {
    Exclusions exclusions(options.exclusionFile.empty() ? std::string(Exclusions::Default())
                                                        : ReadTextFile(options.exclusionFile));
    exclusions.AddPath(FullPath(options.file));
    std::vector<std::wstring> drives = options.drives.empty() ? FixedDrives() : options.drives;
    std::sort(drives.begin(), drives.end());
    const ComScope com;  // for the shell, which reads the shortcuts
    const Wow64Redirection off(CALLER);
    LineWriter out(options.file);
    WriteHeader(exclusions, out);
    const auto behindRegistry =
        std::find_if(drives.begin(), drives.end(), [](const std::wstring& drive) { return drive > L"HK"; });
    std::for_each(drives.begin(), behindRegistry,
                  [&](const std::wstring& drive) { WriteFiles(drive, exclusions, out); });
    WriteRegistry(exclusions, out);
    std::for_each(behindRegistry, drives.end(), [&](const std::wstring& drive) { WriteFiles(drive, exclusions, out); });
    out.Close();
    return out.Lines();
}

}  // namespace tools::author
