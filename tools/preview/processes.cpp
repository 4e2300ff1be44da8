#include "processes.h"

#include <tlhelp32.h>

#include "foundation/module.h"
#include "foundation/owned.h"
#include "foundation/text.h"

namespace preview {

namespace {

// Absent before Vista, where a list of the process's modules begins with its image.
using QueryImageName = BOOL(WINAPI*)(HANDLE process, DWORD flags, wchar_t* name, DWORD* size);

constexpr DWORD kImageChars = 0x400;
constexpr DWORD kQueryLimited = 0x1000;  // PROCESS_QUERY_LIMITED_INFORMATION

std::wstring ImageOf(DWORD id, const wchar_t* name) {
    static const auto query = EntryPointCast<QueryImageName>(
        ::GetProcAddress(::GetModuleHandleW(L"kernel32.dll"), "QueryFullProcessImageNameW"));
    if (query != nullptr) {
        const OwnedHandle process(::OpenProcess(kQueryLimited, FALSE, id));
        wchar_t image[kImageChars] = {};
        DWORD size = kImageChars;
        return process && query(process.Get(), 0, image, &size) ? image : name;
    }
    const OwnedFileHandle modules(::CreateToolhelp32Snapshot(TH32CS_SNAPMODULE, id));
    MODULEENTRY32W module = {};
    module.dwSize = sizeof module;
    return modules && ::Module32FirstW(modules.Get(), &module) ? module.szExePath : name;
}

}  // namespace

std::vector<RunningProgram> ProgramsNamed(const std::wstring& imageName) {
    std::vector<RunningProgram> programs;
    const OwnedFileHandle snapshot(::CreateToolhelp32Snapshot(TH32CS_SNAPPROCESS, 0));
    PROCESSENTRY32W entry = {};
    entry.dwSize = sizeof entry;
    for (BOOL more = snapshot && ::Process32FirstW(snapshot.Get(), &entry); more;
         more = ::Process32NextW(snapshot.Get(), &entry)) {
        if (EqualsBlind(entry.szExeFile, imageName)) {
            programs.push_back({entry.th32ProcessID, ImageOf(entry.th32ProcessID, entry.szExeFile)});
        }
    }
    return programs;
}

}  // namespace preview
