#include <windows.h>

#include "api/host_exception.h"
#include "api/listing.h"
#include "foundation/log_statement.h"

namespace {

bool ReadAll(const CProducts& catalogue, LONG, std::vector<CProduct>& list) {
    list = catalogue.Products();
    return true;
}

bool NoGuids(const std::vector<CProductVersion>&, SAFEARRAY**) {
    return false;
}

}  // namespace

bool __cdecl GetProducts(SAFEARRAY** products, ULONG flags) {
    return RaisingToHost([&] {
        LOG(kInfo, L"->");
        return AnswerListing(CALLER, products, flags, &ReadAll, &NoGuids);
    });
}
