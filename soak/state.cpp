#include "state.h"

#include <algorithm>
#include <stdexcept>
#include <vector>

#include "foundation/owned.h"
#include "native.h"
#include "places.h"
#include "text.h"

namespace {

constexpr std::size_t kBufferBytes = 0x10000;

// The 32-bit classes stand here a second time.
constexpr wchar_t kMirror[] = L"\\registry\\machine\\software\\wow6432node\\classes";

// Below the software of either view.
constexpr const wchar_t* kFar[] = {
    L"classes\\clsid",
    L"classes\\interface",
    L"classes\\mime\\database",
    L"classes\\typelib",
    L"classes\\wow6432node\\clsid",
    L"classes\\wow6432node\\interface",
    L"classes\\wow6432node\\typelib",
    L"microsoft\\cryptography",
    L"microsoft\\windows\\currentversion\\telephony",
    L"microsoft\\windows\\currentversion\\time zones",
    L"microsoft\\windows nt\\currentversion\\time zones",
};

bool IsFar(const std::wstring& path) {
    constexpr std::wstring_view kSoftware = L"\\registry\\machine\\software\\";
    constexpr std::wstring_view kOther = L"wow6432node\\";
    std::wstring_view below = path;
    if (!below.starts_with(kSoftware)) {
        return false;
    }
    below.remove_prefix(kSoftware.size());
    below.remove_prefix(below.starts_with(kOther) ? kOther.size() : 0);
    return std::find(std::begin(kFar), std::end(kFar), below) != std::end(kFar);
}

UNICODE_STRING Counted(const std::wstring& text) {
    const USHORT bytes = static_cast<USHORT>(text.size() * sizeof(wchar_t));
    return {bytes, bytes, const_cast<wchar_t*>(text.c_str())};
}

FileFacts FactsOf(const FILE_DIRECTORY_INFORMATION& entry) {
    const bool folder = (entry.FileAttributes & FILE_ATTRIBUTE_DIRECTORY) != 0;
    return {entry.FileAttributes, folder ? 0 : entry.EndOfFile.QuadPart, entry.LastWriteTime.QuadPart,
            folder ? 0 : entry.LastAccessTime.QuadPart, entry.ChangeTime.QuadPart};
}

void WalkFolder(const std::wstring& path, std::map<std::wstring, FileFacts>& files) {
    // In this form no name is folded or cut.
    const OwnedFileHandle folder(::CreateFileW((L"\\\\?\\" + path + L"\\").c_str(), FILE_LIST_DIRECTORY,
                                               FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE, nullptr,
                                               OPEN_EXISTING, FILE_FLAG_BACKUP_SEMANTICS, nullptr));
    if (!folder) {
        throw std::runtime_error("cannot list " + ToUtf8(path));
    }
    std::vector<std::wstring> folders;
    alignas(8) static char buffer[kBufferBytes];
    IO_STATUS_BLOCK status = {};
    while (::NtQueryDirectoryFile(folder.Get(), nullptr, nullptr, nullptr, &status, buffer, sizeof buffer,
                                  FileDirectoryInformation, FALSE, nullptr, FALSE) >= 0) {
        ULONG next = 0;
        const char* at = buffer;
        do {
            at += next;
            const auto& entry = *reinterpret_cast<const FILE_DIRECTORY_INFORMATION*>(at);
            next = entry.NextEntryOffset;
            const std::wstring name(entry.FileName, entry.FileNameLength / sizeof(wchar_t));
            if (name == L"." || name == L"..") {
                continue;
            }
            const std::wstring place = path + L'\\' + name;
            const FileFacts facts = FactsOf(entry);
            if (place == kWorkFolder) {
                continue;
            }
            files.emplace(place, facts);
            // What a link leads to stands at its own place.
            if (facts.IsFolder() && !facts.IsLink()) {
                folders.push_back(place);
            }
        } while (next != 0);
    }
    for (const std::wstring& inner : folders) {
        WalkFolder(inner, files);
    }
}

OwnedRegKey OpenNative(HKEY parent, const std::wstring& name) {
    UNICODE_STRING counted = Counted(name);
    OBJECT_ATTRIBUTES attributes = {};
    attributes.Length = sizeof attributes;
    attributes.RootDirectory = parent;
    attributes.ObjectName = &counted;
    HANDLE key = nullptr;
    if (::NtOpenKeyEx(&key, KEY_READ | KEY_WOW64_64KEY, &attributes, native::kOpenLink) < 0) {
        key = nullptr;
    }
    return OwnedRegKey(static_cast<HKEY>(key));
}

class RegistryWalk {
public:
    RegistryWalk(const MachineState& earlier, MachineState& state, Reach reach)
        : m_earlier(earlier), m_state(state), m_reach(reach) {}

    void Walk(HKEY parent, const std::wstring& name, const std::wstring& path) {
        const OwnedRegKey key = OpenNative(parent, name);
        if (!key) {
            return;  // gone since its parent was listed
        }
        native::KeyFull full = {};
        ULONG needed = 0;
        ::NtQueryKey(key.Get(), native::kKeyFull, &full, sizeof full, &needed);
        Add(path, full, key.Get());
        if (m_reach == Reach::Near && IsFar(path)) {
            TakeOverBelow(path);
            return;
        }
        for (ULONG index = 0; index < full.subkeys; ++index) {
            WalkChild(key.Get(), index, path);
        }
    }

private:
    // Keys without subkeys and with known values need not be opened.
    void WalkChild(HKEY key, ULONG index, const std::wstring& path) {
        alignas(8) char buffer[0x400];
        ULONG needed = 0;
        if (::NtEnumerateKey(key, index, 0, buffer, sizeof buffer, &needed) < 0) {
            return;
        }
        const auto& basic = *reinterpret_cast<const native::KeyBasic*>(buffer);
        const std::wstring name(basic.name, basic.nameBytes / sizeof(wchar_t));
        const std::wstring place = path + L'\\' + Lower(name);
        if (place == kMirror) {
            return;
        }
        native::KeyFull full = {};
        const NTSTATUS status = ::NtEnumerateKey(key, index, native::kKeyFull, &full, sizeof full, &needed);
        const auto known = m_earlier.keys.find(place);
        const bool same = known != m_earlier.keys.end() && known->second.written == basic.written.QuadPart;
        if (status >= 0 && full.subkeys == 0 && full.written.QuadPart == basic.written.QuadPart &&
            (same || full.values == 0)) {
            Add(place, full, nullptr);
        } else {
            Walk(key, name, place);
        }
    }

    void TakeOverBelow(const std::wstring& path) {
        const std::wstring begin = path + L'\\';
        for (auto known = m_earlier.keys.lower_bound(begin);
             known != m_earlier.keys.end() && known->first.starts_with(begin); ++known) {
            m_state.keys.insert(*known);
        }
    }

    void Add(const std::wstring& path, const native::KeyFull& full, HKEY key) {
        KeyFacts& facts = m_state.keys[path];
        facts.written = full.written.QuadPart;
        const auto known = m_earlier.keys.find(path);
        if (known != m_earlier.keys.end() && known->second.written == facts.written) {
            facts.values = known->second.values;
        } else {
            facts.values = std::make_shared<const Values>(full.values == 0 ? Values() : ReadValues(key));
        }
    }

    static Values ReadValues(HKEY key) {
        Values values;
        std::vector<LONGLONG> buffer(0x400 / sizeof(LONGLONG));
        ULONG index = 0;
        for (;;) {
            ULONG needed = 0;
            const ULONG bytes = static_cast<ULONG>(buffer.size() * sizeof(LONGLONG));
            const NTSTATUS status =
                ::NtEnumerateValueKey(key, index, native::kValueFull, buffer.data(), bytes, &needed);
            if (needed > bytes) {
                buffer.resize(needed / sizeof(LONGLONG) + 1);
                continue;
            }
            if (status < 0) {
                return values;
            }
            const auto& value = *reinterpret_cast<const native::ValueFull*>(buffer.data());
            const char* const bytesOfValue = reinterpret_cast<const char*>(buffer.data()) + value.dataOffset;
            values[Lower(std::wstring(value.name, value.nameBytes / sizeof(wchar_t)))] =
                std::to_string(value.type) + ' ' + std::string(bytesOfValue, value.dataBytes);
            ++index;
        }
    }

    const MachineState& m_earlier;
    MachineState& m_state;
    const Reach m_reach;
};

void CompareFacts(const std::wstring& path, const FileFacts& before, const FileFacts& after, Difference& difference) {
    unsigned how = before.attributes != after.attributes ? kAttributes : 0u;
    how |= before.size != after.size ? kSize : 0u;
    how |= before.written != after.written ? kWritten : 0u;
    how |= before.changed != after.changed ? kTouched : 0u;
    how |= before.read != after.read ? kRead : 0u;
    if (how != 0) {
        difference.changed[path] = how;
    }
}

void CompareFacts(const std::wstring& path, const KeyFacts& before, const KeyFacts& after, Difference& difference) {
    if (before.written != after.written) {
        difference.changed[path] = kTouched;
    }
    if (before.values == after.values) {
        return;
    }
    for (const auto& [name, data] : *before.values) {
        const auto found = after.values->find(name);
        if (found == after.values->end()) {
            difference.gone.insert(ValuePlace(path, name));
        } else if (found->second != data) {
            difference.changed[ValuePlace(path, name)] = kData;
        }
    }
    for (const auto& [name, data] : *after.values) {
        if (!before.values->contains(name)) {
            difference.fresh.insert(ValuePlace(path, name));
        }
    }
}

void AddWhole(const std::wstring& path, const FileFacts&, std::set<std::wstring>& things) {
    things.insert(path);
}

void AddWhole(const std::wstring& path, const KeyFacts& key, std::set<std::wstring>& things) {
    things.insert(path);
    for (const auto& [name, data] : *key.values) {
        things.insert(ValuePlace(path, name));
    }
}

template <typename Facts>
void CompareMaps(const std::map<std::wstring, Facts>& before, const std::map<std::wstring, Facts>& after,
                 Difference& difference) {
    auto left = before.begin();
    auto right = after.begin();
    while (left != before.end() || right != after.end()) {
        if (right == after.end() || (left != before.end() && left->first < right->first)) {
            AddWhole(left->first, left->second, difference.gone);
            ++left;
        } else if (left == before.end() || right->first < left->first) {
            AddWhole(right->first, right->second, difference.fresh);
            ++right;
        } else {
            CompareFacts(left->first, left->second, right->second, difference);
            ++left;
            ++right;
        }
    }
}

}  // namespace

MachineState TakeState(const MachineState& earlier, Reach reach) {
    MachineState state;
    WalkFolder(L"C:", state.files);
    RegistryWalk walk(earlier, state, reach);
    walk.Walk(nullptr, L"\\Registry\\Machine", L"\\registry\\machine");
    walk.Walk(nullptr, L"\\Registry\\User", L"\\registry\\user");
    return state;
}

std::wstring RealKeyPath(const std::wstring& path, int view) {
    struct Hive {
        const wchar_t* name;
        HKEY key;
    };
    static const Hive kHives[] = {
        {L"hkey_local_machine", HKEY_LOCAL_MACHINE}, {L"hklm", HKEY_LOCAL_MACHINE}, {L"hkey_users", HKEY_USERS},
        {L"hkey_current_user", HKEY_CURRENT_USER},   {L"hkcu", HKEY_CURRENT_USER},  {L"hku", HKEY_USERS},
        {L"hkey_classes_root", HKEY_CLASSES_ROOT},   {L"hkcr", HKEY_CLASSES_ROOT},
    };
    const std::size_t separator = path.find(L'\\');
    const std::wstring hive = Lower(path.substr(0, separator));
    const std::wstring subkey = separator == std::wstring::npos ? std::wstring() : path.substr(separator + 1);
    const REGSAM access = KEY_READ | (view == 64 ? KEY_WOW64_64KEY : view == 32 ? KEY_WOW64_32KEY : 0);
    for (const Hive& known : kHives) {
        OwnedRegKey key;
        if (hive != known.name || ::RegOpenKeyExW(known.key, subkey.c_str(), 0, access, key.Put()) != ERROR_SUCCESS) {
            continue;
        }
        alignas(8) char buffer[0x1000];
        ULONG needed = 0;
        if (::NtQueryKey(key.Get(), native::kKeyName, buffer, sizeof buffer, &needed) >= 0) {
            const auto& name = *reinterpret_cast<const native::KeyName*>(buffer);
            return Lower(std::wstring(name.name, name.nameBytes / sizeof(wchar_t)));
        }
    }
    return {};
}

std::wstring ValuePlace(const std::wstring& keyPlace, const std::wstring& name) {
    return keyPlace + L"\\\\" + Lower(name);
}

Difference Compare(const MachineState& before, const MachineState& after) {
    Difference difference;
    CompareMaps(before.files, after.files, difference);
    CompareMaps(before.keys, after.keys, difference);
    return difference;
}
