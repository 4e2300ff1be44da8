#pragma once

#include <windows.h>

#include <string>
#include <vector>

#include "foundation/result.h"
#include "operations/COperations.h"
#include "operations/IUsed.h"
#include "operations/RestartList.h"
#include "script/cached_operations.h"
#include "script/CProductCheckUse.h"
#include "script/CProductConfig.h"

// Removes one product. The walk of the script only fills one list per kind of operation; then the lists are thinned
// and run kind by kind in one fixed order, and what could not go is handed to the system for the next restart. Answers
// for the products that stay what they still use. Made for one product and used once.
class CProductUninstall : public CProductConfig, public IUsed {
public:
    // The name and the list are not owned and outlive the object. Sets the progress value to 0.
    CProductUninstall(const wchar_t* productName, std::wstring scriptName, const std::vector<CProductCheckUse>* usedBy,
                      NotifyCallback notify);
    CProductUninstall(const CProductUninstall&) = delete;
    CProductUninstall& operator=(const CProductUninstall&) = delete;

    // True if the script was walked and everything left over could be scheduled. How the operations themselves went
    // reaches the host through the callback alone.
    bool Uninstall();

    // Meaningful after Uninstall.
    bool RestartRequired() const { return m_restartRequired; }

    bool IsUsedFile(const std::wstring& path) override;
    bool IsUsedFolder(const std::wstring& path) override;
    bool IsUsedRegKey(const std::wstring& keyPath, bool x32view) override;
    bool IsUsedRegValue(const std::wstring& keyPath, const std::wstring& valueName, bool x32view) override;
    bool IsUsedTool(const std::wstring& path, const std::wstring& parameters) override;

protected:
    bool Process() override;
    bool ProcessNTVersion(IXMLDOMNode* version, const std::wstring& appPath) override;
    bool ExecOperation(const OperationAttributes& attributes, const std::wstring& appPath) override;

    bool ProcessDelFile(const OperationAttributes& attributes, const std::wstring& appPath) override;
    bool ProcessDelFolder(const OperationAttributes& attributes, const std::wstring& appPath) override;
    bool ProcessDelShortcut(const OperationAttributes& attributes, const std::wstring& appPath) override;
    bool ProcessDelRegKey(const OperationAttributes& attributes, const std::wstring& appPath) override;
    bool ProcessDelRegVal(const OperationAttributes& attributes, const std::wstring& appPath) override;
    bool ProcessKillProcess(const OperationAttributes& attributes, const std::wstring& appPath) override;
    bool ProcessExecTool(const OperationAttributes& attributes, const std::wstring& appPath) override;
    bool ProcessSleep(int milliseconds) override;
    bool ProcessDisableDriver(const OperationAttributes& attributes, const std::wstring& appPath) override;
    bool ProcessDisableService(const OperationAttributes& attributes, const std::wstring& appPath) override {
        return ProcessDisableDriver(attributes, appPath);
    }
    bool ProcessDisableAndStopDriver(const OperationAttributes& attributes, const std::wstring& appPath) override;
    bool ProcessDisableAndStopService(const OperationAttributes& attributes, const std::wstring& appPath) override {
        return ProcessDisableAndStopDriver(attributes, appPath);
    }
    virtual bool ProcessExecDllMethod(const OperationAttributes& attributes, const std::wstring& appPath);

    // The end of each operation, where it touches the machine.
    virtual OperationResult RemoveFolder(const std::wstring& path) { return m_operations.DelFolder(path, this); }
    virtual OperationResult RemoveFile(const std::wstring& path) { return m_operations.DelFile(path, this); }
    virtual OperationResult RemoveShortcut(const DelShortcutOp& shortcut);
    virtual OperationResult RemoveKeysBySearch(const DelRegKeyDataOp& search);
    virtual OperationResult RemoveKey(const DelRegOp& key);
    virtual OperationResult RemoveValue(const DelRegOp& value);
    virtual OperationResult EndProcess(const std::wstring& imageName) { return m_operations.KillProcess(imageName); }
    virtual OperationResult RunTool(const ExecToolOp& tool);
    virtual OperationResult CallMethod(const std::wstring& library, const std::wstring& method);
    virtual OperationResult Disable(const std::wstring& service) { return m_operations.DisableService(service); }
    virtual OperationResult Stop(const std::wstring& service);

    // The stages after the walk.
    bool SortCachedOps();
    bool ExecuteCachedOps();
    bool DeleteAtRestart();

    const std::vector<CProductCheckUse>* m_usedBy;
    const wchar_t* m_productName;
    RestartList m_restartDel;
    CachedOperations m_cached;
    DWORD m_doneUnits = 0;
    DWORD m_totalUnits = 1;
    LONG m_scriptPercent = 0;
    COperations m_operations;
    bool m_restartRequired = false;

private:
    struct Step;
    static const Step kSteps[];

    void AddRestartDel(const std::wstring& path);
    void PublishProgress() const;
    void PublishWalked(LONG percent);
    void FinishEntry(DWORD units);
    struct DeletionTexts;
    void FinishDeletion(const wchar_t* caller, const DeletionTexts& texts, OperationResult result,
                        const std::wstring& path, OperationResult& kind);
    void FinishRegistryEntry(const wchar_t* caller, OperationResult result, const std::wstring& keyPath,
                             OperationResult& kind);

    // The first of the products that stay that answers the question with true; null if none does.
    template <typename Question>
    const CProductCheckUse* FirstUser(const Question& question) const;

    OperationResult ExecuteCachedOp_DisableAndStopDriver();
    OperationResult ExecuteCachedOp_DisableDriver();
    OperationResult ExecuteCachedOp_ExecDllMethod();
    OperationResult ExecuteCachedOp_ExecTool();
    OperationResult ExecuteCachedOp_KillProcess();
    OperationResult ExecuteCachedOp_DelFolder();
    OperationResult ExecuteCachedOp_DelFile();
    OperationResult ExecuteCachedOp_DelShortcut();
    OperationResult ExecuteCachedOp_DelRegKeys();
    OperationResult ExecuteCachedOp_DelRegValues();
    OperationResult ExecuteLibraryMethodsAndTools();
};
