#include "bare.h"
#include "bench.h"
#include "foundation/CLogDLL.h"
#include "operations/COperations.h"
#include "operations/CRegKeyHelper.h"
#include "support/registry_sandbox.h"
#include "support/temp_folder.h"

namespace {

constexpr int kFolders = 100;
constexpr int kFilesPerFolder = 100;
constexpr int kKeys = 5000;
constexpr int kValuesPerKey = 3;
constexpr int kRestartEntries = 5000;

// The library always logs: without log.dll its statements end in the fallback writer. With it they are written.
class Logging {
public:
    explicit Logging(bool toFile) {
        if (toFile) {
            m_module = ::LoadLibraryW((DistFolder() + L"\\log.dll").c_str());
            Require(m_module != nullptr, "log.dll does not load");
            const auto find = [&](const char* name) {
                return reinterpret_cast<void*>(::GetProcAddress(m_module, name));
            };
            reinterpret_cast<HRESULT(__cdecl*)(const wchar_t*)>(find("LogSetPath"))(
                m_folder.Path(L"bench.log").c_str());
            reinterpret_cast<HRESULT(__cdecl*)(DWORD)>(find("LogSetLevel"))(0x10);
        }
        logging::CLogDLL::AddReference();
    }
    ~Logging() {
        logging::CLogDLL::Release();
        if (m_module != nullptr) {
            ::FreeLibrary(m_module);
        }
    }
    bool HasWritten() const {
        WIN32_FILE_ATTRIBUTE_DATA file = {};
        return ::GetFileAttributesExW(m_folder.Path(L"bench.log").c_str(), GetFileExInfoStandard, &file) &&
               file.nFileSizeLow > 1000000;  // two lines a file are far more
    }

    Logging(const Logging&) = delete;
    Logging& operator=(const Logging&) = delete;

private:
    TempFolder m_folder;
    HMODULE m_module = nullptr;
};

std::wstring MakeTree(const TempFolder& folder) {
    for (int directory = 0; directory < kFolders; ++directory) {
        for (int file = 0; file < kFilesPerFolder; ++file) {
            folder.WriteFile(L"tree\\folder " + std::to_wstring(directory) + L"\\file " + std::to_wstring(file), "");
        }
    }
    return folder.Path(L"tree");
}

double DeleteFolder(bool logToFile) {
    const TempFolder folder;
    const std::wstring tree = MakeTree(folder);
    const Logging logging(logToFile);
    const double seconds = Seconds([&] { COperations().DelFolder(tree, nullptr); });
    Require(!FileExists(tree), "the tree stands");
    Require(!logToFile || logging.HasWritten(), "the log was not written");
    return seconds;
}

double DeleteFolderBare() {
    const TempFolder folder;
    const std::wstring tree = MakeTree(folder);
    return Seconds([&] { BareDeleteTree(tree); });
}

std::wstring KeyName(int index) {
    return L"tree\\group " + std::to_wstring(index / 100) + L"\\key " + std::to_wstring(index);
}

void MakeKeys(const RegistrySandbox& sandbox) {
    for (int key = 0; key < kKeys; ++key) {
        for (int value = 0; value < kValuesPerKey; ++value) {
            sandbox.SetString(KeyName(key), L"value " + std::to_wstring(value), L"some text", View::Bits64);
        }
    }
}

double DeleteKeys() {
    const RegistrySandbox sandbox;
    MakeKeys(sandbox);
    const Logging logging(false);
    const double seconds = Seconds([&] { CRegKeyHelper::DeleteKey(sandbox.Path(L"tree"), false, nullptr); });
    Require(sandbox.Dump(View::Bits64).empty(), "the keys stand");
    return seconds;
}

double DeleteKeysBare() {
    const RegistrySandbox sandbox;
    MakeKeys(sandbox);
    const double seconds =
        Seconds([&] { BareDeleteKey(HKEY_LOCAL_MACHINE, sandbox.Subkey(L"tree"), KEY_WOW64_64KEY); });
    Require(sandbox.Dump(View::Bits64).empty(), "the keys stand");
    return seconds;
}

double CheckKeys() {
    const RegistrySandbox sandbox;
    MakeKeys(sandbox);
    const Logging logging(false);
    return Seconds([&] {
        for (int key = 0; key < kKeys; ++key) {
            const std::wstring path = sandbox.Path(KeyName(key));
            CRegKeyHelper::CheckKey(path, false);
            CRegKeyHelper::CheckValue(path, L"value 1", false);
        }
    });
}

double CheckKeysBare() {
    const RegistrySandbox sandbox;
    MakeKeys(sandbox);
    return Seconds([&] {
        for (int index = 0; index < kKeys; ++index) {
            const std::wstring subkey = sandbox.Subkey(KeyName(index));
            BareOpenKey(HKEY_LOCAL_MACHINE, subkey, KEY_ALL_ACCESS | KEY_WOW64_64KEY);
            HKEY key = nullptr;
            ::RegOpenKeyExW(HKEY_LOCAL_MACHINE, subkey.c_str(), 0, KEY_ALL_ACCESS | KEY_WOW64_64KEY, &key);
            ::RegQueryValueExW(key, L"value 1", nullptr, nullptr, nullptr, nullptr);
            ::RegCloseKey(key);
        }
    });
}

double FillRestartList(int count) {
    std::vector<std::wstring> paths;
    for (int index = 0; index < count; ++index) {
        paths.push_back(L"C:\\Program Files\\product\\folder\\file " + std::to_wstring(index));
    }
    RestartList list;
    COperations operations(&list);
    return Seconds([&] {
        for (const std::wstring& path : paths) {
            operations.AddRestartDel(path);
            operations.AddRestartDel(path);
        }
    });
}

}  // namespace

void AddPrimitives(std::vector<Comparison>& comparisons) {
    comparisons.push_back({"DelFolder, 10,000 files, no log.dll", "the same calls in a bare loop", 1.25,
                           [] { return DeleteFolder(false); }, &DeleteFolderBare});
    comparisons.push_back({"DelFolder, 10,000 files, log.dll at info", "the same calls in a bare loop", 2.0,
                           [] { return DeleteFolder(true); }, &DeleteFolderBare});
    comparisons.push_back({"DeleteKey, 5,000 keys of 3 values", "snapshot and delete calls in a bare loop", 1.2,
                           &DeleteKeys, &DeleteKeysBare});
    comparisons.push_back(
        {"CheckKey and CheckValue, 5,000 each", "bare open and query calls", 1.2, &CheckKeys, &CheckKeysBare});
    comparisons.push_back({"Restart list, 10,000 entries", "5,000 entries", 2.3,
                           [] { return FillRestartList(2 * kRestartEntries); },
                           [] { return FillRestartList(kRestartEntries); }});
}
