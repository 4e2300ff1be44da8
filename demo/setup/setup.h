// The installer of the sample product. Each step installs one kind of thing, or ends the installer with a message.
#pragma once

#include <windows.h>
#include <string>

constexpr wchar_t kProduct[] = L"Wendelbach Atlas";

// Ends the installer unless the step worked; the reason is the thread's last error.
void Require(bool worked, const wchar_t* step);
// The same for calls that return their error.
void RequireNoError(LSTATUS error, const wchar_t* step);

// Path of a folder of the system, by its CSIDL.
std::wstring SystemFolder(int csidl);

void InstallFiles(const std::wstring& source, const std::wstring& folder);
void InstallRegistry(const std::wstring& folder);
void InstallFileType(const std::wstring& folder);
void InstallShortcuts(const std::wstring& folder);
void InstallService(const std::wstring& folder);
