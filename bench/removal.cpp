#include <prodrm.h>

#include <psapi.h>
#include <shlobj.h>

#include <cstdio>

#include "bare.h"
#include "bench.h"
#include "support/registry_sandbox.h"
#include "support/temp_folder.h"

namespace {

constexpr int kFolders = 100;
constexpr int kKeys = 2000;
constexpr int kLinks = 200;
constexpr int kMissing = 10000;  // elements of each of three kinds

using UninstallExport = bool(__cdecl*)(const ProductEntry*, bool*, NotifyCallback);

const char kCatalogue[] =
    "<uninstall_information><product name=\"product\" file=\"product.xml\"/></uninstall_information>";
const char kScriptBegin[] = "<uninstall_information><version_list><v1/></version_list><v1><win_nt>";
const char kScriptEnd[] = "</win_nt></v1></uninstall_information>";

// The thing to remove: a tree of files, a tree of keys and a folder of links.
class Machine {
public:
    explicit Machine(int files) {
        for (int file = 0; file < files; ++file) {
            m_folder.WriteFile(L"tree\\folder " + std::to_wstring(file % kFolders) + L"\\file " + std::to_wstring(file),
                               "");
        }
        for (int key = 0; key < kKeys; ++key) {
            m_sandbox.SetString(L"tree\\group " + std::to_wstring(key / 100) + L"\\key " + std::to_wstring(key),
                                L"value", L"some text", View::Bits64);
        }
        MakeLinks();
    }

    std::string Script() const {
        return kScriptBegin + ("<s op_code=\"del_folder\"><e name=\"" + Narrow(m_folder.Path(L"tree"))) +
               "\"/></s><s op_code=\"del_shortcut\"><e target_name=\"program.exe\" path=\"" +
               Narrow(m_folder.Path(L"links")) + "\"/></s><s op_code=\"del_regkey\"><e name=\"" +
               Narrow(m_sandbox.Path(L"tree")) + "\"/></s>" + kScriptEnd;
    }

    void RemoveBare() const {
        BareDeleteTree(m_folder.Path(L"tree"));
        BareDeleteLinks(m_folder.Path(L"links"));
        BareDeleteKey(HKEY_LOCAL_MACHINE, m_sandbox.Subkey(L"tree"), KEY_WOW64_64KEY);
    }

    bool IsClean() const {
        return m_folder.Tree() == std::vector<std::wstring>{L"links\\"} && m_sandbox.Dump(View::Bits64).empty();
    }

private:
    void MakeLinks() const {
        m_folder.MakeFolder(L"links");
        ComPtr<IShellLinkW> link;
        ComPtr<IPersistFile> file;
        ::CoCreateInstance(CLSID_ShellLink, nullptr, CLSCTX_INPROC_SERVER, IID_IShellLinkW,
                           reinterpret_cast<void**>(link.Put()));
        link.As(IID_IPersistFile, file);
        link->SetPath(L"C:\\product\\program.exe");
        file->Save(m_folder.Path(L"links\\0.lnk").c_str(), TRUE);
        for (int index = 1; index < kLinks; ++index) {
            ::CopyFileW(m_folder.Path(L"links\\0.lnk").c_str(),
                        m_folder.Path(L"links\\" + std::to_wstring(index) + L".lnk").c_str(), FALSE);
        }
    }

    TempFolder m_folder;
    RegistrySandbox m_sandbox;
};

void PrepareProduct(const TempFolder& folder, const std::string& script) {
    CopyDist(folder.Path());
    folder.WriteFile(L"products.xml", kCatalogue);
    PackDocument(folder.Path(), folder.WriteFile(L"embedded.xml", script));
}

void Uninstall(const Library& library) {
    ProductEntry product = {::SysAllocString(L"product"), nullptr, UNINSTALL_TYPE_FAMILY, nullptr, 1};
    bool restart = false;
    Require(library.Export<UninstallExport>("UninstallProduct")(&product, &restart, nullptr), "the removal failed");
    ::SysFreeString(product.name);
}

double RemoveProduct() {
    const TempFolder folder;
    const Machine machine(10000);
    PrepareProduct(folder, machine.Script());
    const Library library(folder.Path());
    const double seconds = Seconds([&] { Uninstall(library); });
    Require(machine.IsClean(), "something of the product is left");
    return seconds;
}

double RemoveProductBare() {
    const Machine machine(10000);
    const double seconds = Seconds([&] { machine.RemoveBare(); });
    Require(machine.IsClean(), "something of the product is left");
    return seconds;
}

// Peak memory of a removal above what the host had before it, in bytes, measured in a process of its own.
double RemovalMemory(int files) {
    const TempFolder folder;
    const Machine machine(files);
    PrepareProduct(folder, machine.Script());
    wchar_t program[MAX_PATH] = {};
    ::GetModuleFileNameW(nullptr, program, MAX_PATH);
    ProgramSeconds(std::wstring(L"\"") + program + L"\" --removal-memory \"" + folder.Path() + L"\"");
    Require(machine.IsClean(), "something of the product is left");
    FILE* const result = ::_wfopen(folder.Path(L"memory").c_str(), L"r");
    double bytes = 0;
    Require(result != nullptr && std::fscanf(result, "%lf", &bytes) == 1, "no measurement of memory");
    std::fclose(result);
    return bytes;
}

std::string MissingPath(const std::wstring& folder, const char* kind, int index) {
    return Narrow(folder) + "\\a rather long name of a thing that is not there, so that the document grows, " + kind +
           " " + std::to_string(index);
}

std::string MissingScript(const std::wstring& folder, const std::wstring& key) {
    std::string text = kScriptBegin;
    const auto section = [&](const char* opCode, const std::wstring& place) {
        text += std::string("<s op_code=\"") + opCode + "\">";
        for (int index = 0; index < kMissing; ++index) {
            text += "<e name=\"" + MissingPath(place, opCode, index) + "\"/>\n";
        }
        text += "</s>";
    };
    section("del_file", folder);
    section("del_folder", folder);
    section("del_regkey", key);
    return text + kScriptEnd;
}

double RemoveMissing() {
    const TempFolder folder;
    const RegistrySandbox sandbox;
    PrepareProduct(folder, MissingScript(folder.Path(), sandbox.Path()));
    const Library library(folder.Path());
    return Seconds([&] { Uninstall(library); });
}

double RemoveMissingBare() {
    const TempFolder folder;
    const RegistrySandbox sandbox;
    const std::string script = MissingScript(folder.Path(), sandbox.Path());
    const std::wstring text(script.begin(), script.end());
    const REGSAM access = UnderWow64() ? KEY_ALL_ACCESS | KEY_WOW64_64KEY : KEY_ALL_ACCESS;
    const auto wide = [](const std::string& path) { return std::wstring(path.begin(), path.end()); };
    return Seconds([&] {
        const ComPtr<IXMLDOMDocument> document = BareLoadText(text);
        for (int index = 0; index < kMissing; ++index) {
            const std::wstring path = wide(MissingPath(folder.Path(), "del_folder", index));
            ::SetFileAttributesW(path.c_str(), FILE_ATTRIBUTE_NORMAL);
            ::GetFileAttributesW(path.c_str());
        }
        for (int index = 0; index < kMissing; ++index) {
            const std::wstring path = wide(MissingPath(folder.Path(), "del_file", index));
            ::SetFileAttributesW(path.c_str(), FILE_ATTRIBUTE_NORMAL);
            ::DeleteFileW(path.c_str());
        }
        for (int index = 0; index < kMissing; ++index) {
            BareOpenKey(HKEY_LOCAL_MACHINE, wide(MissingPath(sandbox.Subkey(), "del_regkey", index)), access);
        }
    });
}

}  // namespace

int MeasureRemovalMemory(const std::wstring& folder) {
    const Library library(folder);
    PROCESS_MEMORY_COUNTERS before = {};
    PROCESS_MEMORY_COUNTERS after = {};
    ::GetProcessMemoryInfo(::GetCurrentProcess(), &before, sizeof before);
    Uninstall(library);
    ::GetProcessMemoryInfo(::GetCurrentProcess(), &after, sizeof after);
    FILE* const result = ::_wfopen((folder + L"\\memory").c_str(), L"w");
    std::fprintf(result, "%.0f", static_cast<double>(after.PeakWorkingSetSize) - before.WorkingSetSize);
    std::fclose(result);
    return 0;
}

void AddRemoval(std::vector<Comparison>& comparisons) {
    comparisons.push_back({"UninstallProduct, 10,000 files, 2,000 keys", "the same calls in bare loops", 1.35,
                           &RemoveProduct, &RemoveProductBare});
    comparisons.push_back({"Peak memory of that run", "2,000 files", 1.5, [] { return RemovalMemory(10000); },
                           [] { return RemovalMemory(2000); }});
    comparisons.push_back({"UninstallProduct, 30,000 missing things", "bare MSXML load and the same calls", 1.5,
                           &RemoveMissing, &RemoveMissingBare});
}
