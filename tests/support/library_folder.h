#pragma once

#include "support/import_patch.h"
#include "support/temp_folder.h"

// A folder of its own that the library takes for the one it lies in, for a scope. Open the log before.
class LibraryFolder : public TempFolder {
public:
    void WriteCatalogue(const std::wstring& file, const std::string& content) const {
        WriteFile(file, "<uninstall_information>" + content + "</uninstall_information>");
    }

    // From here on the question for the folder fails.
    void Lose() { m_file.clear(); }

private:
    std::wstring m_file = Path(L"prodrm.dll");
    Played<decltype(&::GetModuleFileNameW), LibraryFolder> m_played{
        "GetModuleFileNameW", [this](HMODULE, LPWSTR path, DWORD chars) {
            ::SetLastError(ERROR_INVALID_HANDLE);
            ::lstrcpynW(path, m_file.c_str(), static_cast<int>(chars));
            return static_cast<DWORD>(m_file.size());
        }};
};
