#pragma once

#include <windows.h>

#include <string>
#include <string_view>

#include "file_turn.h"
#include "foundation/owned.h"

namespace tools::logwriter {

// The log file: kept open, appended to by one system call per line, handed on to FILE.1 ... FILE.n when it is full.
// Several processes may write to one file, one line at a time. What others add to the size is seen
// after 64 lines, and that they have handed the file on after a second, or at once when it is full.
// A file that cannot be opened or written is tried again after a second; calls in between fail at once.
class LogFile {
public:
    // Closes what is open; the next Prepare opens `path`.
    void SetTarget(const std::wstring& path);

    void Close() { m_handle.Reset(); }

    // Opens the file unless it is open. A file opened for the first time is emptied if `startNew`.
    HRESULT Prepare(bool startNew);

    // After Prepare. `maxSize` in bytes, 0 for no limit. A file that cannot be handed on now grows beyond the limit.
    HRESULT Append(std::string_view line, DWORD maxSize, DWORD depth);

    // Sends what was written to the disk.
    void Flush();

private:
    HRESULT Open(DWORD disposition);
    HRESULT Fail(DWORD error);
    bool HoldsTarget() const;
    void Recheck();
    void TakeSize();
    void HandOn(std::size_t needed, DWORD maxSize, DWORD depth);
    bool ShiftFiles(DWORD depth) const;
    HRESULT WriteWhole(std::string_view bytes);

    std::wstring m_path;
    FileTurn m_turn;
    OwnedFileHandle m_handle;
    bool m_isFirstOpening = true;
    bool m_torn = false;  // the last line was cut off by a failure
    ULONGLONG m_size = 0;
    unsigned m_linesSinceSize = 0;
    DWORD m_checkedAt = 0;
    HRESULT m_failure = S_OK;
    DWORD m_failedAt = 0;
    bool m_handOnFailed = false;
    DWORD m_handOnFailedAt = 0;
};

}  // namespace tools::logwriter
