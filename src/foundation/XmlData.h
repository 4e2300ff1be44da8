#pragma once

#include <windows.h>

#include <string>

// Documents carried as resources of a program file.
class IXmlData {
public:
    virtual ~IXmlData() = default;

    // Looks at a resource of the host program. Gives 0 or a Windows error code. `data` is only read: the caller's
    // pointer stays as it stood, and a null in it gives ERROR_RESOURCE_NOT_AVAILABLE (0x138E).
    virtual DWORD ReadData(const std::wstring& type, DWORD id, BYTE** data, DWORD* size) = 0;

    // Stores the bytes as they are in a program file under language 0. 0, or ERROR_GEN_FAILURE (0x1F).
    virtual DWORD WriteData(const std::wstring& file, const std::wstring& type, DWORD id, const BYTE* data,
                            const DWORD* size) = 0;
};

class XmlData : public IXmlData {
public:
    DWORD ReadData(const std::wstring& type, DWORD id, BYTE** data, DWORD* size) override;
    DWORD WriteData(const std::wstring& file, const std::wstring& type, DWORD id, const BYTE* data,
                    const DWORD* size) override;
};
