// The product's service: keeps a journal, open in a folder of its own, until it is stopped.
#include <windows.h>
#include <shlobj.h>
#include <winsvc.h>
#include <string>

namespace {

wchar_t g_name[] = L"WendelbachAtlas";
SERVICE_STATUS_HANDLE g_status;
HANDLE g_stop;

constexpr DWORD kStopHintMilliseconds = 500;

void Report(DWORD state) {
    SERVICE_STATUS status = {};
    status.dwServiceType = SERVICE_WIN32_OWN_PROCESS;
    status.dwCurrentState = state;
    status.dwControlsAccepted = state == SERVICE_RUNNING ? SERVICE_ACCEPT_STOP : 0;
    status.dwWaitHint = state == SERVICE_STOP_PENDING ? kStopHintMilliseconds : 0;
    ::SetServiceStatus(g_status, &status);
}

void WINAPI Control(DWORD control) {
    if (control == SERVICE_CONTROL_STOP) {
        Report(SERVICE_STOP_PENDING);
        ::SetEvent(g_stop);
    }
}

HANDLE OpenJournal() {
    wchar_t common[MAX_PATH] = {};
    ::SHGetFolderPathW(nullptr, CSIDL_COMMON_APPDATA, nullptr, SHGFP_TYPE_CURRENT, common);
    const std::wstring folder = std::wstring(common) + L"\\Wendelbach Atlas";
    ::CreateDirectoryW(folder.c_str(), nullptr);
    return ::CreateFileW((folder + L"\\Protokoll.txt").c_str(), GENERIC_WRITE, FILE_SHARE_READ, nullptr, OPEN_ALWAYS,
                         FILE_ATTRIBUTE_NORMAL, nullptr);
}

void WINAPI Run(DWORD, wchar_t**) {
    g_stop = ::CreateEventW(nullptr, TRUE, FALSE, nullptr);
    g_status = ::RegisterServiceCtrlHandlerW(g_name, Control);
    const HANDLE journal = OpenJournal();
    Report(SERVICE_RUNNING);
    ::WaitForSingleObject(g_stop, INFINITE);
    ::CloseHandle(journal);
    Report(SERVICE_STOPPED);
}

}  // namespace

int wmain() {
    const SERVICE_TABLE_ENTRYW services[] = {{g_name, Run}, {nullptr, nullptr}};
    return ::StartServiceCtrlDispatcherW(services) ? 0 : 1;
}
