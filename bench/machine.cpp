#include "machine.h"

#include <windows.h>
#include <psapi.h>
#include <shlobj.h>

#include <cstdio>

#include "bare.h"
#include "bench.h"

namespace {

constexpr int kFolders = 100;
constexpr int kKeys = 2000;
constexpr int kLinks = 200;

const char kCatalogue[] =
    "<uninstall_information><product name=\"product\" file=\"product.xml\"/></uninstall_information>";
const char kScriptBegin[] = "<uninstall_information><version_list><v1/></version_list><v1><win_nt>";
const char kScriptEnd[] = "</win_nt></v1></uninstall_information>";

}  // namespace

Machine::Machine(int files) {
    for (int file = 0; file < files; ++file) {
        m_folder.WriteFile(L"tree\\folder " + std::to_wstring(file % kFolders) + L"\\file " + std::to_wstring(file),
                           "");
    }
    for (int key = 0; key < kKeys; ++key) {
        m_sandbox.SetString(L"tree\\group " + std::to_wstring(key / 100) + L"\\key " + std::to_wstring(key), L"value",
                            L"some text", View::Bits64);
    }
    MakeLinks();
}

std::string Machine::Script() const {
    return kScriptBegin + ("<s op_code=\"del_folder\"><e name=\"" + Narrow(m_folder.Path(L"tree"))) +
           "\"/></s><s op_code=\"del_shortcut\"><e target_name=\"program.exe\" path=\"" +
           Narrow(m_folder.Path(L"links")) + "\"/></s><s op_code=\"del_regkey\"><e name=\"" +
           Narrow(m_sandbox.Path(L"tree")) + "\"/></s>" + kScriptEnd;
}

void Machine::RemoveBare() const {
    BareDeleteTree(m_folder.Path(L"tree"));
    BareDeleteLinks(m_folder.Path(L"links"));
    BareDeleteKey(HKEY_LOCAL_MACHINE, m_sandbox.Subkey(L"tree"), KEY_WOW64_64KEY);
}

bool Machine::IsClean() const {
    return m_folder.Tree() == std::vector<std::wstring>{L"links\\"} && m_sandbox.Dump(View::Bits64).empty();
}

void Machine::MakeLinks() const {
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

void PrepareProduct(const TempFolder& folder, const std::string& script) {
    CopyDist(folder.Path());
    folder.WriteFile(L"products.xml", kCatalogue);
    PackDocument(folder.Path(), folder.WriteFile(L"embedded.xml", script));
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

double PeakOfPart(const wchar_t* part, const TempFolder& folder) {
    wchar_t program[MAX_PATH] = {};
    ::GetModuleFileNameW(nullptr, program, MAX_PATH);
    ProgramSeconds(std::wstring(L"\"") + program + L"\" " + part + L" \"" + folder.Path() + L"\"");
    FILE* const result = ::_wfopen(folder.Path(L"memory").c_str(), L"r");
    double bytes = 0;
    Require(result != nullptr && std::fscanf(result, "%lf", &bytes) == 1, "no measurement of memory");
    std::fclose(result);
    return bytes;
}

int TellPeak(const std::wstring& folder, const std::function<void()>& work) {
    PROCESS_MEMORY_COUNTERS before = {};
    PROCESS_MEMORY_COUNTERS after = {};
    ::GetProcessMemoryInfo(::GetCurrentProcess(), &before, sizeof before);
    work();
    ::GetProcessMemoryInfo(::GetCurrentProcess(), &after, sizeof after);
    FILE* const result = ::_wfopen((folder + L"\\memory").c_str(), L"w");
    std::fprintf(result, "%.0f", static_cast<double>(after.PeakWorkingSetSize) - before.WorkingSetSize);
    std::fclose(result);
    return 0;
}
