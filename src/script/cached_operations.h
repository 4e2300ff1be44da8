#pragma once

#include <compare>
#include <string>
#include <tuple>
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

// The orders in which the lists are thinned.

inline bool BeforeInThinning(const DelRegOp& left, const DelRegOp& right) {
    return std::tie(left.x32view, left.keyPath, left.isValue) < std::tie(right.x32view, right.keyPath, right.isValue);
}

inline bool BeforeInThinning(const DelRegKeyDataOp& left, const DelRegKeyDataOp& right) {
    return std::tie(left.x32view, left.completeStr, left.keyPath) <
           std::tie(right.x32view, right.completeStr, right.keyPath);
}

inline bool BeforeInThinning(const DeferredOp& left, const DeferredOp& right) {
    return left.text < right.text;
}

// True if `upper` is `path` itself or a folder or key above it.
bool Covers(const std::wstring& upper, const std::wstring& path);
