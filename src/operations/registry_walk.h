#pragma once

#include <windows.h>

#include <string>
#include <vector>

#include "foundation/CSplitKeyPath.h"
#include "foundation/log_statement.h"
#include "foundation/owned.h"
#include "foundation/result.h"
#include "operations/value_pattern.h"

// Enumerations of one open key whose buffers grow. Next gives
//   ERROR_SUCCESS        the members tell of one entry
//   ERROR_MORE_DATA      a buffer was too short and has grown; the next call asks for the same entry again
//   ERROR_NO_MORE_ITEMS  the end
//   anything else        the platform's code; the enumeration is over
//
// Sizes start from what the key says of its longest entries.

struct LongestEntries {
    DWORD subkeyName = 0;  // wide characters without the terminator
    DWORD valueName = 0;   // likewise
    DWORD valueData = 0;   // bytes

    // The platform's code.
    LONG Read(HKEY key);
};

enum class ValueParts { Names, NamesAndData };

class ValueEnumeration {
public:
    ValueEnumeration(HKEY key, const LongestEntries& longest, ValueParts parts);

    LONG Next();

    DWORD Index() const { return m_index; }  // of the entry that Next told of
    const wchar_t* Name() const { return m_name.data(); }
    DWORD Type() const { return m_type; }
    // The bytes read as wide text, cut at the first zero character and at the end of the bytes.
    std::wstring Data() const;

private:
    HKEY m_key;
    ValueParts m_parts;
    std::vector<wchar_t> m_name;
    std::vector<BYTE> m_data;
    DWORD m_nextIndex = 0;
    DWORD m_index = 0;
    DWORD m_type = REG_NONE;
    DWORD m_dataBytes = 0;
};

class SubkeyEnumeration {
public:
    SubkeyEnumeration(HKEY key, const LongestEntries& longest);

    LONG Next();
    const wchar_t* Name() const { return m_name.data(); }

private:
    HKEY m_key;
    std::vector<wchar_t> m_name;
    DWORD m_nextIndex = 0;
};

// Opens a key with full access in the view that `x32view` asks for. The platform's code.
LONG OpenKey(HKEY base, const std::wstring& subkey, bool x32view, OwnedRegKey& key);

// The same; a failure is logged in the caller's name.
bool OpenKeyOrLog(const wchar_t* caller, HKEY base, const std::wstring& subkey, bool x32view, OwnedRegKey& key);

struct HiveTexts {
    logging::LogFormat<DWORD, const wchar_t*> unknown;           // handle, subkey
    logging::LogFormat<const wchar_t*, const wchar_t*> opening;  // long hive name, subkey
};

// Long name of the hive that an operation starts from, with its opening line; null, with a warning, for any other
// handle.
const wchar_t* RequireHiveName(const wchar_t* caller, const HiveTexts& texts, HKEY hive, const std::wstring& subkey);

// True if a value of this type and data answers a search: text that contains, or with `complete` is, one of the
// search texts, case included. An empty search text is contained in every text.
bool DataMatches(DWORD type, const std::wstring& data, const std::vector<std::wstring>& search, bool complete);

enum class Found { Match, Nothing, Failure };

// Asks for the longest entries; a failure is logged in the caller's name with the subkey.
bool ReadLongestOrLog(const wchar_t* caller, HKEY key, const std::wstring& subkey, LongestEntries& longest);

// Reads values until one matches. A failure to enumerate is logged in the caller's name; so is, with `retryText` unless
// it is null, each value whose buffer had to grow.
Found SearchValues(const wchar_t* caller, HKEY key, const std::wstring& subkey, const LongestEntries& longest,
                   const std::vector<std::wstring>& search, bool complete, const logging::LogFormat<>* retryText);

// True for a pattern that can be matched. Another one is refused in the caller's name, and the key then stays open.
bool AcceptPattern(const wchar_t* caller, const ValuePattern& pattern, const std::wstring& name, OwnedRegKey& key);

// Calls act(hive, subkey) for a path text; a path that cannot be split is _ERROR_NOT_FOUND.
template <typename Act>
OperationResult AtPath(const std::wstring& path, const Act& act) {
    HKEY hive = nullptr;
    std::wstring subkey;
    return CSplitKeyPath::Split(path, hive, subkey) ? act(hive, subkey) : _ERROR_NOT_FOUND;
}

// Long hive name and subkey as one path.
std::wstring FullKeyPath(const wchar_t* hiveName, const std::wstring& subkey);
