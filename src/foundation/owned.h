#pragma once

#include <windows.h>

// Sole owner of one platform handle. Closing keeps the thread's last error, so that a handle may go out of scope
// between a failed call and the log line that reports it.
template <typename Traits>
class Owned {
public:
    using Value = typename Traits::Value;

    Owned() = default;
    explicit Owned(Value value) : m_value(value) {}
    Owned(Owned&& other) noexcept : m_value(other.Release()) {}
    Owned& operator=(Owned&& other) noexcept {
        Reset(other.Release());
        return *this;
    }
    Owned(const Owned&) = delete;
    Owned& operator=(const Owned&) = delete;
    ~Owned() { Reset(); }

    explicit operator bool() const { return m_value != Traits::Empty(); }
    Value Get() const { return m_value; }

    // Closes what is held and gives the address for an output argument.
    Value* Put() {
        Reset();
        return &m_value;
    }

    // Gives the handle up without closing it.
    Value Release() {
        const Value value = m_value;
        m_value = Traits::Empty();
        return value;
    }

    // Gives the handle up to the process, for a call that by contract leaves it open. docs/architecture.md lists them.
    void LeaveOpen() { Release(); }

    void Reset(Value value = Traits::Empty()) {
        const Value old = m_value;
        m_value = value;
        if (old != Traits::Empty()) {
            const DWORD error = ::GetLastError();
            Traits::Close(old);
            ::SetLastError(error);
        }
    }

private:
    Value m_value = Traits::Empty();
};

struct RegKeyTraits {
    using Value = HKEY;
    static Value Empty() { return nullptr; }
    static void Close(Value value) { ::RegCloseKey(value); }
};

struct HandleTraits {
    using Value = HANDLE;
    static Value Empty() { return nullptr; }
    static void Close(Value value) { ::CloseHandle(value); }
};

// For calls that answer INVALID_HANDLE_VALUE on failure.
struct FileHandleTraits {
    using Value = HANDLE;
    static Value Empty() { return INVALID_HANDLE_VALUE; }
    static void Close(Value value) { ::CloseHandle(value); }
};

struct FindHandleTraits {
    using Value = HANDLE;
    static Value Empty() { return INVALID_HANDLE_VALUE; }
    static void Close(Value value) { ::FindClose(value); }
};

struct ServiceHandleTraits {
    using Value = SC_HANDLE;
    static Value Empty() { return nullptr; }
    static void Close(Value value) { ::CloseServiceHandle(value); }
};

struct ModuleTraits {
    using Value = HMODULE;
    static Value Empty() { return nullptr; }
    static void Close(Value value) { ::FreeLibrary(value); }
};

using OwnedRegKey = Owned<RegKeyTraits>;
using OwnedHandle = Owned<HandleTraits>;
using OwnedFileHandle = Owned<FileHandleTraits>;
using OwnedFindHandle = Owned<FindHandleTraits>;
using OwnedServiceHandle = Owned<ServiceHandleTraits>;
using OwnedModule = Owned<ModuleTraits>;
