#include "plan.h"

#include <windows.h>

#include <algorithm>
#include <stdexcept>

#include "catalogues.h"
#include "common/com_scope.h"
#include "document.h"
#include "foundation/module.h"
#include "watched_removal.h"

namespace preview {

namespace {

struct Planning {
    Plan plan;
    Looks looks{plan.items};
    std::vector<CProduct> gone;
};

// A catalogue whose removals are looked at.
class WatchedCatalogue : public CProducts {
public:
    WatchedCatalogue(const RemovalCall& call, Planning& planning) : m_call(call), m_planning(planning) {}

    bool GetInstalledProducts(std::vector<CProduct>& installed, LONG type) const override {
        CProducts::GetInstalledProducts(installed, type);
        // What the calls before have removed is not found any more.
        std::erase_if(installed, [&](const CProduct& product) {
            return std::any_of(m_planning.gone.begin(), m_planning.gone.end(),
                               [&](const CProduct& gone) { return gone.SameAs(product); });
        });
        return true;
    }

protected:
    bool Remove(const CProduct& product, const std::vector<CProductCheckUse>& toCheck, bool* restartRequired,
                NotifyCallback) const override {
        const bool named = m_call.scope != RemovalCall::Scope::Product || product.Name() == m_call.name;
        Plan& plan = m_planning.plan;
        plan.products.push_back({product.Name(), product.File(), m_call.type, product.IsInstalled(m_call.type), named});
        WatchedRemoval removal(product, toCheck, plan, m_planning.looks);
        const bool watched = removal.Watch();
        *restartRequired = *restartRequired || removal.RestartRequired();
        m_planning.gone.push_back(product);
        if (!watched) {
            throw std::runtime_error("the document to remove by cannot be read");
        }
        return true;
    }

private:
    const RemovalCall& m_call;
    Planning& m_planning;
};

void Carry(const RemovalCall& call, Planning& planning) {
    WatchedCatalogue catalogue(call, planning);
    if (!LoadCatalogue(call.type, catalogue)) {
        throw std::runtime_error("a catalogue cannot be read");
    }
    bool restart = false;
    switch (call.scope) {
        case RemovalCall::Scope::Product: {
            const std::vector<std::wstring> names = {call.name};
            catalogue.Uninstall(call.force ? std::vector<std::wstring>() : names,
                                call.force ? names : std::vector<std::wstring>(), call.type, &restart, nullptr);
            break;
        }
        case RemovalCall::Scope::AllInstalled:
            catalogue.UninstallAllInstalled(call.type, &restart, nullptr);
            break;
        case RemovalCall::Scope::ForceAll:
            catalogue.UninstallForceAll(&restart, nullptr);
            break;
    }
}

}  // namespace

Plan MakePlan(const std::vector<RemovalCall>& calls, HMODULE library) {
    ActForModule(library);
    const tools::ComScope com;
    Planning planning;
    planning.plan.document = EmbeddedDocument();
    for (const RemovalCall& call : calls) {
        Carry(call, planning);
    }
    return std::move(planning.plan);
}

}  // namespace preview
