#include "access_time.h"

namespace preview {

namespace {

OwnedFileHandle Open(const std::wstring& path, DWORD access) {
    return OwnedFileHandle(::CreateFileW(path.c_str(), access, FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE,
                                         nullptr, OPEN_EXISTING, FILE_FLAG_BACKUP_SEMANTICS, nullptr));
}

}  // namespace

FileIdentity IdentityOf(const std::wstring& path) {
    const OwnedFileHandle file = Open(path, FILE_READ_ATTRIBUTES);
    BY_HANDLE_FILE_INFORMATION information = {};
    if (!file || !::GetFileInformationByHandle(file.Get(), &information)) {
        return {};
    }
    return {information.dwVolumeSerialNumber,
            (static_cast<ULONGLONG>(information.nFileIndexHigh) << 32) + information.nFileIndexLow};
}

AccessTimeKept::AccessTimeKept(const std::wstring& path, bool isLink) : m_path(path) {
    if (isLink) {
        m_target = Open(path, FILE_READ_ATTRIBUTES | FILE_WRITE_ATTRIBUTES);
    }
    m_known = Read(m_before);
}

bool AccessTimeKept::Read(FILETIME& time) const {
    if (m_target) {
        return ::GetFileTime(m_target.Get(), nullptr, &time, nullptr);
    }
    WIN32_FILE_ATTRIBUTE_DATA data = {};
    const bool known = ::GetFileAttributesExW(m_path.c_str(), GetFileExInfoStandard, &data);
    time = data.ftLastAccessTime;
    return known;
}

AccessTimeKept::~AccessTimeKept() {
    FILETIME after = {};
    if (!m_known || !Read(after) || ::CompareFileTime(&after, &m_before) == 0) {
        return;
    }
    const OwnedFileHandle file = m_target ? std::move(m_target) : Open(m_path, FILE_WRITE_ATTRIBUTES);
    if (file) {
        ::SetFileTime(file.Get(), nullptr, &m_before, nullptr);
    }
}

}  // namespace preview
