#include "removal_watch.h"

#include <algorithm>
#include <cstddef>
#include <exception>
#include <string>

#include "common/failure.h"
#include "common/locked.h"
#include "common/text.h"

namespace tools::host {

namespace {

constexpr DWORD kInterval = 100;  // milliseconds between two looks at the progress value

}  // namespace

RemovalWatch* RemovalWatch::s_current = nullptr;

RemovalWatch::RemovalWatch(RemovalView& view, decltype(&::GetProgressPercent) progress)
    : m_view(view), m_progress(progress), m_stop(::CreateEventW(nullptr, TRUE, FALSE, nullptr)) {
    if (!m_stop) {
        throw Failure(ERROR_INSTALL_FAILURE, L"an event cannot be created");
    }
    ::InitializeCriticalSection(&m_lock);
    s_current = this;
    // Without the thread the progress shows with the notifications alone.
    m_thread.Reset(::CreateThread(nullptr, 0, &ThreadMain, this, 0, nullptr));
}

RemovalWatch::~RemovalWatch() {
    ::SetEvent(m_stop.Get());
    if (m_thread) {
        ::WaitForSingleObject(m_thread.Get(), INFINITE);
    }
    if (m_isOpen) {
        m_view.Progress(100);
    }
    m_view.Ends();
    s_current = nullptr;
    ::DeleteCriticalSection(&m_lock);
}

void __cdecl RemovalWatch::Notify(LONG event, LONG result, LONG_PTR value) noexcept {
    if (s_current == nullptr) {
        return;
    }
    try {
        s_current->Hear(event, result, value);
    } catch (const std::exception&) {
        // A lack of memory costs the picture; the removal goes on.
    }
}

void RemovalWatch::Hear(LONG event, LONG result, LONG_PTR value) {
    if (event == OPERATION_PRODUCT_BEGINS) {
        const std::wstring name = reinterpret_cast<const wchar_t*>(value);
        const Locked locked(m_lock);
        if (m_isOpen) {
            m_view.Progress(100);
        }
        m_isOpen = true;
        m_view.ProductBegins(name);
        return;
    }
    for (std::size_t row = 0; row < std::size(kOperationNames); ++row) {
        if (kOperationNames[row].kind != event) {
            continue;
        }
        const bool succeeded = result == NOTIFY_SUCCESS;
        ++(succeeded ? m_counts[row].succeeded : m_counts[row].failed);
        ShowProgress();
        const Locked locked(m_lock);
        m_view.OperationsEnded(kOperationNames[row], succeeded);
    }
}

// The value reaches and passes 100 before the end with services to stop or registry keys to search: 100 is what a
// product ends with.
void RemovalWatch::ShowProgress() noexcept {
    const Locked locked(m_lock);
    m_view.Progress(std::clamp(m_progress(), 0L, 99L));
}

DWORD WINAPI RemovalWatch::ThreadMain(void* watch) noexcept {
    auto& self = *static_cast<RemovalWatch*>(watch);
    while (::WaitForSingleObject(self.m_stop.Get(), kInterval) == WAIT_TIMEOUT) {
        self.ShowProgress();
    }
    return 0;
}

}  // namespace tools::host
