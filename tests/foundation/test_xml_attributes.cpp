#include <windows.h>
#include <doctest/doctest.h>

#include <string>
#include <vector>

#include "foundation/CXMLHelper.h"
#include "foundation/dom.h"
#include "support/com_scope.h"
#include "support/import_patch.h"
#include "support/recorded_log.h"
#include "support/show_text.h"

namespace {

using Lines = std::vector<std::wstring>;

BSTR WINAPI RefuseString(const OLECHAR*) {
    return nullptr;
}

ULONG References(IUnknown* object) {
    object->AddRef();
    return object->Release();
}

}  // namespace

TEST_CASE("attributes are read exactly, and the output keeps what it held on failure") {
    const ComScope com;
    ComPtr<IXMLDOMDocument> document;
    REQUIRE(SUCCEEDED(dom::CreateDocument(document)));
    HRESULT hr = S_OK;
    REQUIRE(dom::LoadText(document.Get(), L"<e empty='' t=' a&amp;b ' n='42px' m='-7' x='abc'><!--c--></e>", hr));
    ComPtr<IXMLDOMElement> element;
    REQUIRE(document->get_documentElement(element.Put()) == S_OK);
    const ULONG references = References(element.Get());

    const struct {
        const wchar_t* name;
        bool found;
        const wchar_t* text;
        int number;
        std::wstring line;
    } rows[] = {
        {L"empty", true, L"", 0, {}},  {L"t", true, L" a&b ", 0, {}},
        {L"n", true, L"42px", 42, {}}, {L"m", true, L"-7", -7, {}},
        {L"x", true, L"abc", 0, {}},   {L"X", false, L"kept", 99, L"4 failed load attribute \"X\" 0x1"},
        {L"", false, L"kept", 99, {}},
    };
    for (const auto& row : rows) {
        CAPTURE(row.name);
        const RecordedLog log;
        std::wstring text = L"kept";
        CHECK(CXMLHelper::GetNodeAttribute(element.Get(), row.name, text) == row.found);
        CHECK(text == row.text);
        const Lines lines = log.Of(L"CXMLHelper::GetNodeAttribute");
        CHECK(lines.size() == (row.found ? 0 : 1));
        if (!row.line.empty()) {
            CHECK(lines == Lines{row.line});
        }
        int number = 99;
        CHECK(CXMLHelper::GetNodeAttribute(element.Get(), row.name, number) == row.found);
        CHECK(number == row.number);
    }

    const RecordedLog log;
    ComPtr<IXMLDOMNode> comment;
    REQUIRE(element->get_firstChild(comment.Put()) == S_OK);
    std::wstring text = L"kept";
    CHECK_FALSE(CXMLHelper::GetNodeAttribute(comment.Get(), L"n", text));
    CHECK(text == L"kept");
    CHECK(log.Of(L"CXMLHelper::GetNodeAttribute") == Lines{L"4 failed get attributes 0x1"});

    {
        const ImportPatch noMemory("SysAllocString", &RefuseString);
        HRESULT code = S_OK;
        try {
            CXMLHelper::GetNodeAttribute(element.Get(), L"n", text);
        } catch (const ComError& error) {
            code = error.Code();
        }
        CHECK(code == E_OUTOFMEMORY);
    }
    CHECK(References(element.Get()) == references);
}
