#include "author/draft/uninstall_entry.h"

#include <windows.h>

#include <vector>

#include "author/snapshot/names.h"
#include "common/failure.h"
#include "foundation/owned.h"
#include "foundation/registry_access.h"
#include "foundation/text.h"

namespace tools::author {

namespace {

constexpr const wchar_t* kUninstall = L"Software\\Microsoft\\Windows\\CurrentVersion\\Uninstall";

struct Field {
    const wchar_t* value;
    std::wstring UninstallEntry::*member;
};

constexpr Field kFields[] = {
    {L"DisplayName", &UninstallEntry::displayName},
    {L"DisplayVersion", &UninstallEntry::displayVersion},
    {L"Publisher", &UninstallEntry::publisher},
    {L"DisplayIcon", &UninstallEntry::displayIcon},
};

void Set(UninstallEntry& entry, const std::wstring& value, const std::wstring& text) {
    for (const Field& field : kFields) {
        if (EqualsBlind(value, field.value)) {
            entry.*field.member = text;
        }
    }
}

// "C:\Folder\file.exe",0
void StripIconNumber(std::wstring& icon) {
    std::erase(icon, L'"');
    const std::size_t comma = icon.rfind(L',');
    if (comma != std::wstring::npos && icon.find_first_not_of(L"-0123456789", comma + 1) == std::wstring::npos) {
        icon.resize(comma);
    }
}

std::optional<std::wstring> ReadText(HKEY key, const wchar_t* name) {
    DWORD type = REG_NONE;
    DWORD bytes = 0;
    if (::RegQueryValueExW(key, name, nullptr, &type, nullptr, &bytes) != ERROR_SUCCESS ||
        (type != REG_SZ && type != REG_EXPAND_SZ)) {
        return std::nullopt;
    }
    std::wstring text(bytes / sizeof(wchar_t) + 1, L'\0');
    if (::RegQueryValueExW(key, name, nullptr, &type, reinterpret_cast<BYTE*>(text.data()), &bytes) != ERROR_SUCCESS) {
        return std::nullopt;
    }
    text.resize(text.find(L'\0'));
    return text;
}

}  // namespace

bool IsUninstallEntry(const Places& places, const std::wstring& path) {
    const std::wstring list = places.InItsView(Parent(path));
    return list.size() > 5 && EqualsBlind(list.substr(5), kUninstall) && !LiesIn(path, L"HKU");
}

std::optional<UninstallEntry> FindUninstallEntry(const Difference& difference, const std::wstring& productName) {
    const Places places(difference.machine);
    std::vector<UninstallEntry> entries;
    for (const Thing& thing : difference.added) {
        const std::wstring path = thing.Path();
        if (!thing.IsRegistry() || !IsUninstallEntry(places, path)) {
            continue;
        }
        if (thing.IsContainer()) {
            entries.push_back({LastName(path), path, {}, {}, {}, {}});
        } else if (constexpr std::string_view sz = "sz "; !entries.empty() && thing.facts.starts_with(sz)) {
            Set(entries.back(), thing.ValueName(), Unescaped(std::string_view(thing.facts).substr(sz.size())));
        }
    }
    UninstallEntry* best = nullptr;
    int bestScore = -1;
    for (UninstallEntry& entry : entries) {
        StripIconNumber(entry.displayIcon);
        const std::wstring name = LowerCase(entry.displayName);
        const int score = (name.find(LowerCase(productName)) != std::wstring::npos ? 2 : 0) + (name.empty() ? 0 : 1);
        if (score > bestScore) {
            best = &entry;
            bestScore = score;
        }
    }
    return best == nullptr ? std::nullopt : std::optional(*best);
}

UninstallEntry ReadUninstallEntry(const std::wstring& keyName) {
    struct Place {
        HKEY hive;
        const wchar_t* path;
        REGSAM access;
    };
    const bool hasTwoViews = ReadNativeView() != kReadDefaultView;
    const Place places[] = {
        {HKEY_LOCAL_MACHINE, L"HKLM\\Software\\", ReadNativeView()},
        {HKEY_LOCAL_MACHINE, hasTwoViews ? L"HKLM\\Software\\Wow6432Node\\" : L"HKLM\\Software\\", kRead32BitView},
        {HKEY_CURRENT_USER, L"HKCU\\Software\\", ReadNativeView()},
    };
    const std::wstring subkey = std::wstring(kUninstall) + L"\\" + keyName;
    for (const Place& place : places) {
        OwnedRegKey key;
        if (::RegOpenKeyExW(place.hive, subkey.c_str(), 0, place.access, key.Put()) != ERROR_SUCCESS) {
            continue;
        }
        constexpr std::size_t software = 9;  // "Software\"
        UninstallEntry entry{keyName, place.path + subkey.substr(software), {}, {}, {}, {}};
        for (const Field& field : kFields) {
            entry.*field.member = ReadText(key.Get(), field.value).value_or(L"");
        }
        StripIconNumber(entry.displayIcon);
        return entry;
    }
    throw Failure(ERROR_INSTALL_FAILURE, L"no such key in the list of programs: \"" + keyName + L"\"");
}

}  // namespace tools::author
