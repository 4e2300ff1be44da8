#include "remove_plan.h"

#include <windows.h>

#include <algorithm>

#include "common/failure.h"

namespace tools::host {

namespace {

bool Same(const Product& left, const Product& right) {
    return left.type == right.type && left.name == right.name;
}

bool Holds(const std::vector<Product>& products, const Product& product) {
    return std::any_of(products.begin(), products.end(), [&](const Product& each) { return Same(each, product); });
}

class Planner {
public:
    Planner(const Options& options, const Library& library)
        : m_options(options),
          m_known(library.Products(options.catalogues)),
          m_installed(library.InstalledProducts(options.catalogues)) {}

    RemovalPlan Make() {
        if (m_options.scope == RemovalScope::Names) {
            for (const std::wstring& name : m_options.names) {
                AddName(name);
            }
        } else {
            AddCatalogue();
        }
        return m_plan;
    }

private:
    void AddName(const std::wstring& name) {
        const Product& product = FindProduct(m_known, name);
        const bool installed = Holds(m_installed, product);
        if (!installed && !m_options.force) {
            throw Failure(ERROR_UNKNOWN_PRODUCT, Quoted(name) + L" is not installed");
        }
        const bool repeated = std::any_of(m_plan.steps.begin(), m_plan.steps.end(), [&](const RemovalStep& step) {
            return step.type == product.type && step.name == name;
        });
        if (!repeated) {
            m_plan.steps.push_back({RemovalScope::Names, product.type, name, m_options.force});
        }
    }

    void AddCatalogue() {
        const bool force = m_options.scope == RemovalScope::ForceAll;
        const auto type = m_options.catalogues == PRODRM_FAMILY ? UNINSTALL_TYPE_FAMILY : UNINSTALL_TYPE_FOREIGN;
        if (force || !m_installed.empty()) {
            m_plan.steps.push_back({m_options.scope, type, {}, force});
        }
    }

    const Options& m_options;
    std::vector<Product> m_known;
    std::vector<Product> m_installed;
    RemovalPlan m_plan;
};

}  // namespace

RemovalPlan MakePlan(const Options& options, const Library& library) {
    return Planner(options, library).Make();
}

}  // namespace tools::host
