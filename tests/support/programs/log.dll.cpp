// Stand-in for log.dll that keeps every statement and every call in memory.

#include <windows.h>

#include <cstdarg>
#include <deque>
#include <string>

#include "support/log_recorder.h"

namespace {

struct Line {
    DWORD level;
    std::wstring function;
    std::wstring text;
};

CRITICAL_SECTION g_lock;
std::deque<Line> g_lines;

void Append(DWORD level, const wchar_t* function, std::wstring text) {
    ::EnterCriticalSection(&g_lock);
    g_lines.push_back({level, function, std::move(text)});
    ::LeaveCriticalSection(&g_lock);
}

}  // namespace

extern "C" {

void __cdecl LogInit() {
    Append(0, L"LogInit", {});
}

void __cdecl LogDeinit() {
    Append(0, L"LogDeinit", {});
}

void __cdecl LogUninitDeskMetrics() {
    Append(0, L"LogUninitDeskMetrics", {});
}

void __cdecl LogRemoveModule(const char* name) {
    Append(0, L"LogRemoveModule", std::wstring(name, name + ::lstrlenA(name)));
}

HRESULT __cdecl LogWrite(DWORD reserved, DWORD* level, HMODULE module, const wchar_t* function, const wchar_t* format,
                         va_list arguments) {
    const DWORD error = ::GetLastError();
    if (reserved != 0 || module == nullptr) {
        Append(0, L"LogWrite", L"bad arguments");
        return E_INVALIDARG;
    }
    std::wstring text(1024, L'\0');
    int length = -1;
    while ((length = ::_vsnwprintf(text.data(), text.size(), format, arguments)) < 0) {
        text.resize(text.size() * 2);
    }
    text.resize(static_cast<std::size_t>(length));
    Append(*level, function, std::move(text));
    ::SetLastError(error);
    return S_OK;
}

void __cdecl RecorderClear() {
    ::EnterCriticalSection(&g_lock);
    g_lines.clear();
    ::LeaveCriticalSection(&g_lock);
}

ULONG __cdecl RecorderCount() {
    return static_cast<ULONG>(g_lines.size());
}

void __cdecl RecorderLine(ULONG index, RecordedLineView* view) {
    const Line& line = g_lines[index];
    *view = {line.level, line.function.c_str(), line.text.c_str()};
}

BOOL WINAPI DllMain(HINSTANCE, DWORD reason, void*) {
    if (reason == DLL_PROCESS_ATTACH) {
        ::InitializeCriticalSection(&g_lock);
    }
    return TRUE;
}

}  // extern "C"
