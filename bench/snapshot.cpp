#include <memory>
#include <vector>

#include "author/snapshot/exclusions.h"
#include "author/snapshot/file_walk.h"
#include "author/snapshot/key_walk.h"
#include "bare.h"
#include "bench.h"
#include "foundation/owned.h"
#include "support/registry_sandbox.h"
#include "support/temp_folder.h"

namespace {

constexpr int kFolders = 500;
constexpr int kFilesPerFolder = 200;
constexpr int kKeys = 25000;
constexpr int kValuesPerKey = 3;

// 100,000 files, made for the first pass that asks for them.
const std::wstring& Files() {
    static std::unique_ptr<TempFolder> folder;
    static std::wstring path;
    if (!folder) {
        folder = std::make_unique<TempFolder>();
        path = folder->Path();
        for (int index = 0; index < kFolders * kFilesPerFolder; ++index) {
            folder->WriteFile(L"folder " + std::to_wstring(index / kFilesPerFolder) + L"\\file " +
                              std::to_wstring(index % kFilesPerFolder) + L".txt");
        }
    }
    return path;
}

// 100,000 keys and values, likewise.
const std::wstring& Keys() {
    static std::unique_ptr<RegistrySandbox> sandbox;
    static std::wstring path;
    if (!sandbox) {
        sandbox = std::make_unique<RegistrySandbox>();
        path = sandbox->Subkey();
        for (int index = 0; index < kKeys; ++index) {
            const std::wstring key = L"key " + std::to_wstring(index / 50) + L"\\sub " + std::to_wstring(index % 50);
            for (int value = 0; value < kValuesPerKey; ++value) {
                sandbox->SetString(key, L"value " + std::to_wstring(value), L"C:\\Program Files\\Birkenfeld\\file.txt");
            }
        }
    }
    return path;
}

// What a walk writes into a file, timed.
template <typename Walk>
double SecondsOfWalk(const Walk& walk) {
    const TempFolder folder;
    return Seconds([&] {
        const tools::author::Exclusions exclusions("*:\\prodrm-author\n");  // the default leaves this folder out
        tools::author::LineWriter out(folder.Path(L"snapshot"));
        walk(exclusions, out);
        out.Close();
        Require(out.Lines() >= kFolders * kFilesPerFolder, "a snapshot of everything");
    });
}

// Opens, asks for the longest names, enumerates values with data and subkeys, goes down.
int BareReadKey(HKEY parent, const std::wstring& name) {
    OwnedRegKey key;
    DWORD longestName = 0;
    DWORD longestValue = 0;
    DWORD longestData = 0;
    Require(::RegOpenKeyExW(parent, name.c_str(), 0, KEY_READ, key.Put()) == ERROR_SUCCESS &&
                ::RegQueryInfoKeyW(key.Get(), nullptr, nullptr, nullptr, nullptr, &longestName, nullptr, nullptr,
                                   &longestValue, &longestData, nullptr, nullptr) == ERROR_SUCCESS,
            "a key");
    int things = 1;
    std::vector<wchar_t> text(longestName + longestValue + 2);
    std::vector<BYTE> data(longestData + 1);
    for (DWORD index = 0;; ++index) {
        DWORD length = static_cast<DWORD>(text.size());
        DWORD bytes = static_cast<DWORD>(data.size());
        DWORD type = REG_NONE;
        if (::RegEnumValueW(key.Get(), index, text.data(), &length, nullptr, &type, data.data(), &bytes) !=
            ERROR_SUCCESS) {
            break;
        }
        ++things;
    }
    std::vector<std::wstring> subkeys;
    for (DWORD index = 0;; ++index) {
        DWORD length = static_cast<DWORD>(text.size());
        if (::RegEnumKeyExW(key.Get(), index, text.data(), &length, nullptr, nullptr, nullptr, nullptr) !=
            ERROR_SUCCESS) {
            break;
        }
        subkeys.emplace_back(text.data(), length);
    }
    for (const std::wstring& subkey : subkeys) {
        things += BareReadKey(key.Get(), subkey);
    }
    return things;
}

}  // namespace

void AddSnapshot(std::vector<Comparison>& comparisons) {
    using tools::author::Exclusions;
    using tools::author::LineWriter;
    comparisons.push_back({"snapshot, 100,000 files", "a bare walk with the same calls", 1.3,
                           [] {
                               const std::wstring& files = Files();
                               return SecondsOfWalk([&](const Exclusions& exclusions, LineWriter& out) {
                                   tools::author::WriteFiles(files, exclusions, out);
                               });
                           },
                           [] {
                               const std::wstring& files = Files();
                               return Seconds(
                                   [&] { Require(BareFindTree(files) >= kFolders * kFilesPerFolder, "every file"); });
                           }});
    comparisons.push_back({"snapshot, 100,000 keys and values", "a bare walk with the same calls", 1.3,
                           [] {
                               const std::wstring& keys = Keys();
                               return SecondsOfWalk([&](const Exclusions& exclusions, LineWriter& out) {
                                   tools::author::WriteKeys(HKEY_LOCAL_MACHINE, keys, L"HKLM", exclusions, out);
                               });
                           },
                           [] {
                               const std::wstring& keys = Keys();
                               return Seconds([&] {
                                   Require(BareReadKey(HKEY_LOCAL_MACHINE, keys) >= 100000, "100,000 keys and values");
                               });
                           }});
}
