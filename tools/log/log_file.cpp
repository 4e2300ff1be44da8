#include "log_file.h"

namespace tools::logwriter {

namespace {

constexpr DWORD kShareAll = FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE;
constexpr DWORD kPause = 1000;  // milliseconds between two tries or checks
constexpr unsigned kLinesBetweenSizes = 64;

bool HasPassed(DWORD since) {
    return ::GetTickCount() - since >= kPause;
}

}  // namespace

void LogFile::SetTarget(const std::wstring& path) {
    *this = LogFile();
    m_path = path;
    m_turn = FileTurn(path);
}

HRESULT LogFile::Prepare(bool startNew) {
    if (m_handle && HasPassed(m_checkedAt)) {
        Recheck();
    } else if (m_handle && m_linesSinceSize >= kLinesBetweenSizes) {
        TakeSize();
    }
    if (m_handle) {
        return S_OK;
    }
    if (FAILED(m_failure) && !HasPassed(m_failedAt)) {
        return m_failure;
    }
    return Open(m_isFirstOpening && startNew ? CREATE_ALWAYS : OPEN_ALWAYS);
}

HRESULT LogFile::Open(DWORD disposition) {
    // Without the right to write elsewhere, every write goes to the end, wherever other processes have moved it.
    m_handle.Reset(::CreateFileW(m_path.c_str(), FILE_APPEND_DATA | FILE_READ_ATTRIBUTES | SYNCHRONIZE, kShareAll,
                                 nullptr, disposition, FILE_ATTRIBUTE_NORMAL, nullptr));
    if (!m_handle) {
        return Fail(::GetLastError());
    }
    m_isFirstOpening = false;
    m_failure = S_OK;
    m_handOnFailed = false;
    TakeSize();
    m_checkedAt = ::GetTickCount();
    return S_OK;
}

HRESULT LogFile::Fail(DWORD error) {
    m_handle.Reset();
    m_failure = HRESULT_FROM_WIN32(error);
    m_failedAt = ::GetTickCount();
    return m_failure;
}

// Whether the path still names the open file.
bool LogFile::HoldsTarget() const {
    const OwnedFileHandle named(::CreateFileW(m_path.c_str(), FILE_READ_ATTRIBUTES, kShareAll, nullptr, OPEN_EXISTING,
                                              FILE_ATTRIBUTE_NORMAL, nullptr));
    BY_HANDLE_FILE_INFORMATION held = {};
    BY_HANDLE_FILE_INFORMATION found = {};
    return named && ::GetFileInformationByHandle(m_handle.Get(), &held) &&
           ::GetFileInformationByHandle(named.Get(), &found) &&
           held.dwVolumeSerialNumber == found.dwVolumeSerialNumber && held.nFileIndexHigh == found.nFileIndexHigh &&
           held.nFileIndexLow == found.nFileIndexLow;
}

// Lets go of a file that was handed on or deleted by others.
void LogFile::Recheck() {
    if (HoldsTarget()) {
        TakeSize();
        m_checkedAt = ::GetTickCount();
    } else {
        m_handle.Reset();
    }
}

// Other processes add to the size as well.
void LogFile::TakeSize() {
    LARGE_INTEGER size = {};
    ::GetFileSizeEx(m_handle.Get(), &size);
    m_size = static_cast<ULONGLONG>(size.QuadPart);
    m_linesSinceSize = 0;
}

HRESULT LogFile::Append(std::string_view line, DWORD maxSize, DWORD depth) {
    const FileTurn::Scope scope(m_turn);
    if (maxSize != 0 && m_size != 0 && m_size + line.size() > maxSize) {
        HandOn(line.size(), maxSize, depth);
    }
    if (m_torn && m_handle && SUCCEEDED(WriteWhole("\r\n"))) {
        m_torn = false;
    }
    return m_handle ? WriteWhole(line) : m_failure;
}

void LogFile::HandOn(std::size_t needed, DWORD maxSize, DWORD depth) {
    if (m_handOnFailed && !HasPassed(m_handOnFailedAt)) {
        return;
    }
    // Another process may have handed it on already.
    Recheck();
    const bool stillFull = m_handle && m_size + needed > maxSize;
    if (stillFull && depth != 0 && !ShiftFiles(depth)) {
        m_handOnFailed = true;
        m_handOnFailedAt = ::GetTickCount();
    } else if (stillFull || !m_handle) {
        m_handle.Reset();
        Open(stillFull && depth == 0 ? CREATE_ALWAYS : OPEN_ALWAYS);
    }
}

// From the oldest on; a file that cannot be moved stops it before anything would be overwritten.
bool LogFile::ShiftFiles(DWORD depth) const {
    const auto numbered = [this](DWORD number) {
        return number == 0 ? m_path : m_path + L'.' + std::to_wstring(number);
    };
    for (DWORD number = depth; number > 0; --number) {
        if (!::MoveFileExW(numbered(number - 1).c_str(), numbered(number).c_str(), MOVEFILE_REPLACE_EXISTING) &&
            (number == 1 || ::GetLastError() != ERROR_FILE_NOT_FOUND)) {
            return false;
        }
    }
    return true;
}

HRESULT LogFile::WriteWhole(std::string_view bytes) {
    const DWORD size = static_cast<DWORD>(bytes.size());
    DWORD written = 0;
    const bool done = ::WriteFile(m_handle.Get(), bytes.data(), size, &written, nullptr) != FALSE;
    if (done && written == size) {
        m_size += written;
        ++m_linesSinceSize;
        return S_OK;
    }
    const DWORD error = done ? ERROR_DISK_FULL : ::GetLastError();
    m_torn = m_torn || written != 0;
    return Fail(error);
}

void LogFile::Flush() {
    if (m_handle) {
        ::FlushFileBuffers(m_handle.Get());
    }
}

}  // namespace tools::logwriter
