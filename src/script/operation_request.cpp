#include "script/operation_request.h"

#include <windows.h>
#include <shlwapi.h>

#include "foundation/CSpecialFolder.h"
#include "foundation/path.h"
#include "script/vocabulary.h"

namespace {

constexpr std::wstring_view kRestartMark = L"#####";
constexpr DWORD kExpandedChars = 260;

bool ResolveFolder(const wchar_t* caller, const std::wstring& name, const std::wstring& appPath,
                   const PathText& unknown, std::wstring& folder) {
    if (CSpecialFolder(appPath.c_str()).Get(name, folder)) {
        return true;
    }
    LOG_AS(caller, kError, unknown, name.c_str());
    return false;
}

std::vector<std::wstring> SplitPieces(const std::wstring& text, LastPiece lastPiece) {
    std::vector<std::wstring> pieces;
    std::size_t begin = 0;
    for (std::size_t end = text.find(L';'); end != std::wstring::npos; end = text.find(L';', begin)) {
        pieces.push_back(text.substr(begin, end - begin));
        begin = end + 1;
    }
    if (lastPiece == LastPiece::Kept) {
        pieces.push_back(text.substr(begin));
    }
    return pieces;
}

void ExpandEnvironment(std::wstring& text) {
    wchar_t buffer[kExpandedChars] = {};
    const DWORD length = ::ExpandEnvironmentStringsW(text.c_str(), buffer, kExpandedChars);
    if (length >= 1 && length <= kExpandedChars) {
        text = buffer;
    }
}

}  // namespace

bool ReadFileRequest(const wchar_t* caller, const OperationAttributes& attributes, const std::wstring& appPath,
                     FileRequest& request) {
    const std::wstring* const name = attributes.Find(attribute::kName);
    const std::wstring* const folder = attributes.FindNonEmpty(attribute::kPath);
    if (name == nullptr || (name->empty() && folder == nullptr)) {
        LOG_AS(caller, kError, L"no name");
        return false;
    }
    if (folder == nullptr) {
        request.path = *name;
    } else {
        if (!ResolveFolder(caller, *folder, appPath, L"failed get path for \"%s\"", request.path)) {
            return false;
        }
        request.atRestart = name->starts_with(kRestartMark);
        PathJoin(request.path, request.atRestart ? name->substr(kRestartMark.size()) : *name);
    }
    PathCanonical(request.path);
    return true;
}

bool ReadFolderRequest(const wchar_t* caller, const OperationAttributes& attributes, const std::wstring& appPath,
                       std::wstring& path) {
    const std::wstring* const name = attributes.Find(attribute::kName);
    const std::wstring* const folder = attributes.FindNonEmpty(attribute::kPath);
    if (folder == nullptr && (name == nullptr || name->empty())) {
        LOG_AS(caller, kError, L"no name, no path");
        return false;
    }
    if (folder == nullptr) {
        path = *name;
    } else {
        if (!ResolveFolder(caller, *folder, appPath, L"failed get path for \"%s\"", path)) {
            return false;
        }
        if (name != nullptr) {
            PathJoin(path, *name);
        }
    }
    PathCanonical(path);
    return true;
}

bool ReadShortcutRequest(const wchar_t* caller, const OperationAttributes& attributes, const std::wstring& appPath,
                         ShortcutRequest& request) {
    const std::wstring* const path = attributes.Find(attribute::kPath);
    if (path == nullptr) {
        LOG_AS(caller, kError, L"no path");
        return false;
    }
    const std::wstring* const target = attributes.Find(attribute::kTargetName);
    if (target == nullptr) {
        LOG_AS(caller, kError, L"no target_name");
        return false;
    }
    constexpr PathText kUnknown = L"failed get path for \"%s\"";
    if (const std::wstring* const folder = attributes.FindNonEmpty(attribute::kRelShortcut)) {
        if (!ResolveFolder(caller, *folder, appPath, kUnknown, request.path)) {
            return false;
        }
        PathJoin(request.path, *path);
    } else {
        request.path = *path;
    }
    // Unlike the other folder names this one counts by its mere presence, an empty one included.
    if (const std::wstring* const folder = attributes.Find(attribute::kRelTarget)) {
        if (!ResolveFolder(caller, *folder, appPath, kUnknown, request.target)) {
            return false;
        }
        PathJoin(request.target, *target);
        request.targetIsWholePath = true;
    } else {
        request.target = *target;
    }
    return true;
}

bool ReadRegKeyRequest(const wchar_t* caller, const OperationAttributes& attributes, LastPiece lastPiece,
                       RegKeyRequest& request) {
    const std::wstring* const name = attributes.Find(attribute::kName);
    if (name == nullptr) {
        LOG_AS(caller, kError, L"failed no name");
        return false;
    }
    request.keyPath = *name;
    request.x32view = IsX32View(attributes.Find(attribute::kX32View));
    if (const std::wstring* const data = attributes.Find(attribute::kDataStr)) {
        request.search = true;
        request.dataStrings = SplitPieces(*data, lastPiece);
        request.completeStr = IsExactly(attributes.Find(attribute::kCompleteStr), L"yes");
    }
    return true;
}

bool ReadRegValueRequest(const wchar_t* caller, const OperationAttributes& attributes, const std::wstring& appPath,
                         const PathText& unknownFolder, RegValueRequest& request) {
    const std::wstring* const name = attributes.Find(attribute::kName);
    const std::wstring* const keyPath = attributes.Find(attribute::kKeyPath);
    if (name == nullptr) {
        LOG_AS(caller, kError, L"no key value name");
    }
    if (keyPath == nullptr) {
        LOG_AS(caller, kError, L"no key path");
    }
    if (name == nullptr || keyPath == nullptr) {
        return false;
    }
    request.keyPath = *keyPath;
    request.x32view = IsX32View(attributes.Find(attribute::kX32View));
    if (const std::wstring* const folder = attributes.FindNonEmpty(attribute::kRelName)) {
        if (!ResolveFolder(caller, *folder, appPath, unknownFolder, request.valueName)) {
            return false;
        }
        PathJoin(request.valueName, *name);
        PathCanonical(request.valueName);
    } else {
        request.valueName = *name;
    }
    return true;
}

bool ReadToolPath(const wchar_t* caller, const OperationAttributes& attributes, const std::wstring& appPath,
                  const wchar_t* fileAttribute, std::wstring& path) {
    if (const std::wstring* const folder = attributes.FindNonEmpty(attribute::kPath)) {
        if (!ResolveFolder(caller, *folder, appPath, L"unknown special folder \"%s\"", path)) {
            return false;
        }
    }
    if (const std::wstring* const file = attributes.FindNonEmpty(fileAttribute)) {
        PathJoin(path, *file);
    }
    ExpandEnvironment(path);
    if (::PathIsRelativeW(path.c_str())) {
        std::wstring absolute;
        if (!CPath::GetCurrentPath(absolute)) {
            return false;
        }
        PathJoin(absolute, path);
        path = std::move(absolute);
    }
    return true;
}

bool RequireModule(const wchar_t* caller, const OperationAttributes& attributes) {
    if (attributes.Find(attribute::kModule) != nullptr) {
        return true;
    }
    LOG_AS(caller, kError, L"module attributte is missing");
    return false;
}

const std::wstring* RequireMethodName(const wchar_t* caller, const OperationAttributes& attributes) {
    const std::wstring* const method = attributes.Find(attribute::kMethodName);
    if (method == nullptr) {
        LOG_AS(caller, kError, L"method_name attributte is missing");
    }
    return method;
}

const std::wstring* RequireDriverName(const wchar_t* caller, const OperationAttributes& attributes,
                                      const logging::LogFormat<>& missing) {
    const std::wstring* const name = attributes.Find(attribute::kName);
    if (name == nullptr) {
        LOG_AS(caller, kError, missing);
    }
    return name;
}
