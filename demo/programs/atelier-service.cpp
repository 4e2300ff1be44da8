// The product's service: runs until it is told to stop.

#include <windows.h>

namespace {

wchar_t g_name[] = L"AtelierService";
SERVICE_STATUS_HANDLE g_handle = nullptr;
HANDLE g_stop = nullptr;

void Report(DWORD state) {
    SERVICE_STATUS status = {};
    status.dwServiceType = SERVICE_WIN32_OWN_PROCESS;
    status.dwCurrentState = state;
    status.dwControlsAccepted = state == SERVICE_RUNNING ? SERVICE_ACCEPT_STOP : 0;
    ::SetServiceStatus(g_handle, &status);
}

void WINAPI Control(DWORD control) {
    if (control == SERVICE_CONTROL_STOP) {
        Report(SERVICE_STOP_PENDING);
        ::SetEvent(g_stop);
    }
}

void WINAPI Serve(DWORD, wchar_t**) {
    g_stop = ::CreateEventW(nullptr, TRUE, FALSE, nullptr);
    g_handle = ::RegisterServiceCtrlHandlerW(g_name, &Control);
    Report(SERVICE_RUNNING);
    ::WaitForSingleObject(g_stop, INFINITE);
    Report(SERVICE_STOPPED);
}

}  // namespace

int wmain() {
    const SERVICE_TABLE_ENTRYW services[] = {{g_name, &Serve}, {nullptr, nullptr}};
    return ::StartServiceCtrlDispatcherW(services) ? 0 : 1;
}
