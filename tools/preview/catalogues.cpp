#include "catalogues.h"

#include <algorithm>
#include <iterator>
#include <string>

#include "api/exports.h"
#include "foundation/path.h"

namespace preview {

bool LoadCatalogue(LONG type, CProducts& catalogue) {
    std::wstring path;
    const auto source = std::find_if(std::begin(kCatalogues), std::end(kCatalogues),
                                     [&](const Catalogue& each) { return each.type == type; });
    return source != std::end(kCatalogues) && CPath::GetCurrentPath(path) &&
           catalogue.Load(PathJoin(path, source->file), type, nullptr);
}

}  // namespace preview
