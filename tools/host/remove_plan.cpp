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
            NoteLastOneOut();
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
        const bool repeated = std::any_of(m_plan.targets.begin(), m_plan.targets.end(),
                                          [&](const RemovalTarget& target) { return Same(target.product, product); });
        if (!repeated) {
            m_plan.steps.push_back({RemovalScope::Names, product.type, name, m_options.force});
            m_plan.targets.push_back({product, installed});
        }
    }

    // Where the product that goes is the only installed one of the family, the library adds the whole catalogue.
    void NoteLastOneOut() {
        const auto isFamily = [](const Product& product) { return product.type == UNINSTALL_TYPE_FAMILY; };
        const auto named = std::count_if(m_plan.targets.begin(), m_plan.targets.end(),
                                         [&](const RemovalTarget& target) { return isFamily(target.product); });
        const auto installed = std::count_if(m_installed.begin(), m_installed.end(), isFamily);
        if (m_options.force || named == 0 || named != installed) {
            return;
        }
        std::wstring others;
        for (const Product& product : m_known) {
            if (isFamily(product) && !Holds(m_installed, product)) {
                others += (others.empty() ? L"" : L", ") + Quoted(product.name);
            }
        }
        if (!others.empty()) {
            m_plan.notes.push_back(
                L"No product of the family stays: what else its catalogue lists goes too, unless the catalogue "
                L"forbids it: " +
                others);
        }
    }

    void AddCatalogue() {
        const bool force = m_options.scope == RemovalScope::ForceAll;
        if (!force && m_installed.empty()) {
            return;
        }
        const auto type = m_options.catalogues == PRODRM_FAMILY ? UNINSTALL_TYPE_FAMILY : UNINSTALL_TYPE_FOREIGN;
        m_plan.steps.push_back({m_options.scope, type, {}, force});
        // A single installed product takes all the others of its catalogue along.
        const bool everything = force || m_installed.size() == 1;
        for (const Product& product : everything ? m_known : m_installed) {
            m_plan.targets.push_back({product, Holds(m_installed, product)});
        }
        if (everything && !force) {
            m_plan.notes.push_back(
                L"Only one product of the catalogue is installed: everything that the catalogue lists goes with it.");
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
