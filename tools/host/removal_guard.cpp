#include "removal_guard.h"

#include <windows.h>

#include "common/failure.h"
#include "common/output.h"

namespace tools::host {

namespace {

constexpr wchar_t kMutexName[] = L"Global\\prodrm-removal";

BOOL WINAPI RefuseBreak(DWORD event) noexcept {
    if (event != CTRL_C_EVENT && event != CTRL_BREAK_EVENT) {
        return FALSE;
    }
    Output(STD_ERROR_HANDLE).WriteLine(L"\nprodrm: a removal is not broken off half-way; please wait");
    return TRUE;
}

}  // namespace

SingleRemoval::SingleRemoval() : m_mutex(::CreateMutexW(nullptr, FALSE, kMutexName)) {
    const DWORD error = ::GetLastError();
    // Another user's mutex cannot be opened: it is there all the same.
    if (!m_mutex && error != ERROR_ACCESS_DENIED) {
        throw Failure(ERROR_INSTALL_FAILURE, L"the mutex of removals cannot be created");
    }
    const DWORD wait = m_mutex ? ::WaitForSingleObject(m_mutex.Get(), 0) : WAIT_TIMEOUT;
    if (wait != WAIT_OBJECT_0 && wait != WAIT_ABANDONED) {
        throw Failure(ERROR_INSTALL_ALREADY_RUNNING, L"another removal is running");
    }
}

SingleRemoval::~SingleRemoval() {
    ::ReleaseMutex(m_mutex.Get());
}

BreakRefusal::BreakRefusal() {
    ::SetConsoleCtrlHandler(&RefuseBreak, TRUE);
}

BreakRefusal::~BreakRefusal() {
    ::SetConsoleCtrlHandler(&RefuseBreak, FALSE);
}

}  // namespace tools::host
