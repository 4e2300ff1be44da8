#include "machine.h"

#include <windows.h>
#include <shlobj.h>

#include <array>

#include "foundation/CWow64.h"
#include "foundation/owned.h"

namespace tools::host {

namespace {

bool IsSystemAccount() {
    OwnedHandle token;
    if (!::OpenProcessToken(::GetCurrentProcess(), TOKEN_QUERY, token.Put())) {
        return false;
    }
    alignas(TOKEN_USER) std::array<BYTE, sizeof(TOKEN_USER) + SECURITY_MAX_SID_SIZE> user = {};
    DWORD size = user.size();
    return ::GetTokenInformation(token.Get(), TokenUser, user.data(), size, &size) &&
           ::IsWellKnownSid(reinterpret_cast<const TOKEN_USER*>(user.data())->User.Sid, WinLocalSystemSid);
}

}  // namespace

Machine ThisMachine() {
    Machine machine;
    wchar_t text[MAX_PATH + 1] = {};
    DWORD size = MAX_PATH;
    if (::GetComputerNameW(text, &size)) {
        machine.name = text;
    }
    OSVERSIONINFOW version = {};
    version.dwOSVersionInfoSize = sizeof version;
    if (::GetVersionExW(&version)) {
        machine.system = std::to_wstring(version.dwMajorVersion) + L"." + std::to_wstring(version.dwMinorVersion) +
                         L"." + std::to_wstring(version.dwBuildNumber);
    }
    machine.views = CWow64::Instance().IsWow64Process() ? 2 : 1;
    size = MAX_PATH;
    if (::GetUserNameW(text, &size)) {
        machine.account = text;
    }
    machine.isSystemAccount = IsSystemAccount();
    if (::SHGetFolderPathW(nullptr, CSIDL_PROFILE, nullptr, 0, text) == S_OK) {
        machine.profile = text;
    }
    return machine;
}

}  // namespace tools::host
