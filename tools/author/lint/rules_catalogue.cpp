// Rules about catalogues.

#include "rules_catalogue.h"

#include <set>

#include "foundation/text.h"
#include "rules_words.h"
#include "script.h"

namespace tools::lint {

namespace {

constexpr wchar_t kExecAll[] = L"exec_all";
constexpr wchar_t kProduct[] = L"product";
constexpr wchar_t kNameAttribute[] = L"name";
constexpr wchar_t kFile[] = L"file";
constexpr wchar_t kId[] = L"id";
constexpr wchar_t kProdName[] = L"prodName";
constexpr wchar_t kKeypath[] = L"keypath";
constexpr wchar_t kKeyvalue[] = L"keyvalue";
constexpr wchar_t kUpdateLocation[] = L"\\UpdateLocation";
constexpr std::size_t kDisplayNameChars = 126;

void CheckTopElements(const Document& document, Report& report) {
    bool execAllMet = false;
    for (const Node& child : document.Top().children) {
        if (!child.IsElement() || child.name == kProduct) {
            continue;
        }
        if (child.name != kExecAll) {
            report.Add(RuleId::UnknownElement, document, child,
                       {child.name, Suggest(child.name, {kExecAll, kProduct})});
            continue;
        }
        if (execAllMet) {
            report.Add(RuleId::SecondElement, document, child, {child.name, L"only the last counts"});
        }
        execAllMet = true;
        const std::wstring text = child.FullText();
        if (text != L"false" && text != L"true") {
            report.Add(RuleId::BadValue, document, child, {text, kExecAll, L"true", L"true or false in small letters"});
        }
    }
}

void CheckIgnoredMarks(const Document& document, const Node& version, Report& report) {
    const bool hasId = version.Find(kId) != nullptr;
    for (const wchar_t* const attribute : {kProdName, kKeypath, kKeyvalue}) {
        const bool needsKeypath = attribute == kKeyvalue && version.Find(kKeypath) == nullptr;
        if (version.Find(attribute) != nullptr && (hasId || needsKeypath)) {
            report.Add(RuleId::IgnoredAttribute, document, version, attribute,
                       {attribute, hasId ? L"id alone counts" : L"it needs keypath"});
        }
    }
}

void CheckMarks(const Document& document, const Node& version, Report& report) {
    const std::wstring* const prodName = version.Find(kProdName);
    const std::wstring* const keypath = version.Find(kKeypath);
    if (version.Find(kId) == nullptr && prodName == nullptr && keypath == nullptr) {
        report.Add(RuleId::NoMark, document, version, {L"the version has no mark"});
    }
    for (const wchar_t* const mark : {kId, kProdName, kKeypath}) {
        const std::wstring* const text = version.Find(mark);
        if (text != nullptr && text->empty()) {
            const wchar_t* const meaning =
                mark == kId ? L"the Uninstall key itself is always there" : L"nothing is found by it";
            report.Add(RuleId::EmptyText, document, version, mark, {mark, meaning});
        }
    }
    if (prodName != nullptr && prodName->size() > kDisplayNameChars) {
        report.Add(RuleId::ProdNameTooLong, document, version, kProdName, {std::to_wstring(prodName->size())});
    }
    if (keypath == nullptr || version.Find(kId) != nullptr) {
        return;
    }
    CheckHive(document, version, kKeypath, report);
    if (version.Find(kKeyvalue) == nullptr) {
        report.Add(RuleId::KeypathWithoutKeyvalue, document, version, kKeypath, {});
    }
    if (LowerCase(*keypath).ends_with(LowerCase(kUpdateLocation))) {
        report.Add(RuleId::UpdateLocationTwice, document, version, kKeypath, {});
    } else if (keypath->size() > 1 && (keypath->back() == L'\\' || keypath->back() == L'/')) {
        report.Add(RuleId::TrailingSeparator, document, version, kKeypath, {*keypath});
    }
}

void CheckVersion(const Document& document, const Node& version, Report& report) {
    CheckAttributesOf(document, version, {kNameAttribute, kId, kProdName, kKeypath, kKeyvalue}, report);
    if (version.Find(kNameAttribute) == nullptr) {
        report.Add(RuleId::MissingAttribute, document, version, {kNameAttribute});
    }
    CheckIgnoredMarks(document, version, report);
    CheckMarks(document, version, report);
    for (const Node& child : version.children) {
        if (!child.IsElement()) {
            report.Add(RuleId::CommentInVersion, document, child, {KindName(child)});
        }
    }
}

void CheckProduct(const Document& document, const Node& product, CatalogueKind kind, Report& report) {
    CheckAttributesOf(document, product, {kNameAttribute, kFile}, report);
    CheckRequired(document, product, kNameAttribute, L"hosts cannot ask for it", report);
    CheckRequired(document, product, kFile, L"the folder of the scripts is no script", report);
    for (const Node& child : product.children) {
        if (child.IsElement()) {
            CheckVersion(document, child, report);
        } else {
            report.Add(RuleId::CommentInProduct, document, child, {KindName(child)});
        }
    }
    if (kind == CatalogueKind::Family && product.children.empty()) {
        report.Add(RuleId::NoMark, document, product, {L"the product has no version"});
    }
}

}  // namespace

void CheckCatalogue(const Document& document, CatalogueKind kind, Report& report) {
    CheckAttributesOf(document, document.Top(), {}, report);
    CheckTopElements(document, report);
    std::set<std::wstring_view> names;
    for (const Node& child : document.Top().children) {
        if (!child.IsElement(kProduct)) {
            continue;
        }
        CheckProduct(document, child, kind, report);
        const std::wstring* const name = child.Find(kNameAttribute);
        if (name != nullptr && !names.insert(*name).second) {
            report.Add(RuleId::ProductTwice, document, child, kNameAttribute, {*name});
        }
    }
}

}  // namespace tools::lint
