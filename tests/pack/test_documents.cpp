#include <windows.h>
#include <doctest/doctest.h>
#include <prodrm.h>

#include <cstdio>
#include <string>
#include <vector>

#include "catalogue/CProducts.h"
#include "foundation/owned.h"
#include "script/CProductInstalled.h"
#include "support/com_scope.h"
#include "support/programs.h"
#include "support/recorded_log.h"
#include "support/temp_folder.h"

namespace {

std::string ReadAll(const std::wstring& file) {
    std::string text;
    FILE* const stream = ::_wfopen(file.c_str(), L"rb");
    REQUIRE(stream != nullptr);
    char buffer[4096];
    for (std::size_t count = 0; (count = std::fread(buffer, 1, sizeof buffer, stream)) > 0;) {
        text.append(buffer, count);
    }
    std::fclose(stream);
    return text;
}

}  // namespace

TEST_CASE("every example of the catalogue reference loads as it stands") {
    const ComScope com;
    const TempFolder folder;
    const std::string text = ReadAll(InSources(L"docs\\catalogue-reference.md"));
    const std::string opening = "```xml\n";
    int examples = 0;
    for (std::size_t at = 0; (at = text.find(opening, at)) != std::string::npos; ++examples) {
        at += opening.size();
        const std::string example = text.substr(at, text.find("```", at) - at);
        INFO(example);
        CProducts catalogue;
        CHECK(catalogue.Load(folder.WriteFile(L"example.xml", example), UNINSTALL_TYPE_FAMILY, nullptr));
        CHECK(catalogue.Products().size() == 1);
    }
    CHECK(examples >= 4);
}

TEST_CASE("the samples load beside the library, and their scripts are sound and find nothing on a clean machine") {
    const OwnedModule library(::LoadLibraryW(InProduct(L"prodrm.dll").c_str()));
    REQUIRE(library);
    const auto getProducts = reinterpret_cast<decltype(&GetProducts)>(
        reinterpret_cast<void*>(::GetProcAddress(library.Get(), "GetProducts")));
    SAFEARRAY* products = nullptr;
    REQUIRE(getProducts(&products, PRODRM_FAMILY | PRODRM_FOREIGN));
    CHECK(products->rgsabound[0].cElements == 7);

    const ComScope com;
    const RecordedLog log;
    for (ULONG index = 0; index < products->rgsabound[0].cElements; ++index) {
        const ProductEntry& product = static_cast<ProductEntry*>(products->pvData)[index];
        CProductInstalled script(product.file);
        CHECK_FALSE(script.Process());
        ::SysFreeString(product.name);
        ::SysFreeString(product.file);
    }
    ::SafeArrayDestroy(products);
    int sections = 0;
    for (const LogLine& line : log.Lines()) {
        sections += line.function == L"CProductInstalled::ProcessSection" && line.text.starts_with(L"Score ");
        const bool wrong =
            line.level == kError && line.text != L"The mandatory failed" &&
            (line.function == L"CProductConfig::ExecOperation" || line.function == L"CProductInstalled::Process" ||
             line.function == L"CProductInstalled::ProcessNTVersion");
        INFO(std::string(line.text.begin(), line.text.end()));
        CHECK_FALSE(wrong);
    }
    CHECK(sections > 10);
}
