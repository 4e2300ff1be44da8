#pragma once

#include <string>
#include <vector>

#include "operations/CRegKeyHelper.h"
#include "script/CProductConfig.h"

// A tool with its command line, or a library with its method. Both texts are lower case, the second without blanks.
struct ToolEntry {
    std::wstring path;
    std::wstring parameters;

    // Folds the texts as they are stored and looked up.
    static ToolEntry Of(const std::wstring& path, const std::wstring& parameters);

    auto operator<=>(const ToolEntry&) const = default;
};

// What a product that stays uses: every thing that its script would remove, expanded to what the machine holds while
// the object is constructed. A script that cannot be read leaves all lists empty, and then nothing is protected.
class CProductCheckUse : public CProductConfig {
public:
    explicit CProductCheckUse(std::wstring scriptName);
    CProductCheckUse(CProductCheckUse&& other);

    const std::vector<std::wstring>& UsedFiles() const { return usedFiles; }
    const std::vector<std::wstring>& UsedFolders() const { return usedFolders; }
    const std::vector<RegistryEntry>& UsedRegKeys() const { return usedRegKeys; }
    bool HasRegValue(const std::wstring& keyPath, const std::wstring& valueName, bool x32view) const;
    bool HasTool(const std::wstring& path, const std::wstring& commandLine) const;

protected:
    // Sorts each list and removes repeats.
    void SortLists();

    bool ProcessDelFile(const OperationAttributes& attributes, const std::wstring& appPath) override;
    bool ProcessDelFolder(const OperationAttributes& attributes, const std::wstring& appPath) override;
    bool ProcessDelShortcut(const OperationAttributes& attributes, const std::wstring& appPath) override;
    bool ProcessDelRegKey(const OperationAttributes& attributes, const std::wstring& appPath) override;
    bool ProcessDelRegVal(const OperationAttributes& attributes, const std::wstring& appPath) override;
    bool ProcessExecTool(const OperationAttributes& attributes, const std::wstring& appPath) override;
    bool ProcessDisableDriver(const OperationAttributes& attributes, const std::wstring& appPath) override;
    bool ProcessDisableService(const OperationAttributes& attributes, const std::wstring& appPath) override {
        return ProcessDisableDriver(attributes, appPath);
    }
    virtual bool ProcessExecDllMethod(const OperationAttributes& attributes, const std::wstring& appPath);

    std::vector<std::wstring> usedFiles;
    std::vector<std::wstring> usedFolders;
    std::vector<RegistryEntry> usedRegKeys;
    std::vector<RegistryEntry> usedRegValues;
    std::vector<std::wstring> usedDrivers;  // part of the record of a scan; disabling is never held back by it
    std::vector<ToolEntry> usedTools;
};
