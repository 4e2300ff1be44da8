// The installer of the sample product: puts what lies beside it on the machine, as an installer does.

#include <windows.h>
#include <shlobj.h>

#include <cstdio>
#include <cstdlib>
#include <string>

namespace {

[[noreturn]] void Fail(const wchar_t* what) {
    std::fwprintf(stderr, L"atelier-setup: cannot make %ls: error %lu\n", what, ::GetLastError());
    std::exit(EXIT_FAILURE);
}

void Require(bool done, const std::wstring& what) {
    if (!done) {
        Fail(what.c_str());
    }
}

std::wstring Environment(const wchar_t* name) {
    wchar_t text[MAX_PATH] = {};
    ::GetEnvironmentVariableW(name, text, MAX_PATH);
    return text;
}

// The native one also for this 32-bit program.
std::wstring ProgramFiles() {
    const std::wstring native = Environment(L"ProgramW6432");
    return native.empty() ? Environment(L"ProgramFiles") : native;
}

std::wstring OwnFolder() {
    wchar_t path[MAX_PATH] = {};
    ::GetModuleFileNameW(nullptr, path, MAX_PATH);
    const std::wstring program = path;
    return program.substr(0, program.rfind(L'\\'));
}

void MakeFolder(const std::wstring& path) {
    Require(::CreateDirectoryW(path.c_str(), nullptr), path);
}

void WriteText(const std::wstring& path, DWORD attributes = FILE_ATTRIBUTE_NORMAL) {
    const HANDLE file = ::CreateFileW(path.c_str(), GENERIC_WRITE, 0, nullptr, CREATE_NEW, attributes, nullptr);
    Require(file != INVALID_HANDLE_VALUE, path);
    DWORD written = 0;
    Require(::WriteFile(file, "atelier", 7, &written, nullptr), path);
    ::CloseHandle(file);
}

void InstallFiles(const std::wstring& folder) {
    MakeFolder(folder);
    for (const wchar_t* const name :
         {L"atelier.exe", L"atelier-service.exe", L"atelier-cleanup.exe", L"atelier-settings.dll"}) {
        const std::wstring target = folder + L'\\' + name;
        Require(::CopyFileW((OwnFolder() + L'\\' + name).c_str(), target.c_str(), TRUE), target);
    }
    MakeFolder(folder + L"\\Pinsel");
    MakeFolder(folder + L"\\Pinsel\\筆");
    WriteText(folder + L"\\Pinsel\\Größe 3.brush");
    WriteText(folder + L"\\Pinsel\\筆\\細い.brush");
    WriteText(folder + L"\\licence.txt", FILE_ATTRIBUTE_READONLY);
    WriteText(folder + L"\\палитра.dat");
    WriteText(folder + L"\\recent.dat");
    const std::wstring cache = Environment(L"APPDATA") + L"\\Atelier cache";
    MakeFolder(cache);
    WriteText(cache + L"\\1.tmp");
    WriteText(cache + L"\\2.tmp");
}

void MakeShortcut(int place, const wchar_t* name, const std::wstring& target) {
    wchar_t folder[MAX_PATH] = {};
    IShellLinkW* link = nullptr;
    IPersistFile* file = nullptr;
    Require(SUCCEEDED(::SHGetFolderPathW(nullptr, place | CSIDL_FLAG_CREATE, nullptr, 0, folder)) &&
                SUCCEEDED(::CoCreateInstance(CLSID_ShellLink, nullptr, CLSCTX_INPROC_SERVER, IID_IShellLinkW,
                                             reinterpret_cast<void**>(&link))) &&
                SUCCEEDED(link->QueryInterface(IID_IPersistFile, reinterpret_cast<void**>(&file))) &&
                SUCCEEDED(link->SetPath(target.c_str())) &&
                SUCCEEDED(file->Save((std::wstring(folder) + L'\\' + name).c_str(), TRUE)),
            name);
    file->Release();
    link->Release();
}

void SetText(HKEY hive, const wchar_t* subkey, REGSAM view, const wchar_t* name, const std::wstring& text) {
    HKEY key = nullptr;
    Require(::RegCreateKeyExW(hive, subkey, 0, nullptr, 0, KEY_ALL_ACCESS | view, nullptr, &key, nullptr) ==
                    ERROR_SUCCESS &&
                ::RegSetValueExW(key, name, 0, REG_SZ, reinterpret_cast<const BYTE*>(text.c_str()),
                                 static_cast<DWORD>((text.size() + 1) * sizeof(wchar_t))) == ERROR_SUCCESS,
            subkey);
    ::RegCloseKey(key);
}

void WriteRegistry(const std::wstring& folder) {
    constexpr wchar_t kUninstallKey[] =
        L"Software\\Microsoft\\Windows\\CurrentVersion\\Uninstall\\{0F7E5E54-6F0B-4B61-9D0B-0A4C55C7D1A3}";
    SetText(HKEY_LOCAL_MACHINE, kUninstallKey, KEY_WOW64_64KEY, L"DisplayName", L"Atelier Grünholz");
    SetText(HKEY_LOCAL_MACHINE, L"Software\\Atelier", KEY_WOW64_64KEY, L"Folder", folder);
    SetText(HKEY_LOCAL_MACHINE, L"Software\\Atelier\\Brushes", KEY_WOW64_64KEY, L"Größe 3", L"3");
    SetText(HKEY_LOCAL_MACHINE, L"Software\\Atelier plug-ins", KEY_WOW64_32KEY, L"Bridge", L"32");
    SetText(HKEY_LOCAL_MACHINE, L"Software\\Microsoft\\Windows\\CurrentVersion\\Run", KEY_WOW64_64KEY, L"Atelier",
            folder + L"\\atelier.exe");
    SetText(HKEY_CURRENT_USER, L"Software\\Atelier user", 0, L"Name", L"Зарница");
}

void StartService(const std::wstring& folder) {
    const SC_HANDLE manager = ::OpenSCManagerW(nullptr, nullptr, SC_MANAGER_ALL_ACCESS);
    const SC_HANDLE service = ::CreateServiceW(manager, L"AtelierService", L"Atelier Service", SERVICE_ALL_ACCESS,
                                               SERVICE_WIN32_OWN_PROCESS, SERVICE_AUTO_START, SERVICE_ERROR_NORMAL,
                                               (L"\"" + folder + L"\\atelier-service.exe\"").c_str(), nullptr, nullptr,
                                               nullptr, nullptr, nullptr);
    Require(service != nullptr && ::StartServiceW(service, 0, nullptr), L"the service");
    ::CloseServiceHandle(service);
    ::CloseServiceHandle(manager);
}

}  // namespace

int wmain() {
    ::CoInitialize(nullptr);
    const std::wstring folder = ProgramFiles() + L"\\Atelier Grünholz";
    InstallFiles(folder);
    MakeShortcut(CSIDL_COMMON_PROGRAMS, L"Atelier Grünholz.lnk", folder + L"\\atelier.exe");
    MakeShortcut(CSIDL_DESKTOPDIRECTORY, L"Atelier.lnk", folder + L"\\atelier.exe");
    WriteRegistry(folder);
    StartService(folder);
    std::puts("installed");
    return EXIT_SUCCESS;
}
