#include <windows.h>

#include <memory>
#include <new>
#include <string>

#include "../../include/log.h"
#include "log_writer.h"

namespace tools::logwriter {

namespace {

// Storage without a destructor of its own. When a process ends, modules are detached in an order that may take this one
// before its users, which still call in from their own detaching; so the writer is destroyed by FreeLibrary alone.
alignas(LogWriter) unsigned char g_storage[sizeof(LogWriter)];

LogWriter& Writer() {
    return *std::launder(reinterpret_cast<LogWriter*>(g_storage));
}

// What every entry point owes its caller: no exception leaves it, and the last error stays, since a line often stands
// between a failed call and the use of its error.
template <typename Body>
HRESULT Guarded(Body body) noexcept {
    const DWORD error = ::GetLastError();
    HRESULT result = E_FAIL;
    try {
        result = body(Writer());
    } catch (const Failure& failure) {
        result = failure.result;
    } catch (const std::bad_alloc&) {
        result = E_OUTOFMEMORY;
    } catch (...) {
        result = E_FAIL;
    }
    ::SetLastError(error);
    return result;
}

template <typename Value>
HRESULT Set(Value Settings::*field, const Value& value) noexcept {
    return Guarded(
        [&](LogWriter& writer) { return writer.ChangeSettings([&](Settings& settings) { settings.*field = value; }); });
}

std::wstring FullPathOrEmpty(const wchar_t* path) {
    return path == nullptr || *path == L'\0' ? std::wstring() : FullPath(path);
}

HMODULE ModuleOfCode(void* address) {
    HMODULE module = nullptr;
    ::GetModuleHandleExW(GET_MODULE_HANDLE_EX_FLAG_FROM_ADDRESS | GET_MODULE_HANDLE_EX_FLAG_UNCHANGED_REFCOUNT,
                         static_cast<const wchar_t*>(address), &module);
    return module;
}

HRESULT TrackEvent(void* caller, const wchar_t* name, const wchar_t* data) noexcept {
    if (name == nullptr || data == nullptr) {
        return E_INVALIDARG;
    }
    return Guarded([&](LogWriter& writer) { return writer.TrackEvent(ModuleOfCode(caller), name, data); });
}

}  // namespace

}  // namespace tools::logwriter

using namespace tools::logwriter;

extern "C" {

HRESULT __cdecl LogInit() {
    return Guarded([](LogWriter& writer) { return writer.Init(); });
}

HRESULT __cdecl LogDeinit() {
    return Guarded([](LogWriter& writer) { return writer.Deinit(); });
}

HRESULT __cdecl LogWrite(DWORD, DWORD* level, HMODULE module, const wchar_t* function, const wchar_t* format,
                         va_list arguments) {
    if (level == nullptr || format == nullptr) {
        return E_INVALIDARG;
    }
    return Guarded([&](LogWriter& writer) {
        return writer.Write(*level, module, function == nullptr ? L"" : function, format, arguments);
    });
}

HRESULT __cdecl LogTrackEvent(const wchar_t* name) {
    return TrackEvent(__builtin_return_address(0), name, L"");
}

HRESULT __cdecl LogTrackEventData(const wchar_t* name, const wchar_t* data) {
    return TrackEvent(__builtin_return_address(0), name, data);
}

HRESULT __cdecl LogUninitDeskMetrics() {
    return Guarded([](LogWriter& writer) { return writer.EndEventTracking(); });
}

HRESULT __cdecl LogRemoveModule(const char* name) {
    return name == nullptr ? E_INVALIDARG : Guarded([&](LogWriter& writer) { return writer.RemoveModule(name); });
}

HRESULT __cdecl LogEnable(BOOL enable) {
    return Set(&Settings::enabled, DWORD{enable ? 1U : 0U});
}

BOOL __cdecl LogIsEnabled() {
    return Guarded([](LogWriter& writer) { return writer.IsEnabled() ? S_OK : S_FALSE; }) == S_OK;
}

HRESULT __cdecl LogSetLevel(DWORD level) {
    return Set(&Settings::level, level);
}

DWORD __cdecl LogGetLevel() {
    DWORD level = 0;
    Guarded([&level](LogWriter& writer) {
        level = writer.Level();
        return S_OK;
    });
    return level;
}

HRESULT __cdecl LogSetPath(const wchar_t* path) {
    return Guarded([path](LogWriter& writer) {
        const std::wstring full = FullPathOrEmpty(path);
        return writer.ChangeSettings([&full](Settings& settings) { settings.path = full; });
    });
}

HRESULT __cdecl LogSetType(DWORD type) {
    return Set(&Settings::type, type);
}

HRESULT __cdecl LogSetMode(DWORD mode) {
    return Set(&Settings::mode, mode);
}

HRESULT __cdecl LogSetMaxSize(DWORD bytes) {
    return Set(&Settings::maxSize, bytes);
}

HRESULT __cdecl LogSetDepth(DWORD files) {
    return Set(&Settings::depth, files);
}

HRESULT __cdecl LogSetSettingsFile(const wchar_t* path) {
    return Guarded([path](LogWriter& writer) { return writer.SetSettingsFile(FullPathOrEmpty(path)); });
}

HRESULT __cdecl LogApplySettings() {
    return Guarded([](LogWriter& writer) { return writer.ApplySettings(); });
}

HRESULT __cdecl LogMonitorSettings(BOOL monitor) {
    return Guarded([monitor](LogWriter& writer) { return writer.MonitorSettings(monitor != FALSE); });
}

BOOL WINAPI DllMain(HINSTANCE self, DWORD reason, void* processEnds) {
    if (reason == DLL_PROCESS_ATTACH) {
        try {
            new (g_storage) LogWriter(self);
        } catch (const std::bad_alloc&) {
            return FALSE;
        }
    } else if (reason == DLL_PROCESS_DETACH && processEnds == nullptr) {
        std::destroy_at(&Writer());
    }
    return TRUE;
}

}  // extern "C"
