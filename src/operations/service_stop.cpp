#include "operations/service_stop.h"

#include "foundation/owned.h"

OperationResult StopService(const std::wstring& name) {
    const OwnedServiceHandle manager(::OpenSCManagerW(nullptr, nullptr, SC_MANAGER_CONNECT));
    if (!manager) {
        return _ERROR_FAILED;
    }
    const OwnedServiceHandle service(::OpenServiceW(manager.Get(), name.c_str(), SERVICE_STOP | SERVICE_QUERY_STATUS));
    if (!service) {
        return _ERROR_FAILED;
    }
    SERVICE_STATUS status = {};
    if (!::ControlService(service.Get(), SERVICE_CONTROL_STOP, &status) &&
        ::GetLastError() != ERROR_SERVICE_NOT_ACTIVE) {
        return _ERROR_FAILED;
    }
    return WaitForServiceStop(service.Get(), status);
}

OperationResult WaitForServiceStop(SC_HANDLE service, SERVICE_STATUS& status) {
    bool first = true;
    DWORD state = 0;
    DWORD checkPoint = 0;
    while (::QueryServiceStatus(service, &status)) {
        if (status.dwCurrentState == SERVICE_STOPPED) {
            return _ERROR_SUCCESS;
        }
        const bool sameState = !first && status.dwCurrentState == state;
        if (sameState && status.dwCheckPoint <= checkPoint) {
            return _ERROR_FAILED;
        }
        first = false;
        state = status.dwCurrentState;
        checkPoint = status.dwCheckPoint;
        ::Sleep(status.dwWaitHint);
    }
    return _ERROR_FAILED;
}
