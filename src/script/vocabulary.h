#pragma once

#include <string>

#include "foundation/text.h"

// The words of a product script, and the two ways in which its values compare: without regard to the case of A to Z,
// or exactly.

namespace element {
inline constexpr wchar_t kRoot[] = L"uninstall_information";
inline constexpr wchar_t kVersionList[] = L"version_list";
inline constexpr wchar_t kAppPath[] = L"app_path";
inline constexpr wchar_t kInstallFolder[] = L"install_folder";
inline constexpr wchar_t kSections[] = L"win_nt";
inline constexpr wchar_t kSleep[] = L"sleep";
}  // namespace element

namespace attribute {
inline constexpr wchar_t kCmdLine[] = L"cmd_line";
inline constexpr wchar_t kCompleteStr[] = L"complete_str";
inline constexpr wchar_t kDataStr[] = L"data_str";
inline constexpr wchar_t kDisableWow64Redir[] = L"disable_wow64_redir";
inline constexpr wchar_t kKey[] = L"key";
inline constexpr wchar_t kKeyPath[] = L"key_path";
inline constexpr wchar_t kMandatory[] = L"mandatory";
inline constexpr wchar_t kMandatorySections[] = L"mandatory_sections";
inline constexpr wchar_t kMethodName[] = L"method_name";
inline constexpr wchar_t kMinimumScore[] = L"minimum_score";
inline constexpr wchar_t kModule[] = L"module";
inline constexpr wchar_t kName[] = L"name";
inline constexpr wchar_t kOpCode[] = L"op_code";
inline constexpr wchar_t kOs[] = L"os";
inline constexpr wchar_t kPath[] = L"path";
inline constexpr wchar_t kRelName[] = L"rel_name";
inline constexpr wchar_t kRelShortcut[] = L"rel_shortcut";
inline constexpr wchar_t kRelTarget[] = L"rel_target";
inline constexpr wchar_t kRestartRequired[] = L"restart_required";
inline constexpr wchar_t kScore[] = L"score";
inline constexpr wchar_t kShowWindow[] = L"show_window";
inline constexpr wchar_t kSleepAfterExec[] = L"sleep_after_exec";
inline constexpr wchar_t kTargetName[] = L"target_name";
inline constexpr wchar_t kToolName[] = L"tool_name";
inline constexpr wchar_t kValue[] = L"value";
inline constexpr wchar_t kWait[] = L"wait";
inline constexpr wchar_t kX32View[] = L"x32view";
}  // namespace attribute

// All three take the value of an attribute that may be absent (null).
inline bool IsYes(const std::wstring* value) {
    return value != nullptr && EqualsBlind(*value, L"yes");
}

inline bool IsExactly(const std::wstring* value, const wchar_t* word) {
    return value != nullptr && *value == word;
}

inline bool IsX32View(const std::wstring* value) {
    return value != nullptr && (EqualsBlind(*value, L"1") || EqualsBlind(*value, L"true"));
}
