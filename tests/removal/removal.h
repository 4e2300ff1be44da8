#pragma once

#include <windows.h>
#include <objbase.h>

#include "removal/embedded_document.h"
#include "removal/notifications.h"
#include "script/CProductUninstall.h"
#include "support/registry_sandbox.h"

// A product that stays, with lists as a use scan would have filled them.
class Staying : public CProductCheckUse {
public:
    explicit Staying(const std::wstring& scriptName) : CProductCheckUse(scriptName) {}
    using CProductCheckUse::usedFiles;
    using CProductCheckUse::usedFolders;
    using CProductCheckUse::usedRegKeys;
    using CProductCheckUse::usedRegValues;
    using CProductCheckUse::usedTools;
};

inline const std::vector<CProductCheckUse> kNothingStays;

// The product "Product" of the script "product.xml", with its stages and lists in the open.
class Removal : public CProductUninstall {
public:
    explicit Removal(const std::vector<CProductCheckUse>* usedBy = &kNothingStays)
        : CProductUninstall(L"Product", L"product.xml", usedBy, &Notifications::Hear) {
        ::CoInitialize(nullptr);
        Notifications::Clear();
        Notifications::readProgress = &::GetProgressPercent;
    }
    ~Removal() override { ::CoUninitialize(); }

    using CProductUninstall::m_cached;
    using CProductUninstall::m_restartDel;
    using CProductUninstall::Process;
    using CProductUninstall::SortCachedOps;

    // All records, one text each, list after list.
    Lines Records() const;

    std::vector<LONG> progressAtVersions;

protected:
    bool ProcessNTVersion(IXMLDOMNode* version, const std::wstring& appPath) override {
        progressAtVersions.push_back(::GetProgressPercent());
        return CProductUninstall::ProcessNTVersion(version, appPath);
    }
};

// The line about an element that the "os" attribute keeps from this kind of system.
inline std::wstring OtherSystemLine() {
    return UnderWow64() ? L"32 Will not execute x32 operation on x64 OS! AppPath=C:\\Program Files\\P"
                        : L"32 Will not execute x64 operation on x32 OS! AppPath=C:\\Program Files\\P";
}

// Runs the removal of `script` to its end.
inline bool Remove(Removal& removal, const std::wstring& script) {
    Embed(script);
    return removal.Uninstall();
}
