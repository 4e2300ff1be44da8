#pragma once

#include <windows.h>

#include <string>
#include <vector>

#include "../../include/log.h"
#include "foundation/module.h"
#include "foundation/owned.h"
#include "support/programs.h"
#include "support/temp_folder.h"

// A log.dll, loaded for a scope.
struct LogDll {
    explicit LogDll(const std::wstring& path = InProduct(L"log.dll")) : module(::LoadLibraryW(path.c_str())) {}

    // One line with the module of this program and the function "Test::Body".
    HRESULT Write(DWORD level, const wchar_t* format, ...) const;

#define ENTRY_POINT(name) \
    const decltype(&::name) name = EntryPointCast<decltype(&::name)>(::GetProcAddress(module.Get(), #name))
    OwnedModule module;
    ENTRY_POINT(LogInit);
    ENTRY_POINT(LogDeinit);
    ENTRY_POINT(LogApplySettings);
    ENTRY_POINT(LogSetSettingsFile);
    ENTRY_POINT(LogEnable);
    ENTRY_POINT(LogSetLevel);
    ENTRY_POINT(LogSetPath);
    ENTRY_POINT(LogSetMode);
    ENTRY_POINT(LogSetMaxSize);
    ENTRY_POINT(LogSetDepth);
    ENTRY_POINT(LogWrite);
    ENTRY_POINT(LogMonitorSettings);
    ENTRY_POINT(LogGetLevel);
    ENTRY_POINT(LogUninitDeskMetrics);
    ENTRY_POINT(LogTrackEvent);
    ENTRY_POINT(LogTrackEventData);
#undef ENTRY_POINT
};

struct Line {
    std::string time, thread, level, module, function, text;
};

// All lines of a log file. Fails the test unless each is whole: six fields, a line break at the end.
std::vector<Line> ReadLog(const std::wstring& path);

// The texts of those lines that the log has not written on its own account, joined by "|".
std::string Texts(const std::wstring& path);

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
