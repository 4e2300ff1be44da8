// What an XML engine other than this platform's may do.

#include <windows.h>
#include <doctest/doctest.h>

#include "foundation/CXMLHelper.h"
#include "foundation/dom.h"
#include "support/com_scope.h"
#include "support/recorded_log.h"
#include "support/show_text.h"
#include "support/slot_patch.h"
#include "support/temp_folder.h"

namespace {

constexpr std::size_t kNodeValueSlot = 8;
constexpr std::size_t kReadyStateSlot = 59;

int g_asked = 0;
HRESULT STDMETHODCALLTYPE LoadsForAWhile(IXMLDOMDocument*, long* state) {
    *state = ++g_asked < 3 ? 3 : 4;
    return S_OK;
}

HRESULT STDMETHODCALLTYPE NumberAsValue(IXMLDOMNode*, VARIANT* value) {
    value->vt = VT_I4;
    value->lVal = 1;
    return S_OK;
}

}  // namespace

TEST_CASE("a file that the engine still reads is waited for, and a value that is no text is none") {
    const ComScope com;
    const RecordedLog log;
    const TempFolder folder;
    ComPtr<IXMLDOMDocument> document;
    HRESULT hr = S_OK;
    REQUIRE(dom::CreateDocument(document) == S_OK);
    {
        const SlotPatch patch(document.Get(), kReadyStateSlot, &LoadsForAWhile);
        CHECK(dom::LoadFile(document.Get(), folder.WriteFile(L"f.xml", "<a n='v'/>"), hr));
        CHECK(g_asked == 3);
    }
    ComPtr<IXMLDOMNode> root;
    ComPtr<IXMLDOMNamedNodeMap> map;
    ComPtr<IXMLDOMNode> attribute;
    REQUIRE(dom::SelectChild(document.Get(), L"a", root) == S_OK);
    REQUIRE(root->get_attributes(map.Put()) == S_OK);
    REQUIRE(map->get_item(0, attribute.Put()) == S_OK);
    const SlotPatch patch(attribute.Get(), kNodeValueSlot, &NumberAsValue);
    std::wstring value = L"kept";
    CHECK_FALSE(CXMLHelper::GetNodeAttribute(root.Get(), L"n", value));
    CHECK(value == L"kept");
    CHECK(log.Told(L"CXMLHelper::GetNodeAttribute") == L"E failed load value for attribute \"n\" 0x0");
}
