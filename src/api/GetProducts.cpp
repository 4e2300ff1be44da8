#include <windows.h>
#include <oleauto.h>

#include <utility>
#include <vector>

#include "api/com_rule.h"
#include "api/exports.h"
#include "api/result_array.h"
#include "catalogue/CProducts.h"
#include "foundation/log.h"
#include "foundation/path.h"
#include "foundation/result.h"

namespace {

using Listed = std::pair<ULONG, CProduct>;  // type and product

}  // namespace

bool __cdecl GetProducts(SAFEARRAY** products, ULONG flags) {
    LOG(kInfo, L"->");
    const ComRule com;
    std::wstring folder;
    if (!CPath::GetCurrentPath(folder)) {
        LOG(kError, L"GetCurrentPath failed");
        return false;
    }
    bool ok = true;
    std::vector<Listed> listed;
    for (const Catalogue& source : kCatalogues) {
        if ((flags & source.flag) == 0) {
            continue;
        }
        std::wstring path = folder;
        PathJoin(path, source.file);
        CProducts catalogue;
        if (!catalogue.Load(path, source.type, nullptr)) {
            LOG(kError, source.notLoaded, path.c_str());
            ok = false;
            continue;
        }
        for (const CProduct& product : catalogue.Products()) {
            listed.emplace_back(static_cast<ULONG>(source.type), product);
        }
    }
    if (!ok) {
        LOG(kInfo, L"<- %s", BoolName(false));
        return false;
    }
    void* data = nullptr;
    if (!MakeResultArray(CALLER, products, sizeof(ProductEntry), static_cast<ULONG>(listed.size()), &data)) {
        return false;
    }
    auto* entry = static_cast<ProductEntry*>(data);
    for (const auto& [type, product] : listed) {
        entry->name = ::SysAllocString(product.Name().c_str());
        entry->file = ::SysAllocString(product.File().c_str());
        entry->type = type;
        entry->guids = nullptr;
        ++entry;
    }
    EndResultArrayAccess(CALLER, *products);
    return true;
}
