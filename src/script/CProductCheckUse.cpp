#include "script/CProductCheckUse.h"

#include <algorithm>
#include <iterator>

#include "foundation/log_statement.h"
#include "foundation/path.h"
#include "foundation/result.h"
#include "foundation/text.h"
#include "operations/COperations.h"
#include "script/operation_request.h"
#include "script/vocabulary.h"

namespace {

template <typename Entry>
void SortAndThin(std::vector<Entry>& list) {
    std::sort(list.begin(), list.end());
    list.erase(std::unique(list.begin(), list.end()), list.end());
}

template <typename Entry>
bool Contains(const std::vector<Entry>& list, const Entry& entry) {
    return std::find(list.begin(), list.end(), entry) != list.end();
}

template <typename Entry>
void MoveTo(std::vector<Entry>& target, std::vector<Entry>& found) {
    target.insert(target.end(), std::make_move_iterator(found.begin()), std::make_move_iterator(found.end()));
}

}  // namespace

ToolEntry ToolEntry::Of(const std::wstring& path, const std::wstring& parameters) {
    std::wstring packed = parameters;
    std::erase(packed, L' ');
    return {LowerCase(path), LowerCase(std::move(packed))};
}

CProductCheckUse::CProductCheckUse(std::wstring scriptName) : CProductConfig(std::move(scriptName)) {
    if (!Process()) {
        LOG(kError, L"CProductConfig::Process failed");
        return;
    }
    SortLists();
}

// The source keeps its script name, whose copy may fail for want of memory, and is left with empty lists.
CProductCheckUse::CProductCheckUse(CProductCheckUse&& other)
    : CProductConfig(other),
      usedFiles(std::exchange(other.usedFiles, {})),
      usedFolders(std::exchange(other.usedFolders, {})),
      usedRegKeys(std::exchange(other.usedRegKeys, {})),
      usedRegValues(std::exchange(other.usedRegValues, {})),
      usedDrivers(std::exchange(other.usedDrivers, {})),
      usedTools(std::exchange(other.usedTools, {})) {}

void CProductCheckUse::SortLists() {
    SortAndThin(usedFiles);
    SortAndThin(usedFolders);
    SortAndThin(usedRegKeys);
    SortAndThin(usedRegValues);
    SortAndThin(usedDrivers);
    SortAndThin(usedTools);
}

bool CProductCheckUse::HasRegValue(const std::wstring& keyPath, const std::wstring& valueName, bool x32view) const {
    RegistryEntry entry{keyPath, x32view};
    PathJoin(entry.path, valueName);
    return Contains(usedRegValues, entry);
}

bool CProductCheckUse::HasTool(const std::wstring& path, const std::wstring& commandLine) const {
    return Contains(usedTools, ToolEntry::Of(path, commandLine));
}

bool CProductCheckUse::ProcessDelFile(const OperationAttributes& attributes, const std::wstring& appPath) {
    FileRequest request;
    if (!ReadFileRequest(CALLER, attributes, appPath, request)) {
        return false;
    }
    usedFiles.push_back(std::move(request.path));
    return true;
}

bool CProductCheckUse::ProcessDelFolder(const OperationAttributes& attributes, const std::wstring& appPath) {
    std::wstring path;
    if (!ReadFolderRequest(CALLER, attributes, appPath, path)) {
        return false;
    }
    std::vector<std::wstring> folders;
    std::vector<std::wstring> files;
    COperations().ExpandFolder(path, folders, files);
    MoveTo(usedFolders, folders);
    MoveTo(usedFiles, files);
    return true;
}

bool CProductCheckUse::ProcessDelShortcut(const OperationAttributes& attributes, const std::wstring& appPath) {
    ShortcutRequest request;
    if (!ReadShortcutRequest(CALLER, attributes, appPath, request)) {
        return false;
    }
    std::vector<std::wstring> files;
    COperations().ExpandShortcut(request.path, request.target, request.targetIsWholePath, files);
    MoveTo(usedFiles, files);
    return true;
}

bool CProductCheckUse::ProcessDelRegKey(const OperationAttributes& attributes, const std::wstring&) {
    RegKeyRequest request;
    if (!ReadRegKeyRequest(CALLER, attributes, LastPiece::Kept, request)) {
        return false;
    }
    std::vector<RegistryEntry> keys;
    std::vector<RegistryEntry> values;
    const OperationResult result =
        request.search ? CRegKeyHelper::ExpandKeySearch(request.keyPath, request.dataStrings, request.completeStr,
                                                        request.x32view, keys, values)
                       : CRegKeyHelper::ExpandKey(request.keyPath, request.x32view, keys, values);
    MoveTo(usedRegValues, values);
    MoveTo(usedRegKeys, keys);
    if (result != _ERROR_SUCCESS) {
        LOG(kError, L"failed %s \"%s\"", ResultName(result), request.keyPath.c_str());
    }
    return true;
}

bool CProductCheckUse::ProcessDelRegVal(const OperationAttributes& attributes, const std::wstring& appPath) {
    RegValueRequest request;
    if (!ReadRegValueRequest(CALLER, attributes, appPath, L"unknown special folder %s", request)) {
        return false;
    }
    std::vector<RegistryEntry> values;
    const OperationResult result =
        CRegKeyHelper::ExpandValue(request.keyPath, request.valueName, request.x32view, values);
    MoveTo(usedRegValues, values);
    if (result != _ERROR_SUCCESS) {
        LOG(kError, L"failed %s \"%s\" from \"%s\"", ResultName(result), request.valueName.c_str(),
            request.keyPath.c_str());
    }
    return true;
}

bool CProductCheckUse::ProcessExecTool(const OperationAttributes& attributes, const std::wstring& appPath) {
    if (attributes.Find(attribute::kModule) != nullptr) {
        return ProcessExecDllMethod(attributes, appPath);
    }
    std::wstring path;
    if (!ReadToolPath(CALLER, attributes, appPath, attribute::kToolName, path)) {
        return false;
    }
    const std::wstring* const commandLine = attributes.Find(attribute::kCmdLine);
    usedTools.push_back(ToolEntry::Of(path, commandLine != nullptr ? *commandLine : std::wstring()));
    return true;
}

bool CProductCheckUse::ProcessExecDllMethod(const OperationAttributes& attributes, const std::wstring& appPath) {
    if (!RequireModule(CALLER, attributes)) {
        return false;
    }
    const std::wstring* const method = RequireMethodName(CALLER, attributes);
    std::wstring path;
    if (method == nullptr || !ReadToolPath(CALLER, attributes, appPath, attribute::kModule, path)) {
        return false;
    }
    usedTools.push_back(ToolEntry::Of(path, *method));
    return true;
}

bool CProductCheckUse::ProcessDisableDriver(const OperationAttributes& attributes, const std::wstring&) {
    const std::wstring* const name = RequireDriverName(CALLER, attributes, L"no driver name");
    if (name == nullptr) {
        return false;
    }
    usedDrivers.push_back(*name);
    return true;
}
