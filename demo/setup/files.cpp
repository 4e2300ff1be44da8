#include "setup.h"

#include <shlobj.h>
#include <cstring>

namespace {

constexpr const wchar_t* kPrograms[] = {L"atlas.exe", L"atlas-service.exe", L"atlas-cleanup.exe", L"atlas-types.dll"};
constexpr const wchar_t* kFolders[] = {L"", L"\\Karten", L"\\Karten\\東京", L"\\Karten\\Москва"};

struct Document {
    const wchar_t* name;
    const char* text;
    DWORD attributes;
};

constexpr Document kDocuments[] = {
    {L"\\Lizenz – bitte lesen.txt", "Free for any use.\r\n", FILE_ATTRIBUTE_READONLY},
    {L"\\Karten\\Übersicht.karte", "All maps\r\n", FILE_ATTRIBUTE_NORMAL},
    {L"\\Karten\\東京\\新宿.karte", "Map 1\r\n", FILE_ATTRIBUTE_NORMAL},
    {L"\\Karten\\Москва\\Арбат.karte", "Map 2\r\n", FILE_ATTRIBUTE_HIDDEN},
};

void MakeFolder(const std::wstring& path) {
    Require(::CreateDirectoryW(path.c_str(), nullptr), path.c_str());
}

void WriteDocument(const std::wstring& path, const char* text, DWORD attributes) {
    const HANDLE file = ::CreateFileW(path.c_str(), GENERIC_WRITE, 0, nullptr, CREATE_NEW, attributes, nullptr);
    Require(file != INVALID_HANDLE_VALUE, path.c_str());
    DWORD written = 0;
    Require(::WriteFile(file, text, static_cast<DWORD>(std::strlen(text)), &written, nullptr), path.c_str());
    ::CloseHandle(file);
}

}  // namespace

void InstallFiles(const std::wstring& source, const std::wstring& folder) {
    for (const wchar_t* name : kFolders) {
        MakeFolder(folder + name);
    }
    for (const wchar_t* name : kPrograms) {
        Require(::CopyFileW((source + name).c_str(), (folder + L"\\" + name).c_str(), TRUE), name);
    }
    for (const auto& [name, text, attributes] : kDocuments) {
        WriteDocument(folder + name, text, attributes);
    }
    // Known to the product's own clean-up tool alone.
    const std::wstring settings = SystemFolder(CSIDL_APPDATA) + L"\\" + kProduct;
    MakeFolder(settings);
    WriteDocument(settings + L"\\Einstellungen.ini", "[Fenster]\r\n", FILE_ATTRIBUTE_NORMAL);
}
