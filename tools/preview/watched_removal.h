#pragma once

#include <array>
#include <set>
#include <string>
#include <unordered_map>
#include <vector>

#include "catalogue/CProduct.h"
#include "file_look.h"
#include "key_look.h"
#include "log_ear.h"
#include "plan.h"
#include "script/CProductUninstall.h"

namespace preview {

// What the removals of one plan share.
struct Looks {
    explicit Looks(ItemTree& items) : files(items), keys(items) {}

    FileLook files;
    KeyLook keys;
    std::set<std::wstring> processes;  // names of those that were looked for, in lower case
};

// A removal that looks where the library's own would act. Its walk, its thinning and its order are the library's; at
// the end of each operation stands a look, which finds what is there and adds it to the plan.
class WatchedRemoval : public CProductUninstall {
public:
    WatchedRemoval(const CProduct& product, const std::vector<CProductCheckUse>& toCheck, Plan& plan, Looks& looks);

    // False if the document could not be walked.
    bool Watch();

protected:
    bool ProcessNTVersion(IXMLDOMNode* version, const std::wstring& appPath) override;
    bool ProcessSection(IXMLDOMNode* section, const std::wstring& appPath) override;
    bool ExecOperation(const OperationAttributes& attributes, const std::wstring& appPath) override;
    OperationResult ReadAppPath(HKEY hive, const std::wstring& subkey, const std::wstring& valueName,
                                wchar_t* buffer) const override;
    bool ProcessExecDllMethod(const OperationAttributes& attributes, const std::wstring& appPath) override;
    bool ProcessSleep(int) override { return true; }

    OperationResult RemoveFolder(const std::wstring& path) override;
    OperationResult RemoveFile(const std::wstring& path) override;
    OperationResult RemoveShortcut(const DelShortcutOp& shortcut) override;
    OperationResult RemoveKeysBySearch(const DelRegKeyDataOp& search) override;
    OperationResult RemoveKey(const DelRegOp& key) override;
    OperationResult RemoveValue(const DelRegOp& value) override;
    OperationResult EndProcess(const std::wstring& imageName) override;
    OperationResult RunTool(const ExecToolOp& tool) override;
    OperationResult CallMethod(const std::wstring& library, const std::wstring& method) override;
    OperationResult Disable(const std::wstring& service) override;
    OperationResult Stop(const std::wstring& service) override;

private:
    // Tells one recorded operation from another: a letter for its kind, then what it is about.
    using Mark = std::wstring;

    Item& AddItem(NodeId node, ItemState state, RecordId record);
    Record& AddRecord(std::wstring text);
    void AddUnread(const wchar_t* what, long count);
    void Settle(Record& record, const Mark& mark);
    // The operation that the last element recorded, where the lists have grown since `before`.
    using Sizes = std::array<std::size_t, 10>;
    Sizes ListSizes() const;
    Mark Recorded(const Sizes& before) const;
    // Of the operation that is about to run.
    RecordId Reach(const Mark& mark);
    void SettleUnreached();
    RecordId CoverOf(const Mark& mark) const;
    void Hear(const HeardLine& line);
    void AddNote(const std::wstring& note) const;

    Plan& m_plan;
    Looks& m_looks;
    std::size_t m_product;
    std::unordered_map<Mark, RecordId> m_marks;
    std::set<RecordId> m_reached;
    RecordId m_method = kNoRecord;  // whose library method is at hand
    bool m_isWalking = false;
    std::wstring m_complaint;  // the last line that the engine logged
};

}  // namespace preview
