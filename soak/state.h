#pragma once

#include <windows.h>

#include <map>
#include <memory>
#include <set>
#include <string>

// State of the whole machine, taken by native calls and by rules of this program's own, so that it can judge what the
// library and its tools say: all entries of drive C with attributes, sizes and times, and all keys and values of the
// registry below the machine and the users. Files bear their whole path; a key its real path in lower case, which is
// another one for each view; a value the path of its key, two backslashes and its name in lower case.

struct FileFacts {
    ULONG attributes = 0;
    LONGLONG size = 0;
    LONGLONG written = 0;
    LONGLONG read = 0;     // of files; a folder is read by the walk itself
    LONGLONG changed = 0;  // moves with attributes and content, and nobody can set it

    bool IsFolder() const { return (attributes & FILE_ATTRIBUTE_DIRECTORY) != 0; }
    bool IsLink() const { return (attributes & FILE_ATTRIBUTE_REPARSE_POINT) != 0; }
};

using Values = std::map<std::wstring, std::string>;  // by name in lower case: type and data

struct KeyFacts {
    LONGLONG written = 0;
    std::shared_ptr<const Values> values;
};

struct MachineState {
    std::map<std::wstring, FileFacts> files;
    std::map<std::wstring, KeyFacts> keys;
};

// Which part of the machine is walked. Near leaves out the system's own lists of classes, time zones and the like, most
// of a registry, and takes them over from the earlier state.
enum class Reach { Near, Whole };

// The values of keys that were not written since `earlier` are taken over from there.
MachineState TakeState(const MachineState& earlier, Reach reach);

// Registry's own path of a key as the walk names it; empty if it cannot be opened. `view` is 32, 64 or 0.
std::wstring RealKeyPath(const std::wstring& path, int view);
std::wstring ValuePlace(const std::wstring& keyPlace, const std::wstring& name);

// How a thing that stands in both states differs.
enum Change : unsigned { kAttributes = 1, kSize = 2, kWritten = 4, kTouched = 8, kData = 16, kRead = 32 };

struct Difference {
    std::set<std::wstring> gone;
    std::set<std::wstring> fresh;
    std::map<std::wstring, unsigned> changed;
};

Difference Compare(const MachineState& before, const MachineState& after);
