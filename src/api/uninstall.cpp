#include <windows.h>
#include <oleauto.h>

#include <array>
#include <utility>

#include "api/com_rule.h"
#include "api/exports.h"
#include "api/host_exception.h"
#include "catalogue/CProducts.h"
#include "foundation/log_statement.h"
#include "foundation/path.h"
#include "foundation/result.h"
#include "script/progress.h"

namespace {

// The names that a host asks for, of one catalogue.
struct Request {
    std::vector<std::wstring> names;
    std::vector<std::wstring> forcedNames;

    bool Empty() const { return names.empty() && forcedNames.empty(); }
};

using Requests = std::array<Request, std::size(kCatalogues)>;

const wchar_t* NameOf(const ProductEntry& entry) {
    return entry.name != nullptr ? entry.name : L"";
}

// Calls visit(entry) for the elements at the positions lower bound to lower bound plus count, counted from the start
// of the data: a lower bound other than 0 shifts the reading.
template <typename Visit>
void ForEachEntry(const SAFEARRAY& products, const void* data, const Visit& visit) {
    const SAFEARRAYBOUND& bound = products.rgsabound[0];
    const LONG end = bound.lLbound + static_cast<LONG>(bound.cElements);
    for (LONG index = bound.lLbound; index < end; ++index) {
        visit(static_cast<const ProductEntry*>(data)[index]);
    }
}

std::wstring Describe(const SAFEARRAY& products, const void* data) {
    std::wstring text;
    ForEachEntry(products, data, [&](const ProductEntry& entry) {
        text += L'"';
        text += entry.type == UNINSTALL_TYPE_FAMILY ? L"ZN : " : L"EXT : ";
        text += NameOf(entry);
        text += entry.force != 0 ? L" force\" " : L"\" ";
    });
    return text;
}

Requests SortByCatalogue(const SAFEARRAY& products, const void* data) {
    Requests requests;
    ForEachEntry(products, data, [&](const ProductEntry& entry) {
        for (std::size_t index = 0; index < requests.size(); ++index) {
            if (entry.type == static_cast<ULONG>(kCatalogues[index].type)) {
                Request& request = requests[index];
                (entry.force != 0 ? request.forcedNames : request.names).emplace_back(NameOf(entry));
            }
        }
    });
    return requests;
}

enum class Loading { Loaded, NotLoaded, Refused };

// Reads the catalogue of one type; every failure is logged in the caller's name. Refused: no folder or no such type.
Loading LoadCatalogue(const wchar_t* caller, LONG type, NotifyCallback notify, CProducts& products) {
    std::wstring path;
    if (!CPath::GetCurrentPath(path)) {
        LOG_AS(caller, kError, L"GetCurrentPath failed");
        return Loading::Refused;
    }
    for (const Catalogue& source : kCatalogues) {
        if (source.type != type) {
            continue;
        }
        PathJoin(path, source.file);
        if (products.Load(path, type, notify)) {
            return Loading::Loaded;
        }
        LOG_AS(caller, kError, L"load products \"%s\" failed", path.c_str());
        return Loading::NotLoaded;
    }
    LOG_AS(caller, kError, L"Unknown unistall type %d", type);
    return Loading::Refused;
}

// The host gets its array back on every road.
class ArrayAccess {
public:
    explicit ArrayAccess(SAFEARRAY* array) : m_array(array) {}
    ArrayAccess(const ArrayAccess&) = delete;
    ArrayAccess& operator=(const ArrayAccess&) = delete;
    ~ArrayAccess() {
        if (m_array != nullptr) {
            End();
        }
    }

    HRESULT End() { return ::SafeArrayUnaccessData(std::exchange(m_array, nullptr)); }

private:
    SAFEARRAY* m_array;
};

}  // namespace

bool __cdecl UninstallProducts(SAFEARRAY* products, bool* restartRequired, NotifyCallback notify) {
    return RaisingToHost([&] {
        LOG(kInfo, L"->");
        const ComRule com;
        *restartRequired = false;
        void* data = nullptr;
        HRESULT hr = ::SafeArrayAccessData(products, &data);
        if (FAILED(hr)) {
            LOG(kError, L"SafeArrayAccessData failed 0x%x", hr);
            return false;
        }
        ArrayAccess access(products);
        LOG(kInfo, L"Uninstall : \"%s\"", Describe(*products, data).c_str());
        CProducts catalogue;  // serves both catalogues
        std::wstring path;
        if (!CPath::GetCurrentPath(path)) {
            LOG(kError, L"GetCurrentPath failed");
            return false;
        }
        bool ok = true;
        const Requests requests = SortByCatalogue(*products, data);
        hr = access.End();
        if (FAILED(hr)) {
            LOG(kError, L"SafeArrayUnaccessData failed 0x%x", hr);
        }
        for (std::size_t index = 0; index < requests.size(); ++index) {
            const Catalogue& source = kCatalogues[index];
            const Request& request = requests[index];
            if (request.Empty()) {
                continue;
            }
            // The folder string itself is extended: a second catalogue's path lies below the first one's and cannot
            // load.
            PathJoin(path, source.file);
            if (!catalogue.Load(path, source.type, notify)) {
                LOG(kError, source.notLoaded, path.c_str());
                ok = false;
                continue;
            }
            bool restart = false;
            if (ok) {
                ok = catalogue.Uninstall(request.names, request.forcedNames, source.type, &restart, notify);
            }
            // An and that starts at false stays false: this export never reports a restart.
            *restartRequired = *restartRequired && restart;
        }
        LOG(kInfo, L"<- %s", BoolName(ok));
        return ok;
    });
}

bool __cdecl UninstallProduct(const ProductEntry* product, bool* restartRequired, NotifyCallback notify) {
    return RaisingToHost([&] {
        LOG(kInfo, L"->");
        const ComRule com;
        const wchar_t* const name = NameOf(*product);
        LOG(kInfo, L"Uninstall \"%s\"", name);
        const LONG type = static_cast<LONG>(product->type);
        CProducts catalogue;
        const Loading loading = LoadCatalogue(CALLER, type, notify, catalogue);
        if (loading == Loading::Refused) {
            return false;
        }
        bool ok = false;
        if (loading == Loading::Loaded) {
            Request request;
            (product->force != 0 ? request.forcedNames : request.names).emplace_back(name);
            ok = catalogue.Uninstall(request.names, request.forcedNames, type, restartRequired, notify);
        }
        LOG(kInfo, L"<- %s", BoolName(ok));
        return ok;
    });
}

bool __cdecl UninstallForceAll(LONG type, bool* restartRequired, NotifyCallback notify) {
    return RaisingToHost([&] {
        const ComRule com;
        CProducts catalogue;
        return LoadCatalogue(CALLER, type, notify, catalogue) == Loading::Loaded &&
               catalogue.UninstallForceAll(restartRequired, notify);
    });
}

bool __cdecl UninstallAllInstalled(LONG type, bool* restartRequired, NotifyCallback notify) {
    return RaisingToHost([&] {
        const ComRule com;
        CProducts catalogue;
        return LoadCatalogue(CALLER, type, notify, catalogue) == Loading::Loaded &&
               catalogue.UninstallAllInstalled(type, restartRequired, notify);
    });
}

LONG __cdecl GetProgressPercent(void) {
    // Exchange value and comparand are the same: an atomic read.
    return ::InterlockedCompareExchange(&g_progressPercent, 2, 2);
}
