#include "author/snapshot/key_walk.h"

#include <ntsecapi.h>
#include <winternl.h>

#include <algorithm>
#include <cstdio>
#include <string_view>
#include <vector>

#include "author/snapshot/names.h"
#include "foundation/module.h"
#include "foundation/owned.h"
#include "foundation/registry_access.h"
#include "foundation/text.h"
#include "operations/registry_walk.h"

namespace tools::author {

namespace {

constexpr DWORD kOpenLink = 8;            // REG_OPTION_OPEN_LINK: the link itself
constexpr ULONG kObjectOpenLink = 0x100;  // the same for the system's own call
constexpr std::size_t kInlineBytes = 1024;

using NtOpenKeyFunction = NTSTATUS(NTAPI*)(HKEY* key, ACCESS_MASK access, OBJECT_ATTRIBUTES* attributes);

// Opens a key whose name holds zero characters, which no other call can name.
LONG OpenByCountedName(HKEY parent, const std::wstring& name, HKEY* key) {
    static const auto open =
        EntryPointCast<NtOpenKeyFunction>(::GetProcAddress(::GetModuleHandleW(L"ntdll.dll"), "NtOpenKey"));
    const auto bytes = static_cast<USHORT>(name.size() * sizeof(wchar_t));
    UNICODE_STRING counted = {bytes, bytes, const_cast<wchar_t*>(name.data())};
    OBJECT_ATTRIBUTES attributes = {sizeof(attributes), parent, &counted, kObjectOpenLink, nullptr, nullptr};
    const NTSTATUS status = open(key, ReadNativeView(), &attributes);
    return status >= 0 ? ERROR_SUCCESS : static_cast<LONG>(::LsaNtStatusToWinError(status));
}

LONG Open(HKEY parent, const std::wstring& name, bool followLink, OwnedRegKey& key) {
    if (name.find(L'\0') != std::wstring::npos) {
        return OpenByCountedName(parent, name, key.Put());
    }
    return ::RegOpenKeyExW(parent, name.c_str(), followLink ? 0 : kOpenLink, ReadNativeView(), key.Put());
}

void AppendType(std::string& line, DWORD type) {
    constexpr const char* kNames[] = {"none", "sz",       "expand_sz", "binary",        "dword",      "dword_be",
                                      "link", "multi_sz", "resource",  "full_resource", "resource_r", "qword"};
    line += type < std::size(kNames) ? kNames[type] : std::to_string(type);
}

void AppendHex(std::string& line, const BYTE* data, std::size_t bytes) {
    constexpr char digits[] = "0123456789abcdef";
    for (std::size_t index = 0; index < bytes; ++index) {
        line += {digits[data[index] >> 4], digits[data[index] & 15]};
    }
}

// Long data is told apart by its length and an FNV-1a sum.
void AppendSum(std::string& line, const BYTE* data, std::size_t bytes) {
    ULONGLONG sum = 0xCBF29CE484222325;
    for (std::size_t index = 0; index < bytes; ++index) {
        sum = (sum ^ data[index]) * 0x100000001B3;
    }
    char text[64];
    std::snprintf(text, sizeof(text), "#%u:%08x%08x", static_cast<unsigned>(bytes), static_cast<unsigned>(sum >> 32),
                  static_cast<unsigned>(sum));
    line += text;
}

bool IsText(DWORD type, DWORD bytes) {
    return (type == REG_SZ || type == REG_EXPAND_SZ || type == REG_MULTI_SZ || type == REG_LINK) &&
           bytes % sizeof(wchar_t) == 0;
}

void AppendData(std::string& line, DWORD type, const BYTE* data, DWORD bytes) {
    AppendType(line, type);
    line += ' ';
    if (bytes > kInlineBytes) {
        AppendSum(line, data, bytes);
    } else if (IsText(type, bytes)) {
        // The text ends where its terminator says; a missing one is told, so that no two values look alike.
        std::wstring_view text(reinterpret_cast<const wchar_t*>(data), bytes / sizeof(wchar_t));
        const bool terminated = !text.empty() && text.back() == L'\0';
        AppendEscaped(line, terminated ? text.substr(0, text.size() - 1) : text);
        if (!terminated && type != REG_LINK) {
            line += '`';
        }
    } else {
        AppendHex(line, data, bytes);
    }
}

class KeyWalk {
public:
    KeyWalk(const Exclusions& exclusions, LineWriter& out) : m_exclusions(exclusions), m_out(out) {}

    // `m_line` is the parent's line without its tab.
    void Visit(HKEY parent, const std::wstring& name, const std::wstring& shownName,
               const Exclusions::Cursors& outside) {
        Exclusions::Cursors inside;
        if (m_exclusions.Excludes(outside, shownName, inside)) {
            return;
        }
        const std::size_t length = m_line.size();
        AppendEscaped(m_line, shownName);
        m_line += '\\';
        OwnedRegKey key;
        LONG error = Open(parent, name, StandsForItsTarget(), key);
        std::vector<std::wstring> subkeys;
        if (error == ERROR_SUCCESS) {
            error = ReadKey(key.Get(), inside, subkeys);
        }
        WriteKey(error);
        for (const std::wstring& subkey : subkeys) {
            Visit(key.Get(), subkey, subkey, inside);
        }
        m_line.resize(length);
    }

private:
    bool StandsForItsTarget() const {
        constexpr std::wstring_view kNames[] = {L"HKLM\\SYSTEM\\CurrentControlSet\\", L"HKCU\\Software\\Classes\\"};
        return std::any_of(std::begin(kNames), std::end(kNames), [this](std::wstring_view name) {
            return name.size() == m_line.size() && EqualsBlind(name, std::wstring(m_line.begin(), m_line.end()));
        });
    }

    // Values into m_values, as they stand behind the key's line; subkeys sorted as their lines are.
    LONG ReadKey(HKEY key, const Exclusions::Cursors& inside, std::vector<std::wstring>& subkeys) {
        m_values.clear();
        LongestEntries longest;
        LONG error = longest.Read(key);
        if (error == ERROR_SUCCESS) {
            error = ReadValues(key, longest, inside);
        }
        if (error == ERROR_SUCCESS) {
            error = ReadSubkeys(key, longest, subkeys);
        }
        return error;
    }

    LONG ReadValues(HKEY key, const LongestEntries& longest, const Exclusions::Cursors& inside) {
        m_name.resize(std::max<std::size_t>(m_name.size(), longest.valueName + 1));
        m_data.resize(std::max<std::size_t>(m_data.size(), longest.valueData + 1));
        for (DWORD index = 0;;) {
            DWORD length = static_cast<DWORD>(m_name.size());
            DWORD bytes = static_cast<DWORD>(m_data.size());
            DWORD type = REG_NONE;
            const LONG error =
                ::RegEnumValueW(key, index, m_name.data(), &length, nullptr, &type, m_data.data(), &bytes);
            if (error == ERROR_MORE_DATA) {  // it has grown meanwhile
                m_name.resize(m_name.size() * 2);
                m_data.resize(std::max<std::size_t>(m_data.size() * 2, bytes));
                continue;
            }
            if (error != ERROR_SUCCESS) {
                std::sort(m_values.begin(), m_values.end());
                return error == ERROR_NO_MORE_ITEMS ? ERROR_SUCCESS : error;
            }
            const std::wstring_view name(m_name.data(), length);
            if (!m_exclusions.ExcludesValue(inside, name)) {
                std::string& line = m_values.emplace_back();
                AppendEscaped(line, name);
                line += '\t';
                AppendData(line, type, m_data.data(), bytes);
            }
            ++index;
        }
    }

    LONG ReadSubkeys(HKEY key, const LongestEntries& longest, std::vector<std::wstring>& subkeys) {
        m_name.resize(std::max<std::size_t>(m_name.size(), longest.subkeyName + 1));
        for (;;) {
            DWORD length = static_cast<DWORD>(m_name.size());
            const LONG error = ::RegEnumKeyExW(key, static_cast<DWORD>(subkeys.size()), m_name.data(), &length, nullptr,
                                               nullptr, nullptr, nullptr);
            if (error == ERROR_MORE_DATA) {
                m_name.resize(m_name.size() * 2);
                continue;
            }
            if (error != ERROR_SUCCESS) {
                SortAsLines(subkeys);
                return error == ERROR_NO_MORE_ITEMS ? ERROR_SUCCESS : error;
            }
            subkeys.emplace_back(m_name.data(), length);
        }
    }

    static void SortAsLines(std::vector<std::wstring>& names) {
        std::vector<std::pair<std::string, std::wstring>> keyed;
        keyed.reserve(names.size());
        for (std::wstring& name : names) {
            keyed.emplace_back(Escaped(name) + '\\', std::move(name));
        }
        std::sort(keyed.begin(), keyed.end());
        std::transform(keyed.begin(), keyed.end(), names.begin(), [](auto& pair) { return std::move(pair.second); });
    }

    void WriteKey(LONG error) {
        const std::size_t length = m_line.size();
        m_line += '\t';
        if (error != ERROR_SUCCESS) {
            m_out.Write(m_line + '!' + std::to_string(error));
        } else {
            m_out.Write(m_line);
        }
        for (const std::string& value : m_values) {
            m_line.resize(length + 1);
            m_line += value;
            m_out.Write(m_line);
        }
        m_values.clear();
        m_line.resize(length);
    }

    const Exclusions& m_exclusions;
    LineWriter& m_out;
    std::string m_line;
    std::vector<std::string> m_values;
    std::vector<wchar_t> m_name;
    std::vector<BYTE> m_data;
};

}  // namespace

void WriteKeys(HKEY base, const std::wstring& subkey, const std::wstring& name, const Exclusions& exclusions,
               LineWriter& out) {
    KeyWalk(exclusions, out).Visit(base, subkey, name, exclusions.Begin());
}

}  // namespace tools::author
