#include <windows.h>
#include <doctest/doctest.h>

#include "foundation/dom.h"
#include "script/CProductInstalled.h"
#include "support/com_scope.h"
#include "support/recorded_log.h"
#include "support/script_builder.h"
#include "support/slot_patch.h"
#include "support/temp_folder.h"

namespace {

constexpr std::size_t kNodeTextSlot = 26;

HRESULT STDMETHODCALLTYPE NoText(IXMLDOMNode*, BSTR* text) {
    *text = nullptr;
    return S_OK;
}

}  // namespace

TEST_CASE("an attribute without a text is one that cannot be read, not an empty one") {
    const ComScope com;
    const RecordedLog log;
    const TempFolder folder;
    ComPtr<IXMLDOMDocument> document;
    ComPtr<IXMLDOMNode> root;
    ComPtr<IXMLDOMNamedNodeMap> map;
    ComPtr<IXMLDOMNode> attribute;
    HRESULT hr = S_OK;
    REQUIRE(dom::CreateDocument(document) == S_OK);
    REQUIRE(dom::LoadText(document.Get(), L"<a n='v'/>", hr));
    REQUIRE(dom::SelectChild(document.Get(), L"a", root) == S_OK);
    REQUIRE(root->get_attributes(map.Put()) == S_OK);
    REQUIRE(map->get_item(0, attribute.Put()) == S_OK);
    const SlotPatch patch(attribute.Get(), kNodeTextSlot, &NoText);
    // Read as empty, the name would leave the whole folder of the programs.
    const std::wstring script = Script(Section(L"del_folder", L"path='program_files' name='P'"));
    CHECK_FALSE(CProductInstalled(folder.WriteFile(L"s.xml", Utf8(script))).Process());
    CHECK(log.Has(L"E CProductInstalled::ProcessSection: failed get attribute 0 value"));
}
