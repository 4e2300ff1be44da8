#include "bare.h"

#include <shlobj.h>

#include <vector>

#include "foundation/dom.h"

namespace {

bool IsDots(const WIN32_FIND_DATAW& entry) {
    const wchar_t* const name = entry.cFileName;
    return name[0] == L'.' && (name[1] == L'\0' || (name[1] == L'.' && name[2] == L'\0'));
}

// Calls visit(path, is a folder) for each entry of a folder.
template <typename Visit>
void ForEachEntry(const std::wstring& folder, const Visit& visit) {
    WIN32_FIND_DATAW entry;
    const HANDLE find = ::FindFirstFileW((folder + L"\\*.*").c_str(), &entry);
    if (find == INVALID_HANDLE_VALUE) {
        return;
    }
    do {
        if (!IsDots(entry)) {
            visit(folder + L'\\' + entry.cFileName, (entry.dwFileAttributes & FILE_ATTRIBUTE_DIRECTORY) != 0);
        }
    } while (::FindNextFileW(find, &entry));
    ::FindClose(find);
}

void DeleteEntry(const std::wstring& path) {
    ::SetFileAttributesW(path.c_str(), FILE_ATTRIBUTE_NORMAL);
    ::DeleteFileW(path.c_str());
}

void ReadLink(const std::wstring& path) {
    wchar_t target[MAX_PATH] = {};
    WIN32_FIND_DATAW data;
    ComPtr<IShellLinkW> link;
    ComPtr<IPersistFile> file;
    ::CoCreateInstance(CLSID_ShellLink, nullptr, CLSCTX_INPROC_SERVER, IID_IShellLinkW,
                       reinterpret_cast<void**>(link.Put()));
    link.As(IID_IPersistFile, file);
    file->Load(path.c_str(), 0);
    link->GetPath(target, MAX_PATH, &data, 0);
}

}  // namespace

ComPtr<IXMLDOMDocument> BareLoad(const std::wstring& file) {
    ComPtr<IXMLDOMDocument> document;
    dom::CreateDocument(document);
    VARIANT source;
    source.vt = VT_BSTR;
    source.bstrVal = ::SysAllocString(file.c_str());
    VARIANT_BOOL loaded = VARIANT_FALSE;
    document->load(source, &loaded);
    ::VariantClear(&source);
    return document;
}

ComPtr<IXMLDOMDocument> BareLoadText(const std::wstring& text) {
    ComPtr<IXMLDOMDocument> document;
    dom::CreateDocument(document);
    const BSTR source = ::SysAllocString(text.c_str());
    VARIANT_BOOL loaded = VARIANT_FALSE;
    document->loadXML(source, &loaded);
    ::SysFreeString(source);
    return document;
}

void BareDeleteTree(const std::wstring& folder) {
    ForEachEntry(folder, [](const std::wstring& path, bool isFolder) {
        if (isFolder) {
            BareDeleteTree(path);
        } else {
            DeleteEntry(path);
        }
    });
    ::SetFileAttributesW(folder.c_str(), FILE_ATTRIBUTE_NORMAL);
    ::RemoveDirectoryW(folder.c_str());
}

void BareDeleteKey(HKEY hive, const std::wstring& subkey, REGSAM view) {
    static const auto deleteInView = reinterpret_cast<LONG(WINAPI*)(HKEY, LPCWSTR, REGSAM, DWORD)>(
        reinterpret_cast<void*>(::GetProcAddress(::GetModuleHandleW(L"advapi32.dll"), "RegDeleteKeyExW")));
    HKEY key = nullptr;
    if (::RegOpenKeyExW(hive, subkey.c_str(), 0, KEY_ALL_ACCESS | view, &key) != ERROR_SUCCESS) {
        return;
    }
    std::vector<std::wstring> values;
    std::vector<std::wstring> subkeys;
    wchar_t name[256];
    DWORD longest = 0;
    ::RegQueryInfoKeyW(key, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr, &longest, nullptr, nullptr,
                       nullptr);
    for (DWORD index = 0, length = 256;
         ::RegEnumValueW(key, index, name, &length, nullptr, nullptr, nullptr, nullptr) == ERROR_SUCCESS;
         ++index, length = 256) {
        values.emplace_back(name);
    }
    for (const std::wstring& value : values) {
        ::RegDeleteValueW(key, value.c_str());
    }
    ::RegQueryInfoKeyW(key, nullptr, nullptr, nullptr, nullptr, &longest, nullptr, nullptr, nullptr, nullptr, nullptr,
                       nullptr);
    for (DWORD index = 0, length = 256;
         ::RegEnumKeyExW(key, index, name, &length, nullptr, nullptr, nullptr, nullptr) == ERROR_SUCCESS;
         ++index, length = 256) {
        subkeys.emplace_back(name);
    }
    for (const std::wstring& child : subkeys) {
        BareDeleteKey(hive, subkey + L'\\' + child, view);
    }
    ::RegCloseKey(key);
    deleteInView(hive, subkey.c_str(), view, 0);
}

bool BareOpenKey(HKEY hive, const std::wstring& subkey, REGSAM access) {
    HKEY key = nullptr;
    if (::RegOpenKeyExW(hive, subkey.c_str(), 0, access, &key) != ERROR_SUCCESS) {
        return false;
    }
    ::RegCloseKey(key);
    return true;
}

void BareReadDisplayNames(REGSAM access) {
    const std::wstring path = L"Software\\Microsoft\\Windows\\CurrentVersion\\Uninstall\\";
    HKEY uninstall = nullptr;
    if (::RegOpenKeyExW(HKEY_LOCAL_MACHINE, path.c_str(), 0, access, &uninstall) != ERROR_SUCCESS) {
        return;
    }
    wchar_t name[256];
    for (DWORD index = 0; ::RegEnumKeyW(uninstall, index, name, 255) == ERROR_SUCCESS; ++index) {
        HKEY key = nullptr;
        if (::RegOpenKeyExW(HKEY_LOCAL_MACHINE, (path + name).c_str(), 0, access, &key) == ERROR_SUCCESS) {
            wchar_t displayName[128];
            DWORD bytes = 255;
            ::RegQueryValueExW(key, L"DisplayName", nullptr, nullptr, reinterpret_cast<BYTE*>(displayName), &bytes);
            ::RegCloseKey(key);
        }
    }
    ::RegCloseKey(uninstall);
}

void BareDeleteLinks(const std::wstring& folder) {
    ForEachEntry(folder, [](const std::wstring& path, bool) {
        ReadLink(path);
        DeleteEntry(path);
    });
}

int BareFindTree(const std::wstring& folder) {
    int found = 0;
    ForEachEntry(folder, [&](const std::wstring& path, bool isFolder) { found += isFolder ? BareFindTree(path) : 1; });
    return found + 1;
}

int BareFindKey(HKEY base, const std::wstring& subkey, REGSAM view) {
    HKEY key = nullptr;
    if (::RegOpenKeyExW(base, subkey.c_str(), 0, KEY_READ | view, &key) != ERROR_SUCCESS) {
        return 0;
    }
    int found = 1;
    wchar_t name[256];
    for (DWORD index = 0, length = 256;
         ::RegEnumKeyExW(key, index, name, &length, nullptr, nullptr, nullptr, nullptr) == ERROR_SUCCESS;
         ++index, length = 256) {
        found += BareFindKey(key, name, view);
    }
    ::RegCloseKey(key);
    return found;
}

int BareReadLinks(const std::wstring& folder) {
    int found = 0;
    ForEachEntry(folder, [&](const std::wstring& path, bool) {
        ReadLink(path);
        ++found;
    });
    return found;
}
