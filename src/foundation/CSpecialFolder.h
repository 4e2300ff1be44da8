#pragma once

#include <windows.h>

#include <optional>
#include <string>
#include <vector>

// Turns a script's folder name, such as "program_files", into a path.
class CSpecialFolder {
public:
    // `appPath` is the product's application path, copied; null leaves it empty.
    explicit CSpecialFolder(const wchar_t* appPath = nullptr) : m_appPath(appPath != nullptr ? appPath : L"") {}

    // An unknown name, an empty application path or a folder that the system does not give is logged and leaves
    // `path` untouched.
    bool Get(const std::wstring& name, std::wstring& path) const;

    // The names of the table, and the system's number (CSIDL) of a name in any case of letters on either kind of
    // system.
    static std::vector<std::wstring> Names();
    static std::optional<int> NumberOf(const std::wstring& name, bool underWow64);

private:
    // Reads a folder from the system's own settings in the native registry view. On failure `path` stays.
    static bool ReadFromRegistry(const wchar_t* valueName, std::wstring& path);

    std::wstring m_appPath;
};
