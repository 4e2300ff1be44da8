#include "file_turn.h"

#include <cwctype>

namespace tools::logwriter {

namespace {

// Milliseconds, far above what a turn takes. After that its owner counts as dead or stopped and loses it.
constexpr DWORD kLongestTurn = 500;

constexpr unsigned kTriesWithoutPause = 32;

LONG Self() {
    return static_cast<LONG>(::GetCurrentProcessId());
}

// The name must not hold a backslash: the path goes in as its FNV-1a hash.
std::wstring NameFor(const std::wstring& path) {
    ULONGLONG hash = 0xCBF29CE484222325;
    for (const wchar_t unit : path) {
        hash = (hash ^ std::towlower(unit)) * 0x100000001B3;
    }
    std::wstring name = L"Local\\prodrm-log-";
    for (int shift = 60; shift >= 0; shift -= 4) {
        name += L"0123456789abcdef"[hash >> shift & 0xF];
    }
    return name;
}

}  // namespace

FileTurn::FileTurn(const std::wstring& path)
    : m_section(
          ::CreateFileMappingW(INVALID_HANDLE_VALUE, nullptr, PAGE_READWRITE, 0, sizeof(LONG), NameFor(path).c_str())),
      m_view(m_section ? ::MapViewOfFile(m_section.Get(), FILE_MAP_WRITE, 0, 0, sizeof(LONG)) : nullptr) {}

FileTurn::Scope::Scope(FileTurn& turn) : m_owner(static_cast<LONG volatile*>(turn.m_view.Get())) {
    if (m_owner == nullptr) {
        return;
    }
    const DWORD start = ::GetTickCount();
    for (unsigned tries = 0;; ++tries) {
        const bool isOverdue = ::GetTickCount() - start >= kLongestTurn;
        const LONG owner = isOverdue ? *m_owner : 0;
        if (::InterlockedCompareExchange(m_owner, Self(), owner) == owner) {
            return;
        }
        ::Sleep(tries < kTriesWithoutPause ? 0 : 1);
    }
}

FileTurn::Scope::~Scope() {
    if (m_owner != nullptr) {
        // Leaves the turn alone if it was taken away.
        ::InterlockedCompareExchange(m_owner, 0, Self());
    }
}

}  // namespace tools::logwriter
