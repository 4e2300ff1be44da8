#include "machine.h"

#include <shlobj.h>

#include <stdexcept>

#include "foundation/com.h"
#include "native.h"
#include "places.h"
#include "programs.h"
#include "state.h"
#include "text.h"

namespace {

constexpr DWORD kLimit = 60000;  // milliseconds, for what takes a moment on a busy machine

void Require(bool condition, const std::string& what) {
    if (!condition) {
        throw std::runtime_error(what + " failed, error " + std::to_string(::GetLastError()));
    }
}

// In this form no name is folded or cut, and no path is too long.
std::wstring Unfolded(const std::wstring& path) {
    return L"\\\\?\\" + path;
}

void MakeFolders(const std::wstring& path) {
    for (std::size_t at = path.find(L'\\', 3); at != std::wstring::npos; at = path.find(L'\\', at + 1)) {
        ::CreateDirectoryW(Unfolded(path.substr(0, at)).c_str(), nullptr);
    }
}

DWORD Number(const std::wstring& word, DWORD otherwise) {
    return word.empty() ? otherwise : std::stoul(word, nullptr, 0);
}

void SetAttributes(const std::wstring& path, const std::wstring& word) {
    if (!word.empty()) {
        Require(::SetFileAttributesW(Unfolded(path).c_str(), Number(word, 0)), "attributes of " + ToUtf8(path));
    }
}

// What stands there already stays: on a machine with one view two folders of the system are one.
void MakeFile(const std::wstring& path, const std::wstring& attributes) {
    if (::GetFileAttributesW(Unfolded(path).c_str()) != INVALID_FILE_ATTRIBUTES) {
        return;
    }
    const OwnedFileHandle file(
        ::CreateFileW(Unfolded(path).c_str(), GENERIC_WRITE, 0, nullptr, CREATE_NEW, 0, nullptr));
    DWORD written = 0;
    const std::string content = ToUtf8(path);
    Require(static_cast<bool>(file), "file " + content);
    ::WriteFile(file.Get(), content.data(), static_cast<DWORD>(content.size()), &written, nullptr);
    SetAttributes(path, attributes);
}

void MakeShortcut(const std::wstring& path, const std::wstring& target) {
    ComPtr<IShellLinkW> link;
    ComPtr<IPersistFile> file;
    Require(::CoCreateInstance(CLSID_ShellLink, nullptr, CLSCTX_INPROC_SERVER, IID_IShellLinkW,
                               reinterpret_cast<void**>(link.Put())) == S_OK,
            "shell link");
    link->SetPath(target.c_str());
    link.As(IID_IPersistFile, file);
    Require(file->Save(path.c_str(), FALSE) == S_OK, "shortcut " + ToUtf8(path));
}

OwnedRegKey MakeKey(const std::wstring& view, const std::wstring& path) {
    const std::size_t separator = path.find(L'\\');
    const std::wstring hive = path.substr(0, separator);
    const HKEY root = hive == L"HKLM"   ? HKEY_LOCAL_MACHINE
                      : hive == L"HKCU" ? HKEY_CURRENT_USER
                      : hive == L"HKCR" ? HKEY_CLASSES_ROOT
                                        : nullptr;
    const REGSAM access = KEY_READ | KEY_WRITE |
                          (view == L"32"   ? KEY_WOW64_32KEY
                           : view == L"64" ? KEY_WOW64_64KEY
                                           : 0);
    OwnedRegKey key;
    const LSTATUS status =
        ::RegCreateKeyExW(root, path.substr(separator + 1).c_str(), 0, nullptr, 0, access, nullptr, key.Put(), nullptr);
    ::SetLastError(static_cast<DWORD>(status));
    Require(status == ERROR_SUCCESS, "key " + ToUtf8(path));
    return key;
}

void MakeValue(const OwnedRegKey& key, const std::wstring& name, DWORD type, const std::wstring& data) {
    const bool text = type == REG_SZ || type == REG_EXPAND_SZ || type == REG_MULTI_SZ;
    const DWORD number = text ? 0 : Number(data, 0);
    const BYTE* const bytes =
        text ? reinterpret_cast<const BYTE*>(data.c_str()) : reinterpret_cast<const BYTE*>(&number);
    const std::size_t size = text ? (data.size() + 1) * sizeof(wchar_t) : sizeof number;
    Require(::RegSetValueExW(key.Get(), name.c_str(), 0, type, bytes, static_cast<DWORD>(size)) == ERROR_SUCCESS,
            "value " + ToUtf8(name));
}

void DeleteKeyTree(const std::wstring& place) {
    const std::size_t users = 15;  // "\registry\user\" and "\registry\machine\" end at a backslash each
    const bool ofUser = place.starts_with(L"\\registry\\user\\");
    const std::wstring below = place.substr(ofUser ? users : users + 3);
    OwnedRegKey key;
    if (::RegOpenKeyExW(ofUser ? HKEY_USERS : HKEY_LOCAL_MACHINE, below.c_str(), 0, DELETE | KEY_READ | KEY_WOW64_64KEY,
                        key.Put()) != ERROR_SUCCESS) {
        return;
    }
    for (;;) {
        wchar_t name[256];
        DWORD units = 256;
        if (::RegEnumKeyExW(key.Get(), 0, name, &units, nullptr, nullptr, nullptr, nullptr) != ERROR_SUCCESS) {
            break;
        }
        DeleteKeyTree(place + L'\\' + name);
    }
    Require(::NtDeleteKey(key.Get()) >= 0, "deleting " + ToUtf8(place));
}

void DeleteValue(const std::wstring& place) {
    const std::size_t separator = place.find(L"\\\\");
    const std::wstring key = place.substr(0, separator);
    const bool ofUser = key.starts_with(L"\\registry\\user\\");
    OwnedRegKey opened;
    if (::RegOpenKeyExW(ofUser ? HKEY_USERS : HKEY_LOCAL_MACHINE, key.substr(ofUser ? 15 : 18).c_str(), 0,
                        KEY_SET_VALUE | KEY_WOW64_64KEY, opened.Put()) == ERROR_SUCCESS) {
        ::RegDeleteValueW(opened.Get(), place.substr(separator + 2).c_str());
    }
}

}  // namespace

std::string ToText(const Things& things) {
    std::string text;
    for (const Thing& thing : things) {
        text += ToUtf8(thing.kind);
        for (const std::wstring& word : thing.words) {
            text += '\t' + ToUtf8(word);
        }
        text += '\n';
    }
    return text;
}

Things ThingsFromText(const std::string& text) {
    Things things;
    for (const std::wstring& line : Split(FromUtf8(text), L'\n')) {
        if (!line.empty()) {
            std::vector<std::wstring> words = Split(line, L'\t');
            const std::wstring kind = words.front();
            words.erase(words.begin());
            things.push_back({kind, std::move(words)});
        }
    }
    return things;
}

Holder::Holder(const std::wstring& image, const std::vector<std::pair<std::wstring, DWORD>>& files) : m_image(image) {
    static unsigned count = 0;
    const std::wstring name =
        L"prodrm-soak-" + std::to_wstring(::GetCurrentProcessId()) + L'-' + std::to_wstring(++count);
    const OwnedHandle ready(::CreateEventW(nullptr, TRUE, FALSE, (name + L"-ready").c_str()));
    m_end = OwnedHandle(::CreateEventW(nullptr, TRUE, FALSE, (name + L"-end").c_str()));
    std::wstring command = L"\"" + image + L"\" " + name;
    for (const auto& [path, share] : files) {
        command += L' ' + std::to_wstring(share) + L" \"" + path + L'"';
    }
    m_process = StartProgram(command, {}, kWorkFolder);
    const HANDLE either[] = {ready.Get(), m_process.Get()};
    if (::WaitForMultipleObjects(2, either, FALSE, kLimit) != WAIT_OBJECT_0) {
        throw std::runtime_error("a holder does not hold: " + ToUtf8(command));
    }
}

Holder::~Holder() {
    if (m_end) {
        ::SetEvent(m_end.Get());
        ::WaitForSingleObject(m_process.Get(), kLimit);
    }
}

Machine::Machine(const Things& things) {
    for (const Thing& thing : things) {
        Make(thing);
    }
    if (!m_unixScript.empty()) {
        RunUnixScript(m_unixScript);
    }
    StartHolders(things);
}

void Machine::Make(const Thing& thing) {
    const std::wstring place = Expand(thing.Word(0));
    const std::wstring second = Expand(thing.Word(1));
    if (thing.kind == L"key") {
        MakeKey(place, second);
    } else if (thing.kind == L"value") {
        MakeValue(MakeKey(place, second), thing.Word(2), Number(thing.Word(3), REG_SZ), Expand(thing.Word(4)));
    } else if (thing.kind == L"hold") {
        m_held[place] = Number(second, 0);
    } else {
        MakeFolders(place);
        if (thing.kind == L"folder") {
            ::CreateDirectoryW(Unfolded(place).c_str(), nullptr);
            SetAttributes(place, second);
        } else if (thing.kind == L"file") {
            MakeFile(place, second);
        } else if (thing.kind == L"shortcut") {
            MakeShortcut(place, second);
        } else if (thing.kind == L"program") {
            Require(::CopyFileW(HolderImage().c_str(), Unfolded(place).c_str(), TRUE), "program " + ToUtf8(place));
        } else if (thing.kind == L"unix") {
            m_unixScript += "touch " + UnixPath(place) + '\n';
        } else if (thing.kind == L"link") {
            m_unixScript += "ln -s " + UnixPath(second) + ' ' + UnixPath(place) + '\n';
            m_links[place] = second;
        } else {
            throw std::runtime_error("unknown kind of thing: " + ToUtf8(thing.kind));
        }
    }
}

void Machine::StartHolders(const Things& things) {
    std::map<std::wstring, std::vector<std::pair<std::wstring, DWORD>>> files;
    for (const Thing& thing : things) {
        if (thing.kind == L"program") {
            files[Expand(thing.Word(0))];
        } else if (thing.kind == L"hold") {
            const std::wstring holder = thing.Word(2).empty() ? HolderImage() : Expand(thing.Word(2));
            files[holder].emplace_back(Expand(thing.Word(0)), Number(thing.Word(1), 0));
        }
    }
    for (const auto& [image, held] : files) {
        m_holders.emplace_back(image, held);
    }
}

std::string UnixPath(const std::wstring& path) {
    std::string quoted = "'";
    for (const char unit : ToUtf8(path.substr(3))) {
        if (unit == '\'') {
            quoted += "'\\''";
        } else {
            quoted += unit == '\\' ? '/' : unit;
        }
    }
    // Absolute, as links shall lead there from any folder.
    return "\"$PWD\"/" + quoted + '\'';
}

void RunUnixScript(const std::string& script) {
    const std::wstring folder = kWorkFolder;
    const std::wstring done = folder + L"\\script-done";
    ::DeleteFileW(done.c_str());
    WriteWholeFile(folder + L"\\script",
                   "cd \"$WINEPREFIX/drive_c\" || exit\n" + script + ": >prodrm-soak/script-done\n");
    // The system gives no handle of a Unix program.
    StartProgram(L"\\\\?\\unix\\bin\\sh -c \". \\\"$WINEPREFIX/drive_c/prodrm-soak/script\\\"\"", {}, kWorkFolder);
    const DWORD begin = ::GetTickCount();
    while (::GetFileAttributesW(done.c_str()) == INVALID_FILE_ATTRIBUTES) {
        if (::GetTickCount() - begin > kLimit) {
            throw std::runtime_error("a script of the Unix side does not end");
        }
        ::Sleep(1);
    }
}

void Clean(const MachineState& base, const MachineState& now) {
    const Difference difference = Compare(base, now);
    std::string script;
    std::wstring top = L"|";  // no path begins like this
    for (const std::wstring& place : difference.fresh) {
        if (place.starts_with(top + L'\\')) {
            continue;
        }
        top = place;
        if (!place.starts_with(L"\\")) {
            script += "rm -rf " + UnixPath(place) + '\n';
        } else if (place.find(L"\\\\") == std::wstring::npos) {
            DeleteKeyTree(place);
        } else {
            DeleteValue(place);
        }
    }
    if (!script.empty()) {
        RunUnixScript(script);
    }
}
