#include "foundation/CSplitKeyPath.h"

#include <string_view>

#include "foundation/log_statement.h"

namespace {

struct Hive {
    const wchar_t* longName;
    const wchar_t* shortName;
    HKEY key;
};

// clang-format off
const Hive kHives[] = {
    {L"HKEY_LOCAL_MACHINE",    L"HKLM", HKEY_LOCAL_MACHINE},
    {L"HKEY_CURRENT_CONFIG",   L"HKCC", HKEY_CURRENT_CONFIG},
    {L"HKEY_CLASSES_ROOT",     L"HKCR", HKEY_CLASSES_ROOT},
    {L"HKEY_CURRENT_USER",     L"HKCU", HKEY_CURRENT_USER},
    {L"HKEY_USERS",            L"HKU",  HKEY_USERS},
    {L"HKEY_PERFORMANCE_DATA", L"HKPD", HKEY_PERFORMANCE_DATA},
    {L"HKEY_DYN_DATA",         L"HKDD", HKEY_DYN_DATA},
};
// clang-format on

const Hive* FindHive(std::wstring_view name) {
    for (const Hive& hive : kHives) {
        if (name == hive.longName || name == hive.shortName) {
            return &hive;
        }
    }
    return nullptr;
}

}  // namespace

bool CSplitKeyPath::Split(const std::wstring& path, HKEY& hive, std::wstring& subkey) {
    const std::size_t separator = path.find_first_of(L"\\/");
    const std::wstring name = path.substr(0, separator);
    const Hive* const found = separator != std::wstring::npos ? FindHive(name) : nullptr;
    if (found == nullptr) {
        LOG(kError, L"unknown base key \"%s\"", name.c_str());
        return false;
    }
    hive = found->key;
    subkey = path.substr(separator + 1);
    return true;
}

std::vector<std::wstring> HiveNames() {
    std::vector<std::wstring> names;
    for (const Hive& hive : kHives) {
        names.emplace_back(hive.longName);
        names.emplace_back(hive.shortName);
    }
    return names;
}

const wchar_t* HiveName(HKEY hive) {
    for (const Hive& known : kHives) {
        if (known.key == hive) {
            return known.longName;
        }
    }
    return nullptr;
}
