#include "setup.h"

#include <winsvc.h>

namespace {

constexpr wchar_t kService[] = L"WendelbachAtlas";
constexpr DWORD kPollMilliseconds = 50;
constexpr DWORD kStartPolls = 200;

void WaitUntilRunning(SC_HANDLE service) {
    for (DWORD poll = 0; poll < kStartPolls; ++poll) {
        SERVICE_STATUS status = {};
        Require(::QueryServiceStatus(service, &status), L"QueryServiceStatus");
        if (status.dwCurrentState == SERVICE_RUNNING) {
            return;
        }
        ::Sleep(kPollMilliseconds);
    }
    RequireNoError(ERROR_SERVICE_REQUEST_TIMEOUT, L"the start of the service");
}

}  // namespace

void InstallService(const std::wstring& folder) {
    const SC_HANDLE manager = ::OpenSCManagerW(nullptr, nullptr, SC_MANAGER_CREATE_SERVICE);
    Require(manager != nullptr, L"OpenSCManager");
    const std::wstring command = L"\"" + folder + L"\\atlas-service.exe\"";
    const SC_HANDLE service = ::CreateServiceW(manager, kService, kProduct, SERVICE_START | SERVICE_QUERY_STATUS,
                                               SERVICE_WIN32_OWN_PROCESS, SERVICE_AUTO_START, SERVICE_ERROR_NORMAL,
                                               command.c_str(), nullptr, nullptr, nullptr, nullptr, nullptr);
    Require(service != nullptr, L"CreateService");
    Require(::StartServiceW(service, 0, nullptr), L"StartService");
    WaitUntilRunning(service);
    ::CloseServiceHandle(service);
    ::CloseServiceHandle(manager);
}
