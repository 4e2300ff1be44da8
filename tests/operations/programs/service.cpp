// A service that stops as its command line says: "service STATE:CHECKPOINT ...". The stop control reports the first
// pair; each signal of the event "Global\NAME-step" the next one, which the event "Global\NAME-done" answers. After
// the last pair, and after a while without a signal, it stops.
#include <windows.h>

#include <cwchar>
#include <string>
#include <vector>

namespace {

constexpr DWORD kWaitHint = 40;
constexpr DWORD kPatience = 10000;

std::vector<std::wstring> g_pairs;
SERVICE_STATUS_HANDLE g_service = nullptr;
HANDLE g_stop = nullptr;
HANDLE g_finished = nullptr;

void Report(DWORD state, DWORD checkPoint) {
    SERVICE_STATUS status = {};
    status.dwServiceType = SERVICE_WIN32_OWN_PROCESS;
    status.dwCurrentState = state;
    status.dwControlsAccepted = SERVICE_ACCEPT_STOP;
    status.dwCheckPoint = checkPoint;
    status.dwWaitHint = kWaitHint;
    ::SetServiceStatus(g_service, &status);
}

bool ReportPair(std::size_t index) {
    if (index >= g_pairs.size()) {
        return false;
    }
    wchar_t* rest = nullptr;
    const DWORD state = std::wcstoul(g_pairs[index].c_str(), &rest, 10);
    Report(state, std::wcstoul(rest + 1, nullptr, 10));
    return state != SERVICE_STOPPED;
}

DWORD WINAPI Handle(DWORD control, DWORD, void*, void*) {
    if (control == SERVICE_CONTROL_STOP) {
        ReportPair(0);
        ::SetEvent(g_stop);
    }
    return NO_ERROR;
}

void WINAPI ServiceMain(DWORD, wchar_t** argv) {
    const std::wstring name = argv[0];
    const HANDLE step = ::CreateEventW(nullptr, FALSE, FALSE, (L"Global\\" + name + L"-step").c_str());
    const HANDLE done = ::CreateEventW(nullptr, FALSE, FALSE, (L"Global\\" + name + L"-done").c_str());
    g_stop = ::CreateEventW(nullptr, FALSE, FALSE, nullptr);
    g_service = ::RegisterServiceCtrlHandlerExW(name.c_str(), &Handle, nullptr);
    Report(SERVICE_RUNNING, 0);
    ::WaitForSingleObject(g_stop, kPatience);
    for (std::size_t next = 1; ::WaitForSingleObject(step, kPatience) == WAIT_OBJECT_0 && ReportPair(next); ++next) {
        ::SetEvent(done);
    }
    Report(SERVICE_STOPPED, 0);
    ::SetEvent(done);
    ::SetEvent(g_finished);
}

}  // namespace

int wmain(int argc, wchar_t** argv) {
    g_pairs.assign(argv + 1, argv + argc);
    g_finished = ::CreateEventW(nullptr, TRUE, FALSE, nullptr);
    wchar_t anyName[] = L"";
    const SERVICE_TABLE_ENTRYW table[] = {{anyName, &ServiceMain}, {nullptr, nullptr}};
    if (!::StartServiceCtrlDispatcherW(table)) {
        return 1;
    }
    // The dispatcher returns at the report of the stop, which has yet to be answered.
    ::WaitForSingleObject(g_finished, kPatience);
    return 0;
}
