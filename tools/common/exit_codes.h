#pragma once

#include <windows.h>

#include <initializer_list>
#include <string>

namespace tools {

// How a tool ends. The numbers are those of the system's own installer, so that deployment systems know them.
struct ExitCode {
    int number;
    const wchar_t* name;
    const wchar_t* sentence;
};

// clang-format off
inline constexpr ExitCode kExitCodes[] = {
    {ERROR_SUCCESS,                   L"success",          L"done"},
    {ERROR_INSTALL_USEREXIT,          L"not-confirmed",    L"the question was not answered with yes; nothing was removed"},
    {ERROR_INSTALL_FAILURE,           L"failure",          L"failed: the message on the standard error, or the verdict, says why"},
    {ERROR_UNKNOWN_PRODUCT,           L"unknown-product",  L"unknown product, or not installed; nothing was removed"},
    {ERROR_INSTALL_ALREADY_RUNNING,   L"already-running",  L"another removal by this tool is running; nothing was removed"},
    {ERROR_INSTALL_PACKAGE_REJECTED,  L"refused",          L"a finding of the plan forbids it; nothing was removed"},
    {ERROR_INVALID_COMMAND_LINE,      L"bad-command-line", L"bad command line; nothing was done"},
    {ERROR_SUCCESS_REBOOT_REQUIRED,   L"restart-required", L"done, a restart is required to finish"},
};
// clang-format on

// The rows of these numbers, for a help text, one a line.
std::wstring ExitCodesHelp(std::initializer_list<int> numbers);
// All rows.
std::wstring ExitCodesHelp();

}  // namespace tools
