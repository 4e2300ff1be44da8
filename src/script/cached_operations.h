#pragma once

#include <compare>
#include <string>
#include <vector>

#include "script/OperationAttributes.h"

// What the walk of a script leaves to the execution.

struct DelRegKeyDataOp {
    std::wstring keyPath;
    std::vector<std::wstring> dataStrings;
    bool completeStr = false;
    bool x32view = false;

    bool operator==(const DelRegKeyDataOp&) const = default;
};

struct DelRegOp {
    std::wstring keyPath;
    std::wstring valueName;  // empty for a key
    bool x32view = false;
    bool isValue = false;
};

struct ExecToolOp {
    std::wstring commandLine;
    bool wait = false;
    bool showWindow = false;
    bool disableWow64Redir = false;

    auto operator<=>(const ExecToolOp&) const = default;
};

struct DeferredOp {
    OperationAttributes attributes;
    std::wstring text;  // the application path of a library method, the name of a service

    bool operator==(const DeferredOp&) const = default;
};

struct DelShortcutOp {
    std::wstring path;
    std::wstring target;
    bool targetIsWholePath = false;
};

// One list for each kind of record, in the order of the script.
struct CachedOperations {
    std::vector<std::wstring> delFiles;
    std::vector<std::wstring> delFolders;
    std::vector<std::wstring> killProcesses;
    std::vector<std::wstring> disableDrivers;
    std::vector<DelRegKeyDataOp> delRegKeyData;
    std::vector<DelRegOp> delReg;
    std::vector<ExecToolOp> execTools;
    std::vector<DeferredOp> execDllMethods;
    std::vector<DeferredOp> disableAndStopDrivers;
    std::vector<DelShortcutOp> delShortcuts;

    // Sorts the lists and drops from each what another entry does as well. Tools keep their order, shortcuts are left
    // alone.
    void SortAndThin();
};

// True if `upper` is `path` itself or a folder or key above it.
bool Covers(const std::wstring& upper, const std::wstring& path);
