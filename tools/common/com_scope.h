#pragma once

#include <windows.h>
#include <objbase.h>

namespace tools {

// COM on this thread, in an apartment of its own, for a scope.
class ComScope {
public:
    ComScope() : m_initialised(SUCCEEDED(::CoInitialize(nullptr))) {}
    ~ComScope() {
        if (m_initialised) {
            ::CoUninitialize();
        }
    }
    ComScope(const ComScope&) = delete;
    ComScope& operator=(const ComScope&) = delete;

private:
    bool m_initialised;
};

}  // namespace tools
