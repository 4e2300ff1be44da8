#include "author/draft/places.h"

#include <algorithm>
#include <string_view>

#include "foundation/text.h"

namespace tools::author {

namespace {

constexpr std::wstring_view kWow = L"\\wow6432node";

// The names of folders that differ between the two kinds of system, each with its 32-bit one.
constexpr std::pair<const wchar_t*, const wchar_t*> kFoldersOf32Bit[] = {
    {L"program_files", L"program_files_x86"},
    {L"common_files", L"common_files_x86"},
    {L"windows_system", L"windows_system_x86"},
};

struct Hive {
    std::wstring_view shortName;
    std::wstring_view longName;
};

constexpr Hive kHives[] = {
    {L"HKLM", L"HKEY_LOCAL_MACHINE"},
    {L"HKCU", L"HKEY_CURRENT_USER"},
    {L"HKU", L"HKEY_USERS"},
};

// Where the 32-bit view has keys of its own.
bool HasTwoViews(const std::wstring& path) {
    return LiesIn(path, L"HKLM\\Software") || LiesIn(path, L"HKCU\\Software\\Classes");
}

// The users that every system has.
bool IsUserOfEverySystem(const std::wstring& path) {
    constexpr const wchar_t* kUsers[] = {L"HKU\\.DEFAULT", L"HKU\\S-1-5-18", L"HKU\\S-1-5-19", L"HKU\\S-1-5-20"};
    return std::any_of(std::begin(kUsers), std::end(kUsers), [&](const wchar_t* user) { return LiesIn(path, user); });
}

}  // namespace

std::wstring OtherHiveName(const std::wstring& path) {
    for (const Hive& hive : kHives) {
        for (const auto& [name, other] :
             {std::pair(hive.shortName, hive.longName), std::pair(hive.longName, hive.shortName)}) {
            if (LiesIn(path, std::wstring(name))) {
                return std::wstring(other) + path.substr(name.size());
            }
        }
    }
    return path;
}

bool LiesIn(const std::wstring& path, const std::wstring& folder) {
    return path.size() >= folder.size() && (path.size() == folder.size() || path[folder.size()] == L'\\') &&
           LowerCase(path.substr(0, folder.size())) == LowerCase(folder);
}

std::wstring LastName(const std::wstring& path) {
    return path.substr(path.rfind(L'\\') + 1);
}

std::wstring Parent(const std::wstring& path) {
    const std::size_t end = path.rfind(L'\\');
    return end == std::wstring::npos ? L"" : path.substr(0, end);
}

Places::Places(const Machine& machine) : m_machine(machine) {
    for (const auto& [name, nameOf32Bit] : kFoldersOf32Bit) {
        if (!m_machine.is64Bit) {
            m_machine.folders.erase(name);
        }
    }
    // C:\Users\name\AppData\Roaming, or C:\Documents and Settings\name\Application Data.
    if (const auto found = m_machine.folders.find(L"app_data"); found != m_machine.folders.end()) {
        const std::wstring above = Parent(found->second);
        m_profiles = Parent(EqualsBlind(LastName(above), L"AppData") ? Parent(above) : above);
    }
}

std::optional<FolderPath> Places::Folder(const std::wstring& path) const {
    FolderPath best;
    std::size_t length = 0;
    for (const auto& [name, folder] : m_machine.folders) {
        if (folder.size() > length && LiesIn(path, folder)) {
            length = folder.size();
            best = {name, path.substr(std::min(path.size(), length + 1))};
        }
    }
    if (length == 0 && (m_profiles.empty() || !LiesIn(path, m_profiles))) {
        return FolderPath{{}, path};
    }
    return length == 0 ? std::nullopt : std::optional(best);
}

bool Places::LeadsToNamedFolder(const std::wstring& path) const {
    return std::any_of(m_machine.folders.begin(), m_machine.folders.end(),
                       [&](const auto& folder) { return LiesIn(folder.second, path); });
}

bool Places::IsIn32BitView(const std::wstring& path) const {
    return HasTwoViews(path) && (!m_machine.is64Bit || InItsView(path) != path);
}

std::wstring Places::InItsView(const std::wstring& path) const {
    const std::wstring lower = LowerCase(path);
    const std::size_t found = lower.find(kWow);
    // Directly below Software of the machine, or below either Classes.
    if (found == std::wstring::npos || (found + kWow.size() < path.size() && path[found + kWow.size()] != L'\\')) {
        return path;
    }
    const std::wstring before = lower.substr(0, found);
    if (before != L"hklm\\software" && before != L"hklm\\software\\classes" && before != L"hkcu\\software\\classes") {
        return path;
    }
    return path.substr(0, found) + path.substr(found + kWow.size());
}

std::optional<KeyPath> Places::Key(const std::wstring& path) const {
    if (LiesIn(path, L"HKU") && !IsUserOfEverySystem(path)) {
        return std::nullopt;
    }
    const std::wstring inItsView = InItsView(path);
    if (IsIn32BitView(path)) {
        return KeyPath{inItsView, true};
    }
    for (const Hive& hive : kHives) {
        if (LiesIn(path, std::wstring(hive.shortName))) {
            return KeyPath{std::wstring(hive.longName) + path.substr(hive.shortName.size()), false};
        }
    }
    return std::nullopt;
}

}  // namespace tools::author
