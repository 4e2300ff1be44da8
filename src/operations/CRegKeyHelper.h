#pragma once

#include <windows.h>

#include <string>
#include <vector>

#include "foundation/result.h"
#include "operations/IUsed.h"

// A registry key or value and the view it lies in. A value's path is its key's path joined to its name.
struct RegistryEntry {
    std::wstring path;
    bool x32view = false;

    auto operator<=>(const RegistryEntry&) const = default;
};

// One enumerated value. Data that is no text is read as such all the same, cut at the first zero character.
struct RegValueEntry {
    DWORD type = REG_NONE;
    std::wstring data;
    std::wstring name;
};

// The registry primitives. Path-text forms take a hive name with a subkey; hive forms a predefined handle and a subkey.
// Every open but that of GetValue asks for full access, the read-only operations included, in the view `x32view` asks
// for; without WOW64 there is one view. A failure to open is _ERROR_NOT_FOUND whatever its cause.
//
// Deleting operations offer each key and value to `used` (null spares nothing) just before they delete it. A key that
// keeps something in use is emptied as far as allowed, stays, and counts as success. `usedFlag`, where given, is
// cleared once the key is open and set when something was kept. Single failures are logged and passed over.
//
// A value name with a star is a pattern, see ValuePattern. Searches go by the data of text values, see DataMatches.
class CRegKeyHelper {
public:
    // Reads a REG_SZ of up to 130 wide characters with its terminator into `buffer`, which holds at least 131 and is
    // zeroed by the caller. The key that it opens stays open.
    static OperationResult GetValue(HKEY hive, const std::wstring& subkey, const std::wstring& valueName,
                                    wchar_t* buffer);

    static OperationResult DeleteKey(const std::wstring& path, bool x32view, IUsed* used);
    static OperationResult DeleteKey(HKEY hive, const std::wstring& subkey, bool x32view, IUsed* used, bool* usedFlag);
    static OperationResult DeleteValue(const std::wstring& path, const std::wstring& nameOrPattern, bool x32view,
                                       IUsed* used);
    static OperationResult DeleteValue(HKEY hive, const std::wstring& subkey, const std::wstring& nameOrPattern,
                                       bool x32view, IUsed* used, bool* usedFlag);
    // Deletes each topmost key with a matching value; success also when there is none.
    static OperationResult DelKeySearch(const std::wstring& path, const std::vector<std::wstring>& search,
                                        bool complete, bool x32view, IUsed* used);
    static OperationResult DelKeySearch(HKEY hive, const std::wstring& subkey, const std::vector<std::wstring>& search,
                                        bool complete, bool x32view, IUsed* used, bool* usedFlag);
    // Deletes one key without subkeys, in the view of `access`. The platform's code.
    static LONG DeleteKeyEx(HKEY hive, const std::wstring& subkey, REGSAM access);

    static OperationResult CheckKey(const std::wstring& path, bool x32view);
    static OperationResult CheckKey(HKEY hive, const std::wstring& subkey, bool x32view);
    // Success for every key that opens and can be walked, whether or not a value matches.
    static OperationResult CheckKeySearch(const std::wstring& path, const std::vector<std::wstring>& search,
                                          bool complete, bool x32view);
    // `base` is a hive or, for the keys below it, an open key.
    static OperationResult CheckKeySearch(HKEY base, const std::wstring& subkey,
                                          const std::vector<std::wstring>& search, bool complete, bool x32view);
    // A pattern that matches no value is _ERROR_FAILED.
    static OperationResult CheckValue(const std::wstring& path, const std::wstring& nameOrPattern, bool x32view);
    static OperationResult CheckValue(HKEY hive, const std::wstring& subkey, const std::wstring& nameOrPattern,
                                      bool x32view);

    // The expansions append to the caller's lists what exists; what they found stays there also on failure. The
    // path-text form of ExpandKey lists the key itself under the path as given, all else bears long hive names.
    static OperationResult ExpandKey(const std::wstring& path, bool x32view, std::vector<RegistryEntry>& keys,
                                     std::vector<RegistryEntry>& values);
    static OperationResult ExpandKey(HKEY hive, const std::wstring& subkey, bool x32view,
                                     std::vector<RegistryEntry>& keys, std::vector<RegistryEntry>& values);
    static OperationResult ExpandKeySearch(const std::wstring& path, const std::vector<std::wstring>& search,
                                           bool complete, bool x32view, std::vector<RegistryEntry>& keys,
                                           std::vector<RegistryEntry>& values);
    static OperationResult ExpandKeySearch(HKEY hive, const std::wstring& subkey,
                                           const std::vector<std::wstring>& search, bool complete, bool x32view,
                                           std::vector<RegistryEntry>& keys, std::vector<RegistryEntry>& values);
    // A plain name is listed whether or not the value exists.
    static OperationResult ExpandValue(const std::wstring& path, const std::wstring& nameOrPattern, bool x32view,
                                       std::vector<RegistryEntry>& values);
    static OperationResult ExpandValue(HKEY hive, const std::wstring& subkey, const std::wstring& nameOrPattern,
                                       bool x32view, std::vector<RegistryEntry>& values);

    // Complete snapshots in the order of enumeration, appended.
    static OperationResult GetValues(HKEY key, std::vector<RegValueEntry>& values);
    static OperationResult GetValues(HKEY key, std::vector<std::wstring>& names);
    static OperationResult GetSubKeys(HKEY key, std::vector<std::wstring>& names);
};
