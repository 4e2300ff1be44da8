#include "places.h"

#include <windows.h>

#include "text.h"

namespace {

struct Folder {
    const wchar_t* name;
    const wchar_t* variable;   // read first
    const wchar_t* otherwise;  // where the first is not set
    const wchar_t* below;
};

// clang-format off
constexpr Folder kFolders[] = {
    {L"program_files",              L"ProgramW6432",            L"ProgramFiles",       L""},
    {L"program_files_x86",          L"ProgramFiles(x86)",       L"ProgramFiles",       L""},
    {L"common_files",               L"CommonProgramW6432",      L"CommonProgramFiles", L""},
    {L"common_files_x86",           L"CommonProgramFiles(x86)", L"CommonProgramFiles", L""},
    {L"windows_folder",             L"SystemRoot",              L"windir",             L""},
    {L"windows_system",             L"SystemRoot",              L"windir",             L"\\system32"},
    {L"windows_system_drivers",     L"SystemRoot",              L"windir",             L"\\system32\\drivers"},
    {L"app_data",                   L"APPDATA",                 L"",                   L""},
    {L"local_app_data",             L"LOCALAPPDATA",            L"",                   L""},
    {L"common_app_data",            L"ProgramData",             L"",                   L""},
    {L"desktop_folder",             L"USERPROFILE",             L"",                   L"\\Desktop"},
    {L"common_desktop_folder",      L"PUBLIC",                  L"",                   L"\\Desktop"},
    {L"start_menu",                 L"APPDATA",                 L"",                   L"\\Microsoft\\Windows\\Start Menu"},
    {L"start_menu_programs",        L"APPDATA",                 L"",                   L"\\Microsoft\\Windows\\Start Menu\\Programs"},
    {L"common_start_menu",          L"ProgramData",             L"",                   L"\\Microsoft\\Windows\\Start Menu"},
    {L"common_start_menu_programs", L"ProgramData",             L"",                   L"\\Microsoft\\Windows\\Start Menu\\Programs"},
    {L"documents",                  L"USERPROFILE",             L"",                   L"\\Documents"},
};
// clang-format on

std::wstring Variable(const wchar_t* name) {
    wchar_t value[MAX_PATH] = {};
    ::GetEnvironmentVariableW(name, value, MAX_PATH);
    return value;
}

std::wstring PathOf(const Folder& folder) {
    const std::wstring first = Variable(folder.variable);
    return (first.empty() ? Variable(folder.otherwise) : first) + folder.below;
}

}  // namespace

std::wstring Expand(const std::wstring& text) {
    std::wstring result;
    std::size_t begin = 0;
    for (std::size_t open = text.find(L'{'); open != std::wstring::npos; open = text.find(L'{', open + 1)) {
        const std::size_t close = text.find(L'}', open);
        const std::wstring name = text.substr(open + 1, close - open - 1);
        for (const Folder& folder : kFolders) {
            if (close != std::wstring::npos && name == folder.name) {
                result += text.substr(begin, open - begin) + PathOf(folder);
                begin = close + 1;
            }
        }
    }
    return result + text.substr(begin);
}

std::string Expand(const std::string& utf8) {
    return ToUtf8(Expand(FromUtf8(utf8)));
}
