#include "foundation/CLogDLL.h"

#include <atomic>
#include <cstdlib>
#include <cwchar>
#include <iterator>
#include <memory>

#include "foundation/module.h"
#include "foundation/spin_lock.h"

namespace logging {

namespace {

using PlainFunction = void(__cdecl*)();
using RemoveModuleFunction = void(__cdecl*)(const char* name);

constexpr DWORD kModulePathChars = 0x104;

std::unique_ptr<CLogDLL> g_instance;
bool g_exitHandlerRegistered = false;
std::atomic<long> g_spinWord{0};

HRESULT __cdecl FallbackWrite(DWORD, DWORD*, HMODULE, const wchar_t*, const wchar_t*, va_list) {
    return E_NOINTERFACE;
}

void __cdecl NothingAtExit() {}

void CallIfFound(HMODULE module, const char* name) {
    if (const auto function = EntryPointCast<PlainFunction>(::GetProcAddress(module, name))) {
        function();
    }
}

}  // namespace

struct CLogDLL::EntryPoint {
    const char* name;
    FARPROC CLogDLL::*field;
};

// In the order of binding.
// clang-format off
constexpr CLogDLL::EntryPoint CLogDLL::kEntryPoints[] = {
    {"LogApplySettings",     &CLogDLL::m_LogApplySettings},
    {"LogSetSettingsFile",   &CLogDLL::m_LogSetSettingsFile},
    {"LogEnable",            &CLogDLL::m_LogEnable},
    {"LogSetLevel",          &CLogDLL::m_LogSetLevel},
    {"LogSetPath",           &CLogDLL::m_LogSetPath},
    {"LogSetType",           &CLogDLL::m_LogSetType},
    {"LogSetMode",           &CLogDLL::m_LogSetMode},
    {"LogSetMaxSize",        &CLogDLL::m_LogSetMaxSize},
    {"LogSetDepth",          &CLogDLL::m_LogSetDepth},
    {"LogWrite",             &CLogDLL::m_LogWrite},
    {"LogIsEnabled",         &CLogDLL::m_LogIsEnabled},
    {"LogMonitorSettings",   &CLogDLL::m_LogMonitorSettings},
    {"LogGetLevel",          &CLogDLL::m_LogGetLevel},
    {"LogUninitDeskMetrics", &CLogDLL::m_LogUninitDeskMetrics},
    {"LogTrackEvent",        &CLogDLL::m_LogTrackEvent},
    {"LogTrackEventData",    &CLogDLL::m_LogTrackEventData},
    {"LogRemoveModule",      &CLogDLL::m_LogRemoveModule},
};
// clang-format on

CLogDLL::CLogDLL(LogWriteFunction writer) {
    if (writer != nullptr) {
        m_LogWrite = reinterpret_cast<FARPROC>(reinterpret_cast<void*>(writer));
        return;
    }
    Load();
    if (m_module != nullptr) {
        CallIfFound(m_module, "LogInit");
        BindEntryPoints();
    }
    if (m_LogWrite == nullptr) {
        m_LogWrite = reinterpret_cast<FARPROC>(reinterpret_cast<void*>(&FallbackWrite));
    }
}

void CLogDLL::Load() {
    m_module = ::LoadLibraryW(L"log.dll");
    if (m_module != nullptr) {
        return;
    }
    constexpr wchar_t kFileName[] = L"\\log.dll";
    wchar_t path[kModulePathChars + std::size(kFileName)] = {};
    ::GetModuleFileNameW(OwnModule(), path, kModulePathChars);
    if (wchar_t* const separator = std::wcsrchr(path, L'\\')) {
        std::wmemcpy(separator, kFileName, std::size(kFileName));
        m_module = ::LoadLibraryW(path);
    }
}

void CLogDLL::BindEntryPoints() {
    for (const EntryPoint& entryPoint : kEntryPoints) {
        this->*entryPoint.field = ::GetProcAddress(m_module, entryPoint.name);
    }
}

CLogDLL::~CLogDLL() {
    if (m_module == nullptr) {
        return;
    }
    CallIfFound(m_module, "LogDeinit");
    if (m_LogUninitDeskMetrics != nullptr) {
        EntryPointCast<PlainFunction>(m_LogUninitDeskMetrics)();
    }
    if (m_LogRemoveModule != nullptr) {
        EntryPointCast<RemoveModuleFunction>(m_LogRemoveModule)("logging::CLogDLL::~CLogDLL");
    }
    ::FreeLibrary(m_module);
}

HRESULT CLogDLL::Write(DWORD level, const wchar_t* function, const wchar_t* format, va_list arguments) const {
    return EntryPointCast<LogWriteFunction>(m_LogWrite)(0, &level, OwnModule(), function, format, arguments);
}

CLogDLL* CLogDLL::AddReference() {
    return AddReference(nullptr);
}

CLogDLL* CLogDLL::AddReference(LogWriteFunction writer) {
    const SpinLock lock(g_spinWord);
    if (Unreferenced()) {
        g_instance.reset();
        g_instance.reset(new CLogDLL(writer));
        if (!g_exitHandlerRegistered) {
            g_exitHandlerRegistered = true;
            std::atexit(&NothingAtExit);
        }
    }
    ++s_strongCount;
    return g_instance.get();
}

void CLogDLL::Release() {
    const SpinLock lock(g_spinWord);
    ReleaseHeld();
}

void CLogDLL::ReleaseAtProcessEnd() {
    if (g_spinWord.exchange(1) == 0) {
        ReleaseHeld();
    }
    // What a thread held when the system ended it stays as it stands: a lock of log.dll may be among it.
    s_strongCount = 0;
    s_weakCount = 0;
    (void)g_instance.release();
    g_spinWord = 0;
}

void CLogDLL::ReleaseHeld() {
    if (s_strongCount > 0) {
        --s_strongCount;
    } else if (s_weakCount > 0) {
        s_weakCount = 0;
    }
    if (Unreferenced()) {
        g_instance.reset();
    }
}

LogReference::LogReference() {
    Take();
    if (m_logger == nullptr) {
        Take();
    }
}

LogReference::~LogReference() {
    while (m_count > 0) {
        ::InterlockedDecrement(&m_count);
        CLogDLL::Release();
    }
}

void LogReference::Take() {
    m_logger = CLogDLL::AddReference();
    ::InterlockedIncrement(&m_count);
}

void WriteStatement(const wchar_t* caller, DWORD level, const wchar_t* format, ...) {
    const LogReference reference;
    va_list arguments;
    va_start(arguments, format);
    reference.Logger()->Write(level, caller, format, arguments);
    va_end(arguments);
}

}  // namespace logging
