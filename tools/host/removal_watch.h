#pragma once

#include <prodrm.h>

#include <array>
#include <iterator>

#include "foundation/owned.h"
#include "library.h"
#include "removal_view.h"

namespace tools::host {

struct OperationCounts {
    unsigned succeeded = 0;
    unsigned failed = 0;
};

using RemovalCounts = std::array<OperationCounts, std::size(kOperationNames)>;

// Follows the removals of its scope: hears the library's notifications, and reads the progress value from a second
// thread. One at a time.
class RemovalWatch {
public:
    RemovalWatch(RemovalView& view, decltype(&::GetProgressPercent) progress);
    ~RemovalWatch();
    RemovalWatch(const RemovalWatch&) = delete;
    RemovalWatch& operator=(const RemovalWatch&) = delete;

    // To be handed to the library.
    static void __cdecl Notify(LONG event, LONG result, LONG_PTR value) noexcept;

    // How often each row of kOperationNames ended well or not; read between calls of the library.
    const RemovalCounts& Counts() const { return m_counts; }

private:
    static DWORD WINAPI ThreadMain(void* watch) noexcept;
    void Hear(LONG event, LONG result, LONG_PTR value);
    void ShowProgress() noexcept;

    static RemovalWatch* s_current;

    RemovalView& m_view;
    decltype(&::GetProgressPercent) m_progress;
    RemovalCounts m_counts = {};
    bool m_isOpen = false;         // a product has begun
    CRITICAL_SECTION m_lock = {};  // over m_view and m_isOpen
    OwnedHandle m_stop;
    OwnedHandle m_thread;
};

}  // namespace tools::host
