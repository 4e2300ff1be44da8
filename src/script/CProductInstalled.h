#pragma once

#include "script/CProductConfig.h"

// Judges by score whether the things that a script names exist. Process is true when at least one listed version
// counts as installed; it reads the script from the file of the script's name and changes nothing on the machine.
class CProductInstalled : public CProductConfig {
public:
    using CProductConfig::CProductConfig;

    bool Process() override;

protected:
    bool ProcessNTVersion(IXMLDOMNode* version, const std::wstring& appPath) override;
    bool ProcessSection(IXMLDOMNode* section, const std::wstring& appPath) override;

    bool ProcessDelFile(const OperationAttributes& attributes, const std::wstring& appPath) override;
    bool ProcessDelFolder(const OperationAttributes& attributes, const std::wstring& appPath) override;
    bool ProcessDelShortcut(const OperationAttributes& attributes, const std::wstring& appPath) override;
    bool ProcessDelRegKey(const OperationAttributes& attributes, const std::wstring& appPath) override;
    bool ProcessDelRegVal(const OperationAttributes& attributes, const std::wstring& appPath) override;
    bool ProcessSleep(int milliseconds) override;
    bool ProcessDisableDriver(const OperationAttributes& attributes, const std::wstring& appPath) override;
    bool ProcessDisableService(const OperationAttributes& attributes, const std::wstring& appPath) override {
        return ProcessDisableDriver(attributes, appPath);
    }

    // What a watcher is told on the way; nothing is done with it here.
    virtual void SectionsModeRead(const std::wstring&) {}
    virtual void MinimumRead(const std::wstring& /*opCode*/, int) {}
    virtual void ElementJudged(const OperationAttributes&, int /*score*/, bool /*mandatory*/, bool /*found*/) {}
    virtual void SectionScored(int) {}

private:
    Next ScoreElement(const wchar_t* caller, IXMLDOMNode* node, const std::wstring& opCode, const std::wstring& appPath,
                      int& score);
    Next ScoreOperation(const wchar_t* caller, IXMLDOMNode* node, const std::wstring& opCode,
                        const std::wstring& appPath, int& score);
};
