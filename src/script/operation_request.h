#pragma once

#include <string>
#include <vector>

#include "foundation/log_statement.h"
#include "script/OperationAttributes.h"

// What an operation element asks for. One reader per operation turns attributes into a request; detection checks it,
// the use scan expands it, the removal stores it. A reader that cannot make its request logs in the caller's name and
// answers false.

using PathText = logging::LogFormat<const wchar_t*>;

struct FileRequest {
    std::wstring path;
    bool atRestart = false;  // the name bore the mark: deletion at restart only
};

struct ShortcutRequest {
    std::wstring path;
    std::wstring target;
    bool targetIsWholePath = false;
};

struct RegKeyRequest {
    std::wstring keyPath;
    bool x32view = false;
    bool search = false;  // the key is searched for dataStrings instead of being taken as it stands
    std::vector<std::wstring> dataStrings;
    bool completeStr = false;
};

struct RegValueRequest {
    std::wstring keyPath;
    std::wstring valueName;
    bool x32view = false;
};

// What becomes of the text behind the last ";" of data_str.
enum class LastPiece { Kept, Dropped };

bool ReadFileRequest(const wchar_t* caller, const OperationAttributes& attributes, const std::wstring& appPath,
                     FileRequest& request);
bool ReadFolderRequest(const wchar_t* caller, const OperationAttributes& attributes, const std::wstring& appPath,
                       std::wstring& path);
bool ReadShortcutRequest(const wchar_t* caller, const OperationAttributes& attributes, const std::wstring& appPath,
                         ShortcutRequest& request);
bool ReadRegKeyRequest(const wchar_t* caller, const OperationAttributes& attributes, LastPiece lastPiece,
                       RegKeyRequest& request);
// `unknownFolder` is the caller's text for an unknown rel_name.
bool ReadRegValueRequest(const wchar_t* caller, const OperationAttributes& attributes, const std::wstring& appPath,
                         const PathText& unknownFolder, RegValueRequest& request);

// Full path of a tool or library: the folder `path` names, joined with the attribute `fileAttribute`, environment
// strings expanded, a relative path taken from the library's own folder. Without the library's folder false, with no
// line of its own.
bool ReadToolPath(const wchar_t* caller, const OperationAttributes& attributes, const std::wstring& appPath,
                  const wchar_t* fileAttribute, std::wstring& path);

// Of a library call: the module, made a path as above, and the method. Either missing is logged.
bool RequireModule(const wchar_t* caller, const OperationAttributes& attributes);
const std::wstring* RequireMethodName(const wchar_t* caller, const OperationAttributes& attributes);

// The service or driver name; null if absent, logged with the caller's text.
const std::wstring* RequireDriverName(const wchar_t* caller, const OperationAttributes& attributes,
                                      const logging::LogFormat<>& missing);
