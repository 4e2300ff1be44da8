#pragma once

#include <windows.h>

#include <string>

#include "support/import_patch.h"
#include "support/temp_folder.h"

// A folder of its own that the library takes for the one it lies in, for a scope. Open the log before.
class LibraryFolder : public TempFolder {
public:
    LibraryFolder() { s_file = Path(L"prodrm.dll"); }

    void WriteCatalogue(const std::wstring& file, const std::string& content) const {
        WriteFile(file, "<uninstall_information>" + content + "</uninstall_information>");
    }

    // From here on the question for the folder fails.
    void Lose() const { s_file.clear(); }

private:
    static DWORD WINAPI Answer(HMODULE, LPWSTR path, DWORD chars) {
        ::SetLastError(ERROR_INVALID_HANDLE);
        ::lstrcpynW(path, s_file.c_str(), static_cast<int>(chars));
        return static_cast<DWORD>(s_file.size());
    }

    inline static std::wstring s_file;

    ImportPatch m_patch{"GetModuleFileNameW", &Answer};
};
