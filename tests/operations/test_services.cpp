#include <windows.h>

#include <doctest/doctest.h>

#include <string>
#include <tuple>
#include <vector>

#include "foundation/log_statement.h"
#include "foundation/owned.h"
#include "operations/COperations.h"
#include "operations/service_stop.h"
#include "support/import_patch.h"
#include "support/recorded_log.h"

namespace {

// State and check point that a service reports, one pair a query.
using Reports = std::vector<std::pair<DWORD, DWORD>>;
Reports g_reports;
std::vector<DWORD> g_pauses;

BOOL WINAPI NextReport(SC_HANDLE, SERVICE_STATUS* status) {
    if (g_reports.empty()) {
        return FALSE;
    }
    std::tie(status->dwCurrentState, status->dwCheckPoint) = g_reports.front();
    status->dwWaitHint = 40 + status->dwCheckPoint;
    g_reports.erase(g_reports.begin());
    return TRUE;
}

void WINAPI NotePause(DWORD milliseconds) {
    g_pauses.push_back(milliseconds);
}

// A service of the system, which the throw-away prefix can do without.
constexpr const wchar_t* kService = L"Spooler";
const std::wstring kKey = std::wstring(L"SYSTEM\\CurrentControlSet\\Services\\") + kService;
SC_HANDLE g_service = nullptr;

bool Await(DWORD state) {
    SERVICE_STATUS status = {};
    for (int tries = 0; tries < 1000 && status.dwCurrentState != state; ++tries) {
        ::SleepEx(10, FALSE);
        ::QueryServiceStatus(g_service, &status);
    }
    return status.dwCurrentState == state;
}

void WINAPI PauseUntilStopped(DWORD) {
    Await(SERVICE_STOPPED);
}

HKEY g_refusedKey = nullptr;

LSTATUS WINAPI RefuseValue(HKEY key, const wchar_t*, DWORD, DWORD, const BYTE*, DWORD) {
    g_refusedKey = key;
    return ERROR_ACCESS_DENIED;
}

LSTATUS WINAPI RefuseWriters(HKEY, const wchar_t*, DWORD, REGSAM access, HKEY*) {
    return (access & KEY_SET_VALUE) != 0 ? ERROR_ACCESS_DENIED : ERROR_SUCCESS;
}

}  // namespace

TEST_CASE("a service is waited for while it changes state or counts on") {
    constexpr DWORD kStopped = SERVICE_STOPPED, kStopping = SERVICE_STOP_PENDING, kPausing = SERVICE_PAUSE_PENDING;
    const struct {
        const char* what;
        Reports reports;
        OperationResult result;
        std::vector<DWORD> pauses;
    } rows[] = {
        {"stops at once", {{kStopped, 0}}, _ERROR_SUCCESS, {}},
        {"rises", {{kStopping, 1}, {kStopping, 2}, {kStopping, 9}, {kStopped, 0}}, _ERROR_SUCCESS, {41, 42, 49}},
        {"stands still", {{kStopping, 0}, {kStopping, 0}, {kStopped, 0}}, _ERROR_FAILED, {40}},
        {"falls back", {{kStopping, 5}, {kStopping, 4}, {kStopped, 0}}, _ERROR_FAILED, {45}},
        {"counts anew", {{kStopping, 5}, {kPausing, 2}, {kStopping, 1}, {kStopped, 0}}, _ERROR_SUCCESS, {45, 42, 41}},
        {"is lost", {{kStopping, 5}}, _ERROR_FAILED, {45}},
    };
    const ImportPatch query("QueryServiceStatus", &NextReport);
    const ImportPatch sleep("Sleep", &NotePause);
    for (const auto& row : rows) {
        CAPTURE(row.what);
        g_reports = row.reports;
        g_pauses.clear();
        SERVICE_STATUS status = {};
        CHECK(WaitForServiceStop(nullptr, status) == row.result);
        CHECK(g_pauses == row.pauses);
    }
}

TEST_CASE("StopService ends a running service and takes a stopped one for ended") {
    const OwnedServiceHandle manager(::OpenSCManagerW(nullptr, nullptr, SC_MANAGER_ALL_ACCESS));
    const OwnedServiceHandle service(::OpenServiceW(manager.Get(), kService, SERVICE_ALL_ACCESS));
    g_service = service.Get();
    ::StartServiceW(g_service, 0, nullptr);
    REQUIRE(Await(SERVICE_RUNNING));
    const ImportPatch sleep("Sleep", &PauseUntilStopped);
    CHECK(StopService(kService) == _ERROR_SUCCESS);
    CHECK(Await(SERVICE_STOPPED));
    CHECK(StopService(kService) == _ERROR_SUCCESS);
    CHECK(StopService(L"no such") == _ERROR_FAILED);
}

TEST_CASE("DisableService sets the start type and leaves a key open that refuses it") {
    const RecordedLog log;
    CHECK(COperations().DisableService(kService) == _ERROR_SUCCESS);
    DWORD start = 0;
    DWORD size = sizeof start;
    CHECK(::RegGetValueW(HKEY_LOCAL_MACHINE, kKey.c_str(), L"Start", RRF_RT_REG_DWORD, nullptr, &start, &size) == 0);
    CHECK(start == SERVICE_DISABLED);
    CHECK(log.Lines().empty());

    const ImportPatch value("RegSetValueExW", &RefuseValue);
    CHECK(COperations().DisableService(kService) == _ERROR_FAILED);
    CHECK(log.Has(kError, L"COperations::DisableService",
                  L"RegSetValueEx \"HKEY_LOCAL_MACHINE\\" + kKey + L"\" Start failed 0x5"));
    CHECK(::RegCloseKey(g_refusedKey) == ERROR_SUCCESS);
}

TEST_CASE("CheckService asks whether the service's key opens for writing") {
    const RecordedLog log;
    CHECK(COperations().CheckService(kService) == _ERROR_SUCCESS);
    CHECK(COperations().CheckService(L"no such") == _ERROR_NOT_FOUND);
    const ImportPatch open("RegOpenKeyExW", &RefuseWriters);
    CHECK(COperations().CheckService(kService) == _ERROR_NOT_FOUND);
    CHECK(log.Has(kError, L"COperations::CheckService",
                  L"RegOpenKeyEx \"HKEY_LOCAL_MACHINE\\" + kKey + L"\" failed 0x5"));
}
