#pragma once

#include <windows.h>

#include <string>

// Why the packer gives up. Thrown from wherever the cause is known; the library file is then as it was.
struct Failure {
    int exitCode;
    std::wstring text;  // one line for the person: the file and the reason
};

// What the packer answers its caller with.
constexpr int kPacked = 0;
constexpr int kBadDocument = 1;
constexpr int kBadUsage = 2;
constexpr int kBadLibrary = 3;

// "step "file": message of the system (code)".
Failure SystemFailure(int exitCode, const wchar_t* step, const std::wstring& file, DWORD error);
