#include "access_time.h"

namespace preview {

namespace {

constexpr DWORD kShareAll = FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE;

HANDLE Open(const std::wstring& path, DWORD access) {
    return ::CreateFileW(path.c_str(), access, kShareAll, nullptr, OPEN_EXISTING, FILE_FLAG_BACKUP_SEMANTICS, nullptr);
}

}  // namespace

AccessTimeKept::AccessTimeKept(const std::wstring& path)
    : m_file(Open(path, FILE_READ_ATTRIBUTES | FILE_WRITE_ATTRIBUTES)) {
    if (!m_file) {
        m_mayWrite = false;
        m_file.Reset(Open(path, FILE_READ_ATTRIBUTES));
    }
    if (m_file && !::GetFileInformationByHandle(m_file.Get(), &m_before)) {
        m_file.Reset();
    }
}

AccessTimeKept::~AccessTimeKept() {
    BY_HANDLE_FILE_INFORMATION after = {};
    if (m_mayWrite && m_file && ::GetFileInformationByHandle(m_file.Get(), &after) &&
        ::CompareFileTime(&after.ftLastAccessTime, &m_before.ftLastAccessTime) != 0) {
        ::SetFileTime(m_file.Get(), nullptr, &m_before.ftLastAccessTime, nullptr);
    }
}

FileIdentity AccessTimeKept::Identity() const {
    return {m_before.dwVolumeSerialNumber,
            (static_cast<ULONGLONG>(m_before.nFileIndexHigh) << 32) + m_before.nFileIndexLow};
}

}  // namespace preview
