#include <windows.h>

#include <doctest/doctest.h>

#include "foundation/owned.h"
#include "operations/COperations.h"
#include "operations/service_stop.h"
#include "support/import_patch.h"
#include "support/recorded_log.h"

namespace {

// A service of the system, which the throw-away prefix can do without.
constexpr const wchar_t* kService = L"Spooler";
const std::wstring kKey = std::wstring(L"SYSTEM\\CurrentControlSet\\Services\\") + kService;

bool Await(const OwnedServiceHandle& service, DWORD state) {
    SERVICE_STATUS status = {};
    for (int tries = 0; tries < 1000 && status.dwCurrentState != state; ++tries) {
        ::SleepEx(10, FALSE);
        ::QueryServiceStatus(service.Get(), &status);
    }
    return status.dwCurrentState == state;
}

}  // namespace

TEST_CASE("a service is waited for while it changes state or counts on") {
    // Columns: reports (state: 1 stopped, 3 stopping, 7 pausing; check point), result, pauses.
    for (const Lines& row : Rows(LR"(
10 | 0 |
31 32 39 10 | 0 | 41 42 49
30 30 10 | 2 | 40
35 34 10 | 2 | 45
35 72 31 10 | 0 | 45 42 41
35 | 2 | 45
)",
                                 3)) {
        INFO(Utf8(row[0]));
        Lines reports = Split(row[0], L' ');
        Lines pauses;
        PLAY(QueryServiceStatus, [&](SC_HANDLE, SERVICE_STATUS* status) {
            if (reports.empty()) {
                return FALSE;
            }
            status->dwCurrentState = reports[0][0] - L'0';
            status->dwCheckPoint = reports[0][1] - L'0';
            status->dwWaitHint = 40 + status->dwCheckPoint;
            reports.erase(reports.begin());
            return TRUE;
        });
        PLAY(Sleep, [&](DWORD time) { pauses.push_back(std::to_wstring(time)); });
        SERVICE_STATUS status = {};
        CHECK(std::to_wstring(WaitForServiceStop(nullptr, status)) == row[1]);
        CHECK(Joined(pauses, L" ") == row[2]);
    }
}

TEST_CASE("StopService ends a running service and takes a stopped one for ended") {
    const OwnedServiceHandle manager(::OpenSCManagerW(nullptr, nullptr, SC_MANAGER_ALL_ACCESS));
    const OwnedServiceHandle service(::OpenServiceW(manager.Get(), kService, SERVICE_ALL_ACCESS));
    ::StartServiceW(service.Get(), 0, nullptr);
    REQUIRE(Await(service, SERVICE_RUNNING));
    PLAY(Sleep, [&](DWORD) { Await(service, SERVICE_STOPPED); });
    CHECK(StopService(kService) == _ERROR_SUCCESS);
    CHECK(Await(service, SERVICE_STOPPED));
    CHECK(StopService(kService) == _ERROR_SUCCESS);
    CHECK(StopService(L"no such") == _ERROR_FAILED);
}

TEST_CASE("DisableService sets the start type, CheckService asks whether the key opens for writing") {
    const RecordedLog log;
    const COperations operations;
    CHECK(operations.DisableService(kService) == _ERROR_SUCCESS);
    DWORD start = 0;
    DWORD size = sizeof start;
    CHECK(::RegGetValueW(HKEY_LOCAL_MACHINE, kKey.c_str(), L"Start", RRF_RT_REG_DWORD, nullptr, &start, &size) == 0);
    CHECK(start == SERVICE_DISABLED);
    CHECK(operations.CheckService(kService) == _ERROR_SUCCESS);
    CHECK(log.Lines().empty());
    CHECK(operations.CheckService(L"no such") == _ERROR_NOT_FOUND);

    // A key that refuses the value stays open.
    HKEY refused = nullptr;
    PLAY(RegSetValueExW, [&](HKEY key, auto...) { return refused = key, LSTATUS{ERROR_ACCESS_DENIED}; });
    CHECK(operations.DisableService(kService) == _ERROR_FAILED);
    CHECK(log.Has(L"E COperations::DisableService: RegSetValueEx \"HKEY_LOCAL_MACHINE\\" + kKey +
                  L"\" Start failed 0x5"));
    CHECK(::RegCloseKey(refused) == ERROR_SUCCESS);
    PLAY(RegOpenKeyExW, [&](HKEY, LPCWSTR, DWORD, REGSAM access, HKEY*) {
        return (access & KEY_SET_VALUE) != 0 ? LSTATUS{ERROR_ACCESS_DENIED} : LSTATUS{ERROR_SUCCESS};
    });
    CHECK(operations.CheckService(kService) == _ERROR_NOT_FOUND);
    CHECK(log.Has(L"E COperations::CheckService: RegOpenKeyEx \"HKEY_LOCAL_MACHINE\\" + kKey + L"\" failed 0x5"));
}
