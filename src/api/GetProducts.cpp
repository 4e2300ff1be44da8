#include <windows.h>

#include "api/com_rule.h"
#include "api/exports.h"
#include "api/result_array.h"
#include "catalogue/CProducts.h"
#include "foundation/log.h"
#include "foundation/path.h"
#include "foundation/result.h"

namespace {

bool NoGuids(const std::vector<CProductVersion>&, SAFEARRAY**) {
    return false;
}

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
    ProductLists lists;
    for (std::size_t index = 0; index < lists.size(); ++index) {
        const Catalogue& source = kCatalogues[index];
        if ((flags & source.flag) == 0) {
            continue;
        }
        std::wstring path = folder;
        PathJoin(path, source.file);
        CProducts catalogue;
        if (catalogue.Load(path, source.type, nullptr)) {
            lists[index] = catalogue.Products();
        } else {
            LOG(kError, source.notLoaded, path.c_str());
            ok = false;
        }
    }
    if (!ok) {
        LOG(kInfo, L"<- %s", BoolName(false));
        return false;
    }
    return MakeProductArray(CALLER, lists, &NoGuids, products);
}
