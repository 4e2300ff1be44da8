// The orchestration of a removal: a request becomes the list of what goes and the list of what stays and is asked.

#include <algorithm>

#include "catalogue/CProducts.h"
#include "foundation/log_statement.h"
#include "foundation/result.h"
#include "script/CProductUninstall.h"

namespace {

bool Contains(const std::vector<CProduct>& list, const CProduct& product) {
    return std::any_of(list.begin(), list.end(), [&](const CProduct& entry) { return entry.SameAs(product); });
}

bool ContainsName(const std::vector<CProduct>& list, const std::wstring& name) {
    return std::any_of(list.begin(), list.end(), [&](const CProduct& entry) { return entry.Name() == name; });
}

std::wstring QuotedNames(const std::vector<CProduct>& products) {
    std::wstring text;
    for (const CProduct& product : products) {
        text += L'"' + product.Name() + L"\", ";
    }
    return text;
}

void ReportNothingToDo(const wchar_t* caller, bool noNames, bool noneInstalled) {
    LOG_AS(caller, kInfo, L"Nothing to uninstall");
    if (noNames) {
        LOG_AS(caller, kInfo, L"You try to uninstall zero installed products and zero force products");
    }
    if (noneInstalled) {
        LOG_AS(caller, kInfo, L"There are zero installed products and you try to uninstall zero force products");
    }
}

}  // namespace

bool CProducts::GetInstalledProducts(std::vector<CProduct>& installed, LONG type) const {
    std::copy_if(m_products.begin(), m_products.end(), std::back_inserter(installed),
                 [&](const CProduct& product) { return product.IsInstalled(type); });
    return true;
}

bool CProducts::FindInCatalogue(const std::wstring& name, CProduct& product) const {
    const auto found =
        std::find_if(m_products.begin(), m_products.end(), [&](const CProduct& entry) { return entry.Name() == name; });
    if (found == m_products.end()) {
        return false;
    }
    product = *found;
    return true;
}

void CProducts::AppendNamed(const wchar_t* caller, const std::wstring& name, std::vector<CProduct>& toRemove) const {
    CProduct product;
    if (FindInCatalogue(name, product)) {
        toRemove.push_back(std::move(product));
    } else {
        LOG_AS(caller, kError, L"the uninstall xml file doesn't provide info for \"%s\"", name.c_str());
    }
}

std::vector<CProduct> CProducts::FindInstalledNames(const wchar_t* caller, const std::vector<std::wstring>& names,
                                                    const std::vector<CProduct>& installed) const {
    std::vector<CProduct> found;
    for (const std::wstring& name : names) {
        if (ContainsName(installed, name)) {
            AppendNamed(caller, name, found);
        } else {
            LOG_AS(caller, kError, L"\"%s\" is not installed", name.c_str());
        }
    }
    return found;
}

void CProducts::AppendRestOfCatalogue(std::vector<CProduct>& toRemove) const {
    for (const CProduct& product : m_products) {
        if (!Contains(toRemove, product)) {
            toRemove.push_back(product);
        }
    }
}

bool CProducts::Uninstall(const std::vector<std::wstring>& names, const std::vector<std::wstring>& forcedNames,
                          LONG type, bool* restartRequired, NotifyCallback notify) const {
    std::vector<CProduct> installed;
    if (!GetInstalledProducts(installed, type)) {
        LOG(kError, L"GetInstalledProducts failed");
        return false;
    }
    if ((names.empty() || installed.empty()) && forcedNames.empty()) {
        ReportNothingToDo(CALLER, names.empty(), installed.empty());
        return true;
    }
    std::vector<CProduct> toRemove = FindInstalledNames(CALLER, names, installed);
    std::vector<CProductCheckUse> toCheck;
    if (toRemove.size() == 1 && installed.size() == 1 && type == UNINSTALL_TYPE_FAMILY) {
        // The last one out: forced names are not looked at and nothing stays to be asked.
        if (m_execAll) {
            AppendRestOfCatalogue(toRemove);
        }
    } else {
        // A product both named and forced stands there twice.
        for (const std::wstring& name : forcedNames) {
            AppendNamed(CALLER, name, toRemove);
        }
        if (type == UNINSTALL_TYPE_FAMILY) {
            for (const CProduct& product : installed) {
                if (!Contains(toRemove, product)) {
                    toCheck.emplace_back(product.File());
                }
            }
        }
    }
    const bool ok = Uninstall(toRemove, toCheck, restartRequired, notify);
    LOG(kInfo, L"<- %s", BoolName(ok));
    return ok;
}

bool CProducts::Uninstall(const std::vector<CProduct>& toRemove, const std::vector<CProductCheckUse>& toCheck,
                          bool* restartRequired, NotifyCallback notify) const {
    LOG(kInfo, L"UNINSTALL LIST : ");
    LOG(kInfo, L"%s", QuotedNames(toRemove).c_str());
    LOG(kInfo, L"CHECK LIST : ");
    for (const CProductCheckUse& product : toCheck) {
        LOG(kInfo, L"\"%s\"", product.GetScriptName().c_str());
    }
    bool ok = true;
    *restartRequired = false;
    for (const CProduct& product : toRemove) {
        if (!Remove(product, toCheck, restartRequired, notify)) {
            ok = false;
        }
    }
    return ok;
}

bool CProducts::Remove(const CProduct& product, const std::vector<CProductCheckUse>& toCheck, bool* restartRequired,
                       NotifyCallback notify) const {
    CProductUninstall removal(product.Name().c_str(), product.File(), &toCheck, notify);
    const bool ok = removal.Uninstall();
    if (removal.RestartRequired()) {
        *restartRequired = true;
    }
    return ok;
}

bool CProducts::UninstallAllInstalled(LONG type, bool* restartRequired, NotifyCallback notify) const {
    LOG(kInfo, L"-> UninstallAllInstalled");
    std::vector<CProduct> installed;
    if (!GetInstalledProducts(installed, type)) {
        LOG(kError, L"GetInstalledProducts failed");
        return false;
    }
    if (installed.size() == 1) {
        AppendRestOfCatalogue(installed);
    }
    const bool ok = Uninstall(installed, {}, restartRequired, notify);
    LOG(kInfo, L"<- UninstallAllInstalled %s", BoolName(ok));
    return ok;
}

bool CProducts::UninstallForceAll(bool* restartRequired, NotifyCallback notify) const {
    LOG(kInfo, L"-> UninstallForceAll");
    const bool ok = Uninstall(m_products, {}, restartRequired, notify);
    LOG(kInfo, L"<- UninstallForceAll %s", BoolName(ok));
    return ok;
}
