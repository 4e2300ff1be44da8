#include "kept_file.h"

#include <windows.h>

#include <algorithm>

#include "common/failure.h"

namespace tools::host {

KeptFile::KeptFile(const std::wstring& path) {
    wchar_t full[MAX_PATH] = {};
    const DWORD length = ::GetFullPathNameW(path.c_str(), MAX_PATH, full, nullptr);
    m_path = length != 0 && length < MAX_PATH ? full : path;
    m_file.Reset(::CreateFileW(m_path.c_str(), GENERIC_WRITE, FILE_SHARE_READ, nullptr, OPEN_ALWAYS,
                               FILE_ATTRIBUTE_NORMAL, nullptr));
    m_isNew = m_file && ::GetLastError() != ERROR_ALREADY_EXISTS;
    if (!m_file) {
        throw SystemFailure(L"cannot write", m_path);
    }
}

KeptFile::~KeptFile() {
    m_file.Reset();
    if (m_isNew) {
        ::DeleteFileW(m_path.c_str());
    }
}

void KeptFile::Write(std::string_view bytes) {
    constexpr std::size_t kMost = 1 << 20;
    m_isNew = false;
    bool written = ::SetFilePointer(m_file.Get(), 0, nullptr, FILE_BEGIN) == 0;
    for (std::size_t at = 0; written && at < bytes.size();) {
        DWORD count = 0;
        written = ::WriteFile(m_file.Get(), bytes.data() + at, static_cast<DWORD>(std::min(kMost, bytes.size() - at)),
                              &count, nullptr) != FALSE;
        at += count;
    }
    if (!written || !::SetEndOfFile(m_file.Get()) || !::FlushFileBuffers(m_file.Get())) {
        throw SystemFailure(L"cannot write", m_path);
    }
}

}  // namespace tools::host
