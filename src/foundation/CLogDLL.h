#pragma once

#include <windows.h>

#include <atomic>
#include <cstdarg>

namespace logging {

// The six arguments of a log statement: a reserved word (0), the level, the module that logs, the caller as
// Class::Method, a wide printf format and its arguments.
using LogWriteFunction = HRESULT(__cdecl*)(DWORD reserved, DWORD* level, HMODULE module, const wchar_t* function,
                                           const wchar_t* format, va_list arguments);

// Facade of the optional module log.dll: finds it, binds its entry points and stands in for a missing writer.
// One object for the process, made and destroyed by reference count.
class CLogDLL {
public:
    // Takes a reference and gives the object, made now if no reference was held.
    static CLogDLL* AddReference();

    // The same, for a program that hears the statements itself: an object made now hands them to `writer` and loads
    // nothing.
    static CLogDLL* AddReference(LogWriteFunction writer);

    // Gives one reference back. The last one destroys the object and unloads log.dll.
    static void Release();

    // The release of a process that is ending. A thread that the system ended in the middle of making or dropping the
    // object is not waited for: the object is left as it stands, and no statement comes through any more.
    static void ReleaseAtProcessEnd();

    // The gate of the log statement. Read without the lock: two reads and a branch.
    static bool IsOpen() {
        return s_strongCount.load(std::memory_order_relaxed) + s_weakCount.load(std::memory_order_relaxed) != 0;
    }

    HRESULT Write(DWORD level, const wchar_t* function, const wchar_t* format, va_list arguments) const;

    CLogDLL(const CLogDLL&) = delete;
    CLogDLL& operator=(const CLogDLL&) = delete;
    ~CLogDLL();

private:
    explicit CLogDLL(LogWriteFunction writer);
    void Load();
    void BindEntryPoints();

    struct EntryPoint;
    static const EntryPoint kEntryPoints[];

    static bool Unreferenced() { return s_strongCount == 0 && s_weakCount == 0; }
    static void ReleaseHeld();  // with the word held

    inline static std::atomic<long> s_strongCount{0};  // references taken by AddReference
    inline static std::atomic<long> s_weakCount{0};    // read by the gate, reset by a release, raised by nothing here

    HMODULE m_module = nullptr;
    FARPROC m_LogApplySettings = nullptr;
    FARPROC m_LogSetSettingsFile = nullptr;
    FARPROC m_LogEnable = nullptr;
    FARPROC m_LogSetLevel = nullptr;
    FARPROC m_LogSetPath = nullptr;
    FARPROC m_LogSetType = nullptr;
    FARPROC m_LogSetMode = nullptr;
    FARPROC m_LogSetMaxSize = nullptr;
    FARPROC m_LogSetDepth = nullptr;
    FARPROC m_LogWrite = nullptr;  // never null once constructed: the fallback writer stands in
    FARPROC m_LogIsEnabled = nullptr;
    FARPROC m_LogMonitorSettings = nullptr;
    FARPROC m_LogUninitDeskMetrics = nullptr;
    FARPROC m_LogTrackEvent = nullptr;
    FARPROC m_LogTrackEventData = nullptr;
    FARPROC m_LogRemoveModule = nullptr;
    FARPROC m_LogGetLevel = nullptr;
};

// A log statement's hold on the logger; gives back as many references as it took.
class LogReference {
public:
    LogReference();
    ~LogReference();
    LogReference(const LogReference&) = delete;
    LogReference& operator=(const LogReference&) = delete;

    CLogDLL* Logger() const { return m_logger; }

private:
    void Take();

    CLogDLL* m_logger = nullptr;
    volatile LONG m_count = 0;
};

// The body of a log statement behind the gate: takes a reference, writes one line, gives the reference back.
void WriteStatement(const wchar_t* caller, DWORD level, const wchar_t* format, ...);

}  // namespace logging
