#pragma once

#include <string>

// What a deleting primitive asks just before it deletes: does a product that stays still use this thing? True means
// keep it. Where a pointer to the interface is taken, null spares nothing.
class IUsed {
public:
    virtual bool IsUsedFile(const std::wstring& path) = 0;
    virtual bool IsUsedFolder(const std::wstring& path) = 0;
    virtual bool IsUsedRegKey(const std::wstring& keyPath, bool x32view) = 0;
    virtual bool IsUsedRegValue(const std::wstring& keyPath, const std::wstring& valueName, bool x32view) = 0;
    // `parameters` is a tool's command line or a library's method name.
    virtual bool IsUsedTool(const std::wstring& path, const std::wstring& parameters) = 0;

protected:
    ~IUsed() = default;
};
