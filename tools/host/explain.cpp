#include "explain.h"

#include <windows.h>

#include "common/com_scope.h"
#include "common/failure.h"
#include "explain_report.h"
#include "library.h"

namespace tools::host {

int RunExplain(const Options& options, const Library& library, Output& out) {
    const ComScope com;
    const Product product = FindProduct(library.Products(options.catalogues), options.names.front());
    library.CheckBuild();
    auto judgement = preview::Judge(product.name, product.type, library.Module());
    if (!judgement) {
        throw Failure(ERROR_INSTALL_FAILURE, L"the catalogue changed while it was read");
    }
    const Explanation explanation = {product, std::move(*judgement)};
    out.Write(options.json ? ExplanationJson(explanation) : ExplanationText(explanation));
    return ERROR_SUCCESS;
}

}  // namespace tools::host
