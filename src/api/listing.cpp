#include "api/listing.h"

#include <windows.h>
#include <oleauto.h>

#include <array>
#include <iterator>

#include "api/com_rule.h"
#include "api/exports.h"
#include "api/result_array.h"
#include "foundation/log_statement.h"
#include "foundation/path.h"
#include "foundation/result.h"

namespace {

using ProductLists = std::array<std::vector<CProduct>, std::size(kCatalogues)>;

bool ReadLists(const wchar_t* caller, const std::wstring& folder, ULONG flags, ListReader readList,
               ProductLists& lists) {
    bool ok = true;
    for (std::size_t index = 0; index < lists.size(); ++index) {
        const Catalogue& source = kCatalogues[index];
        if ((flags & source.flag) == 0) {
            continue;
        }
        std::wstring path = folder;
        PathJoin(path, source.file);
        CProducts catalogue;
        if (!catalogue.Load(path, source.type, nullptr)) {
            LOG_AS(caller, kError, source.notLoaded, path.c_str());
            ok = false;
        } else if (ok) {
            ok = readList(catalogue, source.type, lists[index]);
        }
    }
    return ok;
}

// `force` stays as the allocation left it.
bool MakeProductArray(const wchar_t* caller, const ProductLists& lists, GuidsReader readGuids, SAFEARRAY** products) {
    std::size_t count = 0;
    for (const std::vector<CProduct>& list : lists) {
        count += list.size();
    }
    void* data = nullptr;
    if (!MakeResultArray(caller, products, sizeof(ProductEntry), static_cast<ULONG>(count), &data)) {
        return false;
    }
    auto* entry = static_cast<ProductEntry*>(data);
    for (std::size_t index = 0; index < lists.size(); ++index) {
        for (const CProduct& product : lists[index]) {
            entry->name = ::SysAllocString(product.Name().c_str());
            entry->file = ::SysAllocString(product.File().c_str());
            entry->type = static_cast<ULONG>(kCatalogues[index].type);
            if (!readGuids(product.Versions(), &entry->guids)) {
                entry->guids = nullptr;
            }
            ++entry;
        }
    }
    EndResultArrayAccess(caller, *products);
    return true;
}

}  // namespace

bool AnswerListing(const wchar_t* caller, SAFEARRAY** products, ULONG flags, ListReader readList,
                   GuidsReader readGuids) {
    const ComRule com;
    std::wstring folder;
    if (!CPath::GetCurrentPath(folder)) {
        LOG_AS(caller, kError, L"GetCurrentPath failed");
        return false;
    }
    ProductLists lists;
    if (!ReadLists(caller, folder, flags, readList, lists)) {
        LOG_AS(caller, kInfo, L"<- %s", BoolName(false));
        return false;
    }
    return MakeProductArray(caller, lists, readGuids, products);
}
