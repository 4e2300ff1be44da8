#pragma once

#include <windows.h>

namespace tools {

// Holds a critical section for a scope.
class Locked {
public:
    explicit Locked(CRITICAL_SECTION& section) : m_section(section) { ::EnterCriticalSection(&m_section); }
    ~Locked() { ::LeaveCriticalSection(&m_section); }
    Locked(const Locked&) = delete;
    Locked& operator=(const Locked&) = delete;

private:
    CRITICAL_SECTION& m_section;
};

}  // namespace tools
