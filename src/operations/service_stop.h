#pragma once

#include <windows.h>

#include <string>

#include "foundation/result.h"

// Both answer _ERROR_SUCCESS once the service has stopped and _ERROR_FAILED otherwise, give no reason and write no log.

// Stops a service or driver and waits until it has stopped. One that is not running counts as stopped.
OperationResult StopService(const std::wstring& name);

// Waits at the pace of the service's own hints, for as long as its check point rises; there is no limit of time.
// `service` is open for queries; `status` holds the last one.
OperationResult WaitForServiceStop(SC_HANDLE service, SERVICE_STATUS& status);
