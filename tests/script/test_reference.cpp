// The examples of docs/script-reference.md, run by the processors that they are written for.

#include <windows.h>
#include <doctest/doctest.h>

#include <cstdio>

#include "script/CProductInstalled.h"
#include "script/CProductUninstall.h"
#include "support/com_scope.h"
#include "support/programs.h"
#include "support/temp_folder.h"

namespace {

std::string ReadReference() {
    std::string text;
    FILE* const stream = ::_wfopen(InSources(L"docs\\script-reference.md").c_str(), L"rb");
    REQUIRE(stream != nullptr);
    char buffer[4096];
    for (std::size_t count = 0; (count = std::fread(buffer, 1, sizeof buffer, stream)) > 0;) {
        text.append(buffer, count);
    }
    std::fclose(stream);
    return text;
}

// Counts what the walk of a text leaves to the execution.
class Collection : public CProductUninstall {
public:
    explicit Collection(const std::vector<CProductCheckUse>& none)
        : CProductUninstall(L"product", L"script", &none, nullptr) {}

    std::size_t Collect(IXMLDOMDocument* document) {
        ComPtr<IXMLDOMNode> root;
        std::vector<std::wstring> versions;
        REQUIRE(SelectRoot(CALLER, document, root));
        REQUIRE(ReadVersions(root.Get(), versions));
        for (const std::wstring& version : versions) {
            CHECK(WalkListedVersion(CALLER, root.Get(), version));
        }
        return m_cached.delFiles.size() + m_cached.delFolders.size() + m_cached.delShortcuts.size() +
               m_cached.delReg.size() + m_cached.delRegKeyData.size() + m_cached.execTools.size() +
               m_cached.execDllMethods.size() + m_cached.killProcesses.size() + m_cached.disableDrivers.size() +
               m_cached.disableAndStopDrivers.size();
    }
};

}  // namespace

TEST_CASE("every example of the script reference does what is said below it") {
    const ComScope com;
    const TempFolder folder;
    const std::vector<CProductCheckUse> none;
    const std::string text = ReadReference();
    const std::string opening = "```xml\n";
    int examples = 0;
    for (std::size_t at = 0; (at = text.find(opening, at)) != std::string::npos; ++examples) {
        at += opening.size();
        const std::size_t end = text.find("```\n", at);
        const std::string example = text.substr(at, end - at);
        char answer[4] = {};
        unsigned operations = 0;
        REQUIRE(std::sscanf(text.c_str() + end,
                            "```\n\n*On a bare machine detection says %3[a-z], and a removal collects %u operations.*",
                            answer, &operations) == 2);
        INFO(example);
        const std::wstring file = folder.WriteFile(L"example.xml", example);
        CHECK(CProductInstalled(file).Process() == (std::string(answer) == "yes"));
        ComPtr<IXMLDOMDocument> document;
        HRESULT hr = dom::CreateDocument(document);
        REQUIRE(dom::LoadFile(document.Get(), file, hr));
        CHECK(Collection(none).Collect(document.Get()) == operations);
    }
    CHECK(examples == 4);
}
