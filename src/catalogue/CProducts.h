#pragma once

#include <windows.h>
#include <msxml2.h>

#include <prodrm.h>

#include <string>
#include <vector>

#include "catalogue/CProduct.h"
#include "script/CProductCheckUse.h"

// A catalogue in memory. Made for one exported call.
class CProducts {
public:
    virtual ~CProducts() = default;

    // Appends the products of the file. One bad product fails the catalogue; what was read so far stays. A document
    // without its root element brings the process down by a null dereference, after the callback and two log lines.
    bool Load(const std::wstring& file, LONG type, NotifyCallback notify);

    const std::vector<CProduct>& Products() const { return m_products; }

    // Appends every product that is installed, in catalogue order. Always true.
    virtual bool GetInstalledProducts(std::vector<CProduct>& installed, LONG type) const;

    // The removals. Each product is tried whatever became of the one before; the result is true if all that were
    // tried went well. `restartRequired` receives whether one of them asks for a restart, false also if nothing is left
    // to do; it stays untouched only where the request ends before the lists are made.

    // Removes the named products that are installed and the forced ones whether they are or not. Spares what the
    // installed products that stay use. Where the only named product is the only one installed of the family, the
    // forced list is ignored and, unless the catalogue says otherwise, all the rest of the catalogue goes too.
    bool Uninstall(const std::vector<std::wstring>& names, const std::vector<std::wstring>& forcedNames, LONG type,
                   bool* restartRequired, NotifyCallback notify) const;
    // A single installed product takes all the rest of the catalogue with it.
    bool UninstallAllInstalled(LONG type, bool* restartRequired, NotifyCallback notify) const;
    // Removes every product of the catalogue, installed or not.
    bool UninstallForceAll(bool* restartRequired, NotifyCallback notify) const;

protected:
    // Removes one of the products that go; false if that failed. `restartRequired` is set if it asks for a restart.
    virtual bool Remove(const CProduct& product, const std::vector<CProductCheckUse>& toCheck, bool* restartRequired,
                        NotifyCallback notify) const;

private:
    // False if there is no such product; compared exactly, the first one counts.
    bool FindInCatalogue(const std::wstring& name, CProduct& product) const;
    void AppendNamed(const wchar_t* caller, const std::wstring& name, std::vector<CProduct>& toRemove) const;
    std::vector<CProduct> FindInstalledNames(const wchar_t* caller, const std::vector<std::wstring>& names,
                                             const std::vector<CProduct>& installed) const;
    void AppendRestOfCatalogue(std::vector<CProduct>& toRemove) const;
    bool Uninstall(const std::vector<CProduct>& toRemove, const std::vector<CProductCheckUse>& toCheck,
                   bool* restartRequired, NotifyCallback notify) const;

    bool LoadChildren(const wchar_t* caller, const std::wstring& file, IXMLDOMNode* root, LONG type,
                      NotifyCallback notify);
    bool LoadChild(const wchar_t* caller, IXMLDOMNode* child, LONG type, UninstallIndex& uninstall);

    std::vector<CProduct> m_products;
    bool m_execAll = true;
};
