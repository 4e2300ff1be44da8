#include <msxml2.h>

#include "author/lint/lint.h"
#include "author/lint/print.h"
#include "bench.h"
#include "foundation/com.h"
#include "support/temp_folder.h"

namespace {

constexpr int kElements = 30000;
constexpr CLSID kSaxReader30 = {0x3124C396, 0xFB13, 0x4836, {0xA6, 0xAD, 0x13, 0x17, 0xF1, 0x71, 0x36, 0x88}};
constexpr IID kReader = {0xA4F96ED0, 0xF829, 0x476E, {0x81, 0xC0, 0xCD, 0xC7, 0xBD, 0x2A, 0x08, 0x02}};

std::string Document() {
    std::string text =
        "<uninstall_information>\n<version_list><v1/></version_list>\n<v1>\n<install_folder name=\"Birkenfeld\"/>\n"
        "<win_nt>\n";
    const auto section = [&text](const std::string& operation, const std::string& before, const std::string& after) {
        text += "<section op_code=\"" + operation + "\">\n";
        for (int index = 0; index < kElements / 3; ++index) {
            text += "    <element " + before + std::to_string(index) + after + "/>\n";
        }
        text += "</section>\n";
    };
    section("del_file", "path=\"app_path\" name=\"data\\file ", ".dat\"");
    section("del_folder", "path=\"common_app_data\" name=\"Birkenfeld\\Folder ", "\"");
    section("del_regkey", "name=\"HKEY_LOCAL_MACHINE\\Software\\Birkenfeld\\Key ", "\" x32view=\"true\"");
    return text + "</win_nt>\n</v1>\n</uninstall_information>\n";
}

// Takes part in the parse and does nothing.
class Listener : public ISAXContentHandler {
public:
    HRESULT WINAPI QueryInterface(REFIID, void** object) override {
        *object = this;
        return S_OK;
    }
    ULONG WINAPI AddRef() override { return 1; }
    ULONG WINAPI Release() override { return 1; }
    HRESULT WINAPI putDocumentLocator(ISAXLocator*) override { return S_OK; }
    HRESULT WINAPI startDocument() override { return S_OK; }
    HRESULT WINAPI endDocument() override { return S_OK; }
    HRESULT WINAPI startPrefixMapping(const wchar_t*, int, const wchar_t*, int) override { return S_OK; }
    HRESULT WINAPI endPrefixMapping(const wchar_t*, int) override { return S_OK; }
    HRESULT WINAPI startElement(const wchar_t*, int, const wchar_t*, int, const wchar_t*, int,
                                ISAXAttributes*) override {
        ++elements;
        return S_OK;
    }
    HRESULT WINAPI endElement(const wchar_t*, int, const wchar_t*, int, const wchar_t*, int) override { return S_OK; }
    HRESULT WINAPI characters(const wchar_t*, int) override { return S_OK; }
    HRESULT WINAPI ignorableWhitespace(const wchar_t*, int) override { return S_OK; }
    HRESULT WINAPI processingInstruction(const wchar_t*, int, const wchar_t*, int) override { return S_OK; }
    HRESULT WINAPI skippedEntity(const wchar_t*, int) override { return S_OK; }

    int elements = 0;
};

double SaxBare(const std::wstring& file) {
    return Seconds([&file] {
        ComPtr<ISAXXMLReader> reader;
        Require(SUCCEEDED(::CoCreateInstance(kSaxReader30, nullptr, CLSCTX_INPROC_SERVER, kReader,
                                             reinterpret_cast<void**>(reader.Put()))),
                "a reader");
        Listener listener;
        reader->putContentHandler(&listener);
        Require(SUCCEEDED(reader->parseURL(file.c_str())) && listener.elements > kElements, "a parse");
    });
}

double LintDocument(const std::wstring& file) {
    return Seconds([&file] {
        tools::lint::Report report;
        tools::lint::CheckPaths({file}, report);
        Require(tools::lint::AsText(report) == L"1 document: 0 errors, 0 warnings\n", "a document without findings");
    });
}

}  // namespace

void AddLint(std::vector<Comparison>& comparisons) {
    static const TempFolder folder;
    static const std::wstring file = folder.WriteFile(L"document.xml", Document());
    comparisons.push_back({"lint, a document of 30,000 elements", "a SAX run that does nothing", 2.0,
                           [] { return LintDocument(file); }, [] { return SaxBare(file); }});
}
