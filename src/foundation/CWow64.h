#pragma once

#include <windows.h>

#include "foundation/owned.h"

// Tells whether this 32-bit process runs on a 64-bit system and holds the calls that switch file-system redirection.
// One object for the process, made by the first Instance and destroyed when the module goes.
class CWow64 {
public:
    using IsWow64ProcessFunction = BOOL(WINAPI*)(HANDLE process, BOOL* result);
    using DisableFunction = BOOL(WINAPI*)(void** cookie);
    using RevertFunction = BOOL(WINAPI*)(void* cookie);
    using GetNativeSystemInfoFunction = void(WINAPI*)(SYSTEM_INFO* info);

    static CWow64& Instance();

    CWow64();
    ~CWow64();
    CWow64(const CWow64&) = delete;
    CWow64& operator=(const CWow64&) = delete;

    // Asked of the system once; the answer is kept.
    bool IsWow64Process();

    // Switches redirection back with the cookie that switching it off gave. True also where the call is missing.
    bool Revert(void* cookie) const;

    bool Is64BitSystem() const;

    // Null off WOW64: there is nothing to switch. There is no wrapper for this side.
    DisableFunction Wow64DisableWow64FsRedirection() const { return m_disable; }

private:
    enum class State : DWORD { Native = 0, Wow64 = 1, NotAsked = 2 };

    State m_state = State::NotAsked;
    OwnedModule m_kernel32;
    IsWow64ProcessFunction m_isWow64Process = nullptr;
    DisableFunction m_disable = nullptr;
    RevertFunction m_revert = nullptr;
    GetNativeSystemInfoFunction m_getNativeSystemInfo = nullptr;
};

// Switches file-system redirection off for a scope and back to the state it found. Failures are logged in the caller's
// name at the warning level and otherwise ignored; a system without the calls is passed over in silence.
class Wow64Redirection {
public:
    explicit Wow64Redirection(const wchar_t* caller);
    ~Wow64Redirection() { Revert(); }
    Wow64Redirection(const Wow64Redirection&) = delete;
    Wow64Redirection& operator=(const Wow64Redirection&) = delete;

    // Ends the scope early, for log lines that come after the switch. Keeps the thread's last error.
    void Revert();

private:
    const wchar_t* m_caller;
    void* m_cookie = nullptr;
    bool m_reverted = false;
};
