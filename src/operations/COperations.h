#pragma once

#include <windows.h>

#include <string>
#include <vector>

#include "foundation/result.h"
#include "operations/IUsed.h"
#include "operations/RestartList.h"

// The primitives that act on the machine. A deleting primitive asks `used` (null spares nothing) just before each
// deletion, and puts what it cannot delete on the restart list. Every primitive that touches the file system switches
// WOW64 redirection off around its calls. None throws, stops at a bad entry or tries anything twice.
class COperations {
public:
    // `restartDel` is not owned and may be null: then nothing is noted for the restart.
    explicit COperations(RestartList* restartDel = nullptr) : m_restartDel(restartDel) {}

    void AddRestartDel(const std::wstring& path);

    // `usedFlag`, where given, tells whether something was kept because it is in use.
    OperationResult DelFile(const std::wstring& path, IUsed* used, bool* usedFlag = nullptr);
    // Success also when the folder itself had to stay.
    OperationResult DelFolder(const std::wstring& path, IUsed* used);
    // Any existing path satisfies CheckFile, a folder included.
    OperationResult CheckFile(const std::wstring& path) const;
    OperationResult CheckFolder(const std::wstring& path) const;
    // Appends; `path` itself stands in `folders` even if it is no folder. Resets the folder's attributes.
    OperationResult ExpandFolder(const std::wstring& path, std::vector<std::wstring>& folders,
                                 std::vector<std::wstring>& files) const;

    // Shortcuts below `path` that point at `target`: at the whole target path, or else at its file name and extension.
    // A `path` that is no folder is acted on itself, unread. The result is that of the last thing looked at.
    OperationResult DelShortcut(const std::wstring& path, const std::wstring& target, bool targetIsWholePath,
                                IUsed* used);
    OperationResult CheckShortcut(const std::wstring& path, const std::wstring& target, bool targetIsWholePath) const;
    OperationResult ExpandShortcut(const std::wstring& path, const std::wstring& target, bool targetIsWholePath,
                                   std::vector<std::wstring>& files) const;

    // Ends every process of the image name. Answers _ERROR_NOT_FOUND or _ERROR_FAILED, never _ERROR_SUCCESS.
    OperationResult KillProcess(const std::wstring& imageName) const;
    // Starts a tool and, with `wait`, waits up to five minutes. Its exit code is not read.
    OperationResult ExecTool(const std::wstring& commandLine, bool wait, bool showWindow) const;
    // Calls an exported function without arguments; its 32-bit result is only logged.
    OperationResult ExecDllMethod(const std::wstring& library, const std::wstring& method) const;

    // Sets the service's start type to disabled. Any failure to open its key is _ERROR_NOT_FOUND.
    OperationResult DisableService(const std::wstring& name) const;
    OperationResult CheckService(const std::wstring& name) const;

protected:
    // What a shortcut must point at to be acted on.
    struct ShortcutTarget {
        const std::wstring& text;
        bool isWholePath;
    };

    // By its name alone.
    static bool IsShortcut(const wchar_t* name);
    static bool PointsAt(const wchar_t* caller, const std::wstring& link, const ShortcutTarget& target);

private:
    void AddRestartDelText(const wchar_t* path) { AddRestartDel(path); }
    OperationResult DelFolderRec(const std::wstring& path, IUsed* used, bool& usedFlag);
    OperationResult ExpandFolderRec(const std::wstring& path, std::vector<std::wstring>& folders,
                                    std::vector<std::wstring>& files) const;

    OperationResult DelShortcutRec(const std::wstring& path, const ShortcutTarget& target, IUsed* used);
    OperationResult CheckShortcutRec(const std::wstring& path, const ShortcutTarget& target) const;
    OperationResult ExpandShortcutRec(const std::wstring& path, const ShortcutTarget& target,
                                      std::vector<std::wstring>& files) const;
    // The walk of the three, which logs as `caller`. `actOnPath` answers the result for a `path` that is no folder;
    // `actOnLink` acts on a matching link and may change the result so far.
    template <typename ActOnPath, typename ActOnLink>
    static OperationResult WalkShortcuts(const wchar_t* caller, const std::wstring& path, const ShortcutTarget& target,
                                         const ActOnPath& actOnPath, const ActOnLink& actOnLink);
    // Answers the last COM result. `target` is empty where the link was not read.
    static HRESULT GetLinkInfo(const std::wstring& path, wchar_t (&target)[MAX_PATH]);

    bool KillProcess_(DWORD processId) const;

    RestartList* m_restartDel;
};
