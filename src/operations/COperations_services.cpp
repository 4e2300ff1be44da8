#include <windows.h>

#include "foundation/CSplitKeyPath.h"
#include "foundation/log_statement.h"
#include "foundation/owned.h"
#include "foundation/registry_access.h"
#include "operations/COperations.h"

namespace {

const HKEY kServicesHive = HKEY_LOCAL_MACHINE;

std::wstring ServiceKey(const std::wstring& name) {
    return L"SYSTEM\\CurrentControlSet\\Services\\" + name;
}

// Null on failure, which is logged.
OwnedRegKey OpenServiceKey(const wchar_t* caller, const std::wstring& key) {
    OwnedRegKey opened;
    const LSTATUS status = ::RegOpenKeyExW(kServicesHive, key.c_str(), 0, kFullAccessDefaultView, opened.Put());
    if (status == ERROR_SUCCESS) {
        return opened;
    }
    if (const wchar_t* const hive = HiveName(kServicesHive); hive != nullptr) {
        LOG_AS(caller, kError, L"RegOpenKeyEx \"%s\\%s\" failed 0x%x", hive, key.c_str(), status);
    } else {
        LOG_AS(caller, kError, L"RegOpenKeyEx \"%s\" failed 0x%x", key.c_str(), status);
    }
    return {};
}

}  // namespace

OperationResult COperations::DisableService(const std::wstring& name) const {
    constexpr const wchar_t* kStartValue = L"Start";
    constexpr DWORD kStart = SERVICE_DISABLED;
    const std::wstring keyPath = ServiceKey(name);
    OwnedRegKey key = OpenServiceKey(CALLER, keyPath);
    if (!key) {
        return _ERROR_NOT_FOUND;
    }
    const LSTATUS status =
        ::RegSetValueExW(key.Get(), kStartValue, 0, REG_DWORD, reinterpret_cast<const BYTE*>(&kStart), sizeof kStart);
    if (status == ERROR_SUCCESS) {
        return _ERROR_SUCCESS;
    }
    if (const wchar_t* const hive = HiveName(kServicesHive); hive != nullptr) {
        LOG(kError, L"RegSetValueEx \"%s\\%s\" %s failed 0x%x", hive, keyPath.c_str(), kStartValue, status);
    } else {
        LOG(kError, L"RegOpenKeyEx \"%s %s\" failed 0x%x", keyPath.c_str(), kStartValue, status);
    }
    // The key of a service that cannot be disabled stays open.
    key.LeaveOpen();
    return _ERROR_FAILED;
}

// Opens for writing as well: a service that this process may not change counts as missing.
OperationResult COperations::CheckService(const std::wstring& name) const {
    return OpenServiceKey(CALLER, ServiceKey(name)) ? _ERROR_SUCCESS : _ERROR_NOT_FOUND;
}
