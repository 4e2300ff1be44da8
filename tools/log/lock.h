#pragma once

#include <windows.h>

namespace tools::logwriter {

// Carries a result out to the entry point that returns it.
struct Failure {
    HRESULT result;
};

// Code that holds the lock must not call what takes the loader's lock (module names, loading): another thread may log
// from its DllMain, holding that one and waiting for this.
class Lock {
public:
    Lock() : m_isEnding(BindIsEnding()) { ::InitializeCriticalSection(&m_section); }
    ~Lock() { ::DeleteCriticalSection(&m_section); }
    Lock(const Lock&) = delete;
    Lock& operator=(const Lock&) = delete;

private:
    friend class Guard;
    using IsEndingFunction = BOOLEAN(__stdcall*)();

    static IsEndingFunction BindIsEnding() {
        const FARPROC found = ::GetProcAddress(::GetModuleHandleW(L"ntdll.dll"), "RtlDllShutdownInProgress");
        return reinterpret_cast<IsEndingFunction>(reinterpret_cast<void*>(found));
    }

    // The end of a process kills the other threads first: a lock that is taken then is never given back.
    void Enter() {
        if (::TryEnterCriticalSection(&m_section)) {
            return;
        }
        if (m_isEnding != nullptr && m_isEnding()) {
            throw Failure{HRESULT_FROM_WIN32(ERROR_SHUTDOWN_IN_PROGRESS)};
        }
        ::EnterCriticalSection(&m_section);
    }

    CRITICAL_SECTION m_section;
    const IsEndingFunction m_isEnding;
};

class Guard {
public:
    explicit Guard(Lock& lock) : m_lock(lock) { m_lock.Enter(); }
    ~Guard() { ::LeaveCriticalSection(&m_lock.m_section); }
    Guard(const Guard&) = delete;
    Guard& operator=(const Guard&) = delete;

private:
    Lock& m_lock;
};

}  // namespace tools::logwriter
