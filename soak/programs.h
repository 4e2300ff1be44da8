#pragma once

#include <windows.h>

#include <string>

#include "foundation/owned.h"

// Starts a program in `folder`, its output in the file `output` or dropped. The process; empty for a Unix program.
OwnedHandle StartProgram(std::wstring commandLine, const std::wstring& output, const std::wstring& folder);

// Runs it to its end and gives its exit code; an exception if it does not end within a minute.
DWORD RunProgram(const std::wstring& commandLine, const std::wstring& output, const std::wstring& folder);

// The program that holds files, beside this one.
std::wstring HolderImage();
std::wstring OwnImage();
