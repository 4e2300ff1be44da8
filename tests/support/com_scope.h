#pragma once

#include <windows.h>
#include <objbase.h>

// COM on the test's thread for a scope.
class ComScope {
public:
    ComScope() { ::CoInitialize(nullptr); }
    ~ComScope() { ::CoUninitialize(); }
    ComScope(const ComScope&) = delete;
    ComScope& operator=(const ComScope&) = delete;
};
