#include <windows.h>
#include <shlwapi.h>
#include <sys/stat.h>

#include <cerrno>

#include "foundation/CWow64.h"
#include "foundation/log_statement.h"
#include "operations/CForceDelFile.h"
#include "operations/COperations.h"
#include "operations/folder_entries.h"

namespace {

void ResetAttributes(const wchar_t* caller, const std::wstring& path) {
    if (!::SetFileAttributesW(path.c_str(), FILE_ATTRIBUTE_NORMAL)) {
        const DWORD error = ::GetLastError();
        LOG_AS(caller, kWarning, L"SetFileAttributes NORMAL failed 0x%x", error);
    }
}

// Where the path's status can be had, the answer is success exactly if its mode shows one of the bits `wanted`.
OperationResult CheckMode(const wchar_t* caller, const std::wstring& path, unsigned short wanted) {
    const Wow64Redirection redirection(caller);
    // The form that takes files of every size.
    struct _stat64 status = {};
    const int value = ::_wstat64(path.c_str(), &status);
    if (value == 0) {
        return (status.st_mode & wanted) != 0 ? _ERROR_SUCCESS : _ERROR_NOT_FOUND;
    }
    const int code = errno;
    if (code == ENOENT) {
        LOG_AS(caller, kError, L"\"%s\" 0x%x, ERROR_NOT_FOUND", path.c_str(), value);
        return _ERROR_NOT_FOUND;
    }
    LOG_AS(caller, kError, L"_tstat for \"%s\" failed 0x%x, errno=0x%x", path.c_str(), value, code);
    return _ERROR_FAILED;
}

}  // namespace

void COperations::AddRestartDel(const std::wstring& path) {
    if (m_restartDel != nullptr && m_restartDel->Add(path)) {
        LOG(kInfo, L"\"%s\"", path.c_str());
    }
}

OperationResult COperations::DelFile(const std::wstring& path, IUsed* used, bool* usedFlag) {
    LOG(kInfo, L"->\"%s\"", path.c_str());
    const bool inUse = used != nullptr && used->IsUsedFile(path);
    if (usedFlag != nullptr) {
        *usedFlag = inUse;
    }
    if (inUse) {
        LOG(kInfo, L"in use");
        return _ERROR_SUCCESS;
    }

    Wow64Redirection redirection(CALLER);
    ResetAttributes(CALLER, path);
    const BOOL deleted = ::DeleteFileW(path.c_str());
    const DWORD error = ::GetLastError();
    redirection.Revert();

    // A file whose name the system refuses is left to the restart, unlike a folder.
    if (!deleted && error != ERROR_INVALID_NAME && MeansMissing(error)) {
        LOG(kWarning, L"failed %s ERROR_FILE_NOT_FOUND", path.c_str());
        return _ERROR_NOT_FOUND;
    }
    if (!deleted) {
        // The native deletion runs only where its entry points did not bind; the file's fate rests on the restart.
        if (CForceDelFile::Init() != _ERROR_SUCCESS) {
            CForceDelFile::Delete(path);
        }
        LOG(kWarning, L"failed \"%s\"", path.c_str());
        AddRestartDelText(path.c_str());
    }
    return deleted == TRUE ? _ERROR_SUCCESS : _ERROR_FAILED;
}

OperationResult COperations::DelFolder(const std::wstring& path, IUsed* used) {
    LOG(kInfo, L"->\"%s\"", path.c_str());
    if (used != nullptr && used->IsUsedFolder(path)) {
        LOG(kInfo, L"in use");
        return _ERROR_SUCCESS;
    }
    const Wow64Redirection redirection(CALLER);
    ResetAttributes(CALLER, path);
    bool usedFlag = false;
    return DelFolderRec(path, used, usedFlag);
}

OperationResult COperations::DelFolderRec(const std::wstring& path, IUsed* used, bool& usedFlag) {
    LOG(kInfo, L"->\"%s\"", path.c_str());
    if (!::PathIsDirectoryW(path.c_str())) {
        LOG(kWarning, L"\"%s\" path isn't a directory", path.c_str());
        return _ERROR_NOT_FOUND;
    }
    if (used != nullptr && used->IsUsedFolder(path)) {
        usedFlag = true;
        LOG(kInfo, L"in use");
        return _ERROR_SUCCESS;
    }
    FolderEntries entries(CALLER, path);
    if (entries.Opened() != _ERROR_SUCCESS) {
        return entries.Opened();
    }
    usedFlag = false;
    while (entries.Next()) {
        bool childUsed = false;
        const OperationResult result = entries.IsFolder() ? DelFolderRec(entries.Path(), used, childUsed)
                                                          : DelFile(entries.Path(), used, &childUsed);
        if (result == _ERROR_SUCCESS) {
            usedFlag = usedFlag || childUsed;
        } else if (result != _ERROR_NOT_FOUND) {
            AddRestartDel(entries.Path());
        }
    }
    entries.Close();
    if (usedFlag) {
        return _ERROR_SUCCESS;
    }

    ResetAttributes(CALLER, path);
    if (!::RemoveDirectoryW(path.c_str())) {
        const DWORD error = ::GetLastError();
        LOG(kError, L"failed \"%s\". last error 0x%x", path.c_str(), error);
        if (!MeansMissing(error)) {
            AddRestartDelText(path.c_str());
        }
    }
    // Success also with the folder still there: what keeps it stands on the restart list.
    return _ERROR_SUCCESS;
}

OperationResult COperations::CheckFile(const std::wstring& path) const {
    // Any kind of entry counts, a folder as well.
    return CheckMode(CALLER, path, _S_IFMT);
}

OperationResult COperations::CheckFolder(const std::wstring& path) const {
    return CheckMode(CALLER, path, _S_IFDIR);
}

OperationResult COperations::ExpandFolder(const std::wstring& path, std::vector<std::wstring>& folders,
                                          std::vector<std::wstring>& files) const {
    LOG(kInfo, L"->\"%s\"", path.c_str());
    const Wow64Redirection redirection(CALLER);
    // Looking changes the folder's attributes, as deleting would.
    ResetAttributes(CALLER, path);
    return ExpandFolderRec(path, folders, files);
}

OperationResult COperations::ExpandFolderRec(const std::wstring& path, std::vector<std::wstring>& folders,
                                             std::vector<std::wstring>& files) const {
    LOG(kInfo, L"->\"%s\"", path.c_str());
    folders.push_back(path);
    if (!::PathIsDirectoryW(path.c_str())) {
        LOG(kWarning, L"\"%s\" path isn't a directory", path.c_str());
        return _ERROR_NOT_FOUND;
    }
    FolderEntries entries(CALLER, path);
    if (entries.Opened() != _ERROR_SUCCESS) {
        return entries.Opened();
    }
    while (entries.Next()) {
        if (!entries.IsFolder()) {
            files.push_back(entries.Path());
            continue;
        }
        const OperationResult result = ExpandFolderRec(entries.Path(), folders, files);
        if (result != _ERROR_SUCCESS) {
            LOG(kWarning, L"error %s expand folder \"%s\"", ResultName(result), entries.Path().c_str());
        }
    }
    return _ERROR_SUCCESS;
}
