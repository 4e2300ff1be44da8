#include <windows.h>

#include <doctest/doctest.h>

#include <string>
#include <vector>

#include "foundation/log.h"
#include "foundation/owned.h"
#include "operations/COperations.h"
#include "operations/service_stop.h"
#include "support/import_patch.h"
#include "support/recorded_log.h"

namespace {

constexpr DWORD kLimit = 10000;

// A service of the system's own manager which reports `steps` ("state:checkPoint ...") once it is told to stop.
class TestService {
public:
    explicit TestService(const std::wstring& steps)
        : m_step(::CreateEventW(nullptr, FALSE, FALSE, (L"Global\\" + m_name + L"-step").c_str())),
          m_done(::CreateEventW(nullptr, FALSE, FALSE, (L"Global\\" + m_name + L"-done").c_str())) {
        wchar_t program[MAX_PATH] = {};
        ::GetModuleFileNameW(nullptr, program, MAX_PATH);
        const std::wstring path = program;
        const std::wstring command = L"\"" + path.substr(0, path.rfind(L'\\')) + L"\\service.exe\" " + steps;
        m_service.Reset(::CreateServiceW(m_manager.Get(), m_name.c_str(), nullptr, SERVICE_ALL_ACCESS,
                                         SERVICE_WIN32_OWN_PROCESS, SERVICE_DEMAND_START, SERVICE_ERROR_NORMAL,
                                         command.c_str(), nullptr, nullptr, nullptr, nullptr, nullptr));
        REQUIRE(m_service);
    }
    ~TestService() {
        ::SetEvent(m_step.Get());
        Await(SERVICE_STOPPED);
        ::DeleteService(m_service.Get());
    }

    void Start() const {
        REQUIRE(::StartServiceW(m_service.Get(), 0, nullptr));
        REQUIRE(Await(SERVICE_RUNNING));
    }
    void Step() const {
        ::SetEvent(m_step.Get());
        ::WaitForSingleObject(m_done.Get(), kLimit);
    }
    DWORD State() const {
        SERVICE_STATUS status = {};
        ::QueryServiceStatus(m_service.Get(), &status);
        return status.dwCurrentState;
    }
    const std::wstring& Name() const { return m_name; }

private:
    bool Await(DWORD state) const {
        for (DWORD waited = 0; waited < kLimit && State() != state; waited += 10) {
            ::Sleep(10);
        }
        return State() == state;
    }

    static std::wstring NewName() {
        static int count = 0;
        return L"prodrm-test-" + std::to_wstring(::GetCurrentProcessId()) + L"-" + std::to_wstring(++count);
    }

    std::wstring m_name = NewName();
    OwnedHandle m_step;
    OwnedHandle m_done;
    OwnedServiceHandle m_manager{::OpenSCManagerW(nullptr, nullptr, SC_MANAGER_ALL_ACCESS)};
    OwnedServiceHandle m_service;
};

// In place of each pause the service takes its next step, so that no outcome hangs on the machine's speed.
const TestService* g_stepped = nullptr;
std::vector<DWORD> g_pauses;
void WINAPI StepInsteadOfSleep(DWORD milliseconds) {
    g_pauses.push_back(milliseconds);
    g_stepped->Step();
}

SC_HANDLE WINAPI NoManager(const wchar_t*, const wchar_t*, DWORD) {
    return nullptr;
}

HKEY g_serviceKey = nullptr;
LSTATUS WINAPI RefusedValue(HKEY key, const wchar_t*, DWORD, DWORD, const BYTE*, DWORD) {
    g_serviceKey = key;
    return ERROR_ACCESS_DENIED;
}

LSTATUS WINAPI RefusedToWriters(HKEY, const wchar_t*, DWORD, REGSAM access, HKEY* key) {
    *key = nullptr;
    return (access & KEY_SET_VALUE) != 0 ? ERROR_ACCESS_DENIED : ERROR_SUCCESS;
}

constexpr const wchar_t* kServices = L"HKEY_LOCAL_MACHINE\\SYSTEM\\CurrentControlSet\\Services\\";

}  // namespace

TEST_CASE("a service is waited for while it changes state or counts on") {
    struct Row {
        const char* what;
        const wchar_t* steps;
        OperationResult result;
        std::size_t pauses;
        DWORD stateAfter;
    };
    const Row rows[] = {
        {"stops at once", L"1:0", _ERROR_SUCCESS, 0, SERVICE_STOPPED},
        {"rises", L"3:1 3:2 3:9 1:0", _ERROR_SUCCESS, 3, SERVICE_STOPPED},
        {"stands still", L"3:1 3:1 1:0", _ERROR_FAILED, 1, SERVICE_STOP_PENDING},
        {"stands still later", L"3:1 3:2 3:2 1:0", _ERROR_FAILED, 2, SERVICE_STOP_PENDING},
        {"falls back", L"3:5 3:4 1:0", _ERROR_FAILED, 1, SERVICE_STOP_PENDING},
        {"counts anew in another state", L"3:5 6:2 6:3 3:1 1:0", _ERROR_SUCCESS, 4, SERVICE_STOPPED},
    };
    for (const Row& row : rows) {
        CAPTURE(row.what);
        const TestService service(row.steps);
        service.Start();
        g_stepped = &service;
        g_pauses.clear();
        {
            const ImportPatch sleep("Sleep", &StepInsteadOfSleep);
            CHECK(StopService(service.Name()) == row.result);
        }
        CHECK(g_pauses == std::vector<DWORD>(row.pauses, 40));  // the program's wait hint
        CHECK(service.State() == row.stateAfter);
    }
}

TEST_CASE("DisableService sets the start type through the registry alone") {
    const RecordedLog log;
    const TestService service(L"1:0");
    const std::wstring key = kServices + service.Name();
    {
        const ImportPatch manager("OpenSCManagerW", &NoManager);
        CHECK(StopService(service.Name()) == _ERROR_FAILED);
        CHECK(COperations().DisableService(service.Name()) == _ERROR_SUCCESS);
    }
    DWORD start = 0;
    DWORD size = sizeof start;
    CHECK(::RegGetValueW(HKEY_LOCAL_MACHINE, (L"SYSTEM\\CurrentControlSet\\Services\\" + service.Name()).c_str(),
                         L"Start", RRF_RT_REG_DWORD, nullptr, &start, &size) == ERROR_SUCCESS);
    CHECK(start == SERVICE_DISABLED);
    CHECK(log.Lines().empty());

    const ImportPatch value("RegSetValueExW", &RefusedValue);
    CHECK(COperations().DisableService(service.Name()) == _ERROR_FAILED);
    CHECK(log.Has(kError, L"COperations::DisableService", L"RegSetValueEx \"" + key + L"\" Start failed 0x5"));
    CHECK(::RegCloseKey(g_serviceKey) == ERROR_SUCCESS);  // it was left open
}

TEST_CASE("CheckService asks whether the service's key opens for writing") {
    const RecordedLog log;
    const TestService service(L"1:0");
    CHECK(COperations().CheckService(service.Name()) == _ERROR_SUCCESS);
    CHECK(log.Lines().empty());
    {
        const ImportPatch open("RegOpenKeyExW", &RefusedToWriters);
        CHECK(COperations().CheckService(service.Name()) == _ERROR_NOT_FOUND);
    }
    CHECK(COperations().CheckService(L"no such") == _ERROR_NOT_FOUND);
    CHECK(COperations().DisableService(L"no such") == _ERROR_NOT_FOUND);
    const std::wstring refused = L"RegOpenKeyEx \"" + (kServices + service.Name()) + L"\" failed 0x5";
    const std::wstring missing = std::wstring(L"RegOpenKeyEx \"") + kServices + L"no such\" failed 0x2";
    CHECK(log.Lines() == std::vector<LogLine>{{kError, L"COperations::CheckService", refused},
                                              {kError, L"COperations::CheckService", missing},
                                              {kError, L"COperations::DisableService", missing}});
}
