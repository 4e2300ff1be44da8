#include "foundation/CWow64.h"

#include <atomic>
#include <optional>

#include "foundation/log_statement.h"
#include "foundation/module.h"
#include "foundation/spin_lock.h"

namespace {

std::atomic<bool> g_stands{false};
std::atomic<long> g_spinWord{0};
std::optional<CWow64> g_instance;

}  // namespace

CWow64& CWow64::Instance() {
    if (!g_stands.load(std::memory_order_acquire)) {
        const SpinLock lock(g_spinWord);
        if (!g_stands) {
            g_instance.emplace();
            g_stands.store(true, std::memory_order_release);
        }
    }
    return *g_instance;
}

CWow64::CWow64() : m_kernel32(::LoadLibraryW(L"Kernel32.dll")) {
    if (!m_kernel32) {
        return;
    }
    const HMODULE kernel32 = m_kernel32.Get();
    m_isWow64Process = EntryPointCast<IsWow64ProcessFunction>(::GetProcAddress(kernel32, "IsWow64Process"));
    if (!IsWow64Process()) {
        return;
    }
    m_disable = EntryPointCast<DisableFunction>(::GetProcAddress(kernel32, "Wow64DisableWow64FsRedirection"));
    m_revert = EntryPointCast<RevertFunction>(::GetProcAddress(kernel32, "Wow64RevertWow64FsRedirection"));
    m_getNativeSystemInfo =
        EntryPointCast<GetNativeSystemInfoFunction>(::GetProcAddress(kernel32, "GetNativeSystemInfo"));
}

CWow64::~CWow64() {
    g_stands = false;
}

bool CWow64::IsWow64Process() {
    if (m_state != State::NotAsked) {
        return m_state == State::Wow64;
    }
    m_state = State::Native;
    if (m_isWow64Process == nullptr) {
        return false;
    }
    BOOL wow64 = FALSE;
    if (!m_isWow64Process(::GetCurrentProcess(), &wow64)) {
        const DWORD error = ::GetLastError();
        LOG(kError, L"IsWow64Process failed error 0x%x", error);
        return false;
    }
    m_state = wow64 ? State::Wow64 : State::Native;
    return m_state == State::Wow64;
}

bool CWow64::Revert(void* cookie) const {
    return m_revert == nullptr || m_revert(cookie);
}

bool CWow64::Is64BitSystem() const {
    SYSTEM_INFO info = {};
    if (m_getNativeSystemInfo != nullptr) {
        m_getNativeSystemInfo(&info);
    } else {
        ::GetSystemInfo(&info);
    }
    return info.wProcessorArchitecture == PROCESSOR_ARCHITECTURE_IA64 ||
           info.wProcessorArchitecture == PROCESSOR_ARCHITECTURE_AMD64;
}

Wow64Redirection::Wow64Redirection(const wchar_t* caller) : m_caller(caller) {
    const CWow64::DisableFunction disable = CWow64::Instance().Wow64DisableWow64FsRedirection();
    if (disable != nullptr && !disable(&m_cookie)) {
        const DWORD error = ::GetLastError();
        LOG_AS(m_caller, kWarning, L"Wow64DisableWow64FsRedirection failed 0x%x", error);
        // Nothing was switched: to revert would end a scope around this one.
        m_reverted = true;
    }
}

void Wow64Redirection::Revert() {
    if (m_reverted) {
        return;
    }
    m_reverted = true;
    const DWORD kept = ::GetLastError();
    if (!CWow64::Instance().Revert(m_cookie)) {
        const DWORD error = ::GetLastError();
        LOG_AS(m_caller, kWarning, L"Wow64RevertWow64FsRedirection failed 0x%x", error);
    }
    ::SetLastError(kept);
}
