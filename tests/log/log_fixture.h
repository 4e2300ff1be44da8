#pragma once

#include <windows.h>

#include <cstdarg>
#include <string>
#include <vector>

#include "../../include/log.h"
#include "support/temp_folder.h"

// Full path of the built product's log.dll.
std::wstring BuiltLogDll();

// A log.dll, loaded for a scope.
class LogDll {
public:
    explicit LogDll(const std::wstring& path = BuiltLogDll());
    ~LogDll() { Unload(); }
    LogDll(const LogDll&) = delete;
    LogDll& operator=(const LogDll&) = delete;

    HMODULE Handle() const { return m_module; }
    void Unload();

    // One line with the module of this program and the function "Test::Body".
    HRESULT Write(DWORD level, const wchar_t* format, ...) const;

#define ENTRY_POINT(name) decltype(&::name) name = Bind<decltype(&::name)>(#name)
    HMODULE m_module;
    ENTRY_POINT(LogInit);
    ENTRY_POINT(LogDeinit);
    ENTRY_POINT(LogApplySettings);
    ENTRY_POINT(LogSetSettingsFile);
    ENTRY_POINT(LogEnable);
    ENTRY_POINT(LogSetLevel);
    ENTRY_POINT(LogSetPath);
    ENTRY_POINT(LogSetType);
    ENTRY_POINT(LogSetMode);
    ENTRY_POINT(LogSetMaxSize);
    ENTRY_POINT(LogSetDepth);
    ENTRY_POINT(LogWrite);
    ENTRY_POINT(LogIsEnabled);
    ENTRY_POINT(LogMonitorSettings);
    ENTRY_POINT(LogGetLevel);
    ENTRY_POINT(LogUninitDeskMetrics);
    ENTRY_POINT(LogTrackEvent);
    ENTRY_POINT(LogTrackEventData);
    ENTRY_POINT(LogRemoveModule);
#undef ENTRY_POINT

private:
    template <typename Function>
    Function Bind(const char* name) const {
        return reinterpret_cast<Function>(reinterpret_cast<void*>(BindAny(name)));
    }
    FARPROC BindAny(const char* name) const;
};

std::string ReadBytes(const std::wstring& path);

struct Line {
    std::string time, thread, level, module, function, text;
};

// All lines of a log file. Fails the test unless each is whole: six fields, a line break at the end.
std::vector<Line> ReadLog(const std::wstring& path);

// The texts of those lines that the log has not written on its own account, joined by "|".
std::string Texts(const std::wstring& path);

// Whether nobody has the file open.
bool IsClosed(const std::wstring& path);

// A held log that writes to the file "log.txt" of an own folder.
struct OpenLog {
    OpenLog();
    TempFolder folder;
    std::wstring path = folder.Path(L"log.txt");
    LogDll log;
};

// Repeats `step` until it is true, for five seconds at most.
template <typename Step>
bool Eventually(Step step) {
    for (const DWORD start = ::GetTickCount(); ::GetTickCount() - start < 5000; ::Sleep(20)) {
        if (step()) {
            return true;
        }
    }
    return false;
}
