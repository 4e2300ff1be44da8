#include "operations/registry_walk.h"

#include <algorithm>
#include <cstring>

#include "foundation/path.h"
#include "foundation/registry_access.h"

namespace {

constexpr std::size_t kLongestName = 0x8000;  // wide characters; the system's own limit for the name of a value is half

}  // namespace

LONG LongestEntries::Read(HKEY key) {
    return ::RegQueryInfoKeyW(key, nullptr, nullptr, nullptr, nullptr, &subkeyName, nullptr, nullptr, &valueName,
                              &valueData, nullptr, nullptr);
}

ValueEnumeration::ValueEnumeration(HKEY key, const LongestEntries& longest, ValueParts parts)
    : m_key(key), m_parts(parts), m_name(longest.valueName + 1) {
    if (m_parts == ValueParts::NamesAndData) {
        m_data.resize(longest.valueData + 1);
    }
}

LONG ValueEnumeration::Next() {
    const bool withData = m_parts == ValueParts::NamesAndData;
    DWORD nameChars = static_cast<DWORD>(m_name.size());
    m_dataBytes = static_cast<DWORD>(m_data.size());
    const LONG error =
        ::RegEnumValueW(m_key, m_nextIndex, m_name.data(), &nameChars, nullptr, withData ? &m_type : nullptr,
                        withData ? m_data.data() : nullptr, withData ? &m_dataBytes : nullptr);
    if (error == ERROR_SUCCESS) {
        m_index = m_nextIndex++;
    } else if (error == ERROR_MORE_DATA) {
        m_index = m_nextIndex;
        const bool longerName = nameChars > m_name.size();
        const bool longerData = withData && m_dataBytes > m_data.size();
        // Of a name that is too long the system gives no length: where nothing asks for room, the name does.
        if (longerName || !longerData) {
            if (m_name.size() >= kLongestName) {
                return ERROR_INVALID_DATA;
            }
            m_name.resize(longerName ? nameChars + 1 : 2 * m_name.size());
        }
        if (longerData) {
            m_data.resize(m_dataBytes + 1);
        }
    }
    return error;
}

std::wstring ValueEnumeration::Data() const {
    std::wstring text(std::min<std::size_t>(m_dataBytes, m_data.size()) / sizeof(wchar_t), L'\0');
    std::memcpy(text.data(), m_data.data(), text.size() * sizeof(wchar_t));
    return text.substr(0, text.find(L'\0'));
}

SubkeyEnumeration::SubkeyEnumeration(HKEY key, const LongestEntries& longest)
    : m_key(key), m_name(longest.subkeyName + 1) {}

LONG SubkeyEnumeration::Next() {
    DWORD nameChars = static_cast<DWORD>(m_name.size());
    const LONG error =
        ::RegEnumKeyExW(m_key, m_nextIndex, m_name.data(), &nameChars, nullptr, nullptr, nullptr, nullptr);
    if (error == ERROR_SUCCESS) {
        ++m_nextIndex;
    } else if (error == ERROR_MORE_DATA) {
        m_name.resize(std::max<std::size_t>(nameChars, m_name.size()) + 1);
    }
    return error;
}

LONG OpenKey(HKEY base, const std::wstring& subkey, bool x32view, OwnedRegKey& key) {
    return ::RegOpenKeyExW(base, subkey.c_str(), 0, FullAccess(x32view), key.Put());
}

bool OpenKeyOrLog(const wchar_t* caller, HKEY base, const std::wstring& subkey, bool x32view, OwnedRegKey& key) {
    const LONG error = OpenKey(base, subkey, x32view, key);
    if (error != ERROR_SUCCESS) {
        LOG_AS(caller, kError, L"RegOpenKeyEx \"%s\" failed 0x%x", subkey.c_str(), error);
    }
    return error == ERROR_SUCCESS;
}

const wchar_t* RequireHiveName(const wchar_t* caller, const HiveTexts& texts, HKEY hive, const std::wstring& subkey) {
    const wchar_t* const name = HiveName(hive);
    if (name == nullptr) {
        LOG_AS(caller, kWarning, texts.unknown, static_cast<DWORD>(reinterpret_cast<ULONG_PTR>(hive)), subkey.c_str());
    } else {
        LOG_AS(caller, kInfo, texts.opening, name, subkey.c_str());
    }
    return name;
}

bool ReadLongestOrLog(const wchar_t* caller, HKEY key, const std::wstring& subkey, LongestEntries& longest) {
    const LONG error = longest.Read(key);
    if (error != ERROR_SUCCESS) {
        LOG_AS(caller, kError, L"RegQueryInfoKey \"%s\" failed 0x%x", subkey.c_str(), error);
    }
    return error == ERROR_SUCCESS;
}

bool DataMatches(DWORD type, const std::wstring& data, const std::vector<std::wstring>& search, bool complete) {
    return (type == REG_SZ || type == REG_EXPAND_SZ) &&
           std::any_of(search.begin(), search.end(), [&](const std::wstring& text) {
               return complete ? data == text : data.find(text) != std::wstring::npos;
           });
}

Found SearchValues(const wchar_t* caller, HKEY key, const std::wstring& subkey, const LongestEntries& longest,
                   const std::vector<std::wstring>& search, bool complete, const logging::LogFormat<>* retryText) {
    ValueEnumeration values(key, longest, ValueParts::NamesAndData);
    for (;;) {
        const LONG error = values.Next();
        if (error == ERROR_NO_MORE_ITEMS) {
            return Found::Nothing;
        }
        if (error == ERROR_MORE_DATA) {
            if (retryText != nullptr) {
                LOG_AS(caller, kInfo, *retryText);
            }
        } else if (error != ERROR_SUCCESS) {
            LOG_AS(caller, kError, L"RegEnumValue \"%s\" failed 0x%x", subkey.c_str(), error);
            return Found::Failure;
        } else if (DataMatches(values.Type(), values.Data(), search, complete)) {
            return Found::Match;
        }
    }
}

bool AcceptPattern(const wchar_t* caller, const ValuePattern& pattern, const std::wstring& name, OwnedRegKey& key) {
    if (!pattern.IsValid()) {
        LOG_AS(caller, kError, L"can't delete value \"%s\"", name.c_str());
        key.LeaveOpen();
    }
    return pattern.IsValid();
}

std::wstring FullKeyPath(const wchar_t* hiveName, const std::wstring& subkey) {
    std::wstring path = hiveName;
    PathJoin(path, subkey);
    return path;
}
