#include <windows.h>

#include <algorithm>
#include <set>
#include <string>
#include <utility>
#include <vector>

#include "catalogue/CProducts.h"
#include "findings.h"
#include "findings_passes.h"
#include "foundation/CSplitKeyPath.h"
#include "foundation/CWow64.h"
#include "foundation/dom.h"
#include "foundation/log_statement.h"
#include "foundation/owned.h"
#include "foundation/registry_access.h"
#include "operations/COperations.h"
#include "script/CProductCheckUse.h"
#include "script/CProductInstalled.h"
#include "script/operation_request.h"
#include "script/vocabulary.h"

namespace preview {

namespace {

struct Catalogue {
    const wchar_t* file;
    UninstallType type;
    const wchar_t* name;
};

constexpr Catalogue kCatalogues[] = {
    {L"products.xml", UNINSTALL_TYPE_FAMILY, L"family"},
    {L"detection.xml", UNINSTALL_TYPE_FOREIGN, L"foreign"},
};

View ViewOf(bool x32view) {
    return x32view || !CWow64::Instance().IsWow64Process() ? View::Bits32 : View::Bits64;
}

std::wstring Describe(const OperationAttributes& attributes) {
    std::wstring text;
    if (const std::wstring* const opCode = attributes.Find(attribute::kOpCode)) {
        text = *opCode;
    }
    for (const auto& [name, value] : attributes) {
        if (name != attribute::kOpCode) {
            text.append(L" ").append(name).append(L"=\"").append(value).append(L"\"");
        }
    }
    return text;
}

// What an element or a mark names, and the item that takes it away.
struct Loss {
    NodeId item;
    std::wstring by;
};

// Judges a script as it would be judged after the removal: what goes counts as not found.
class DetectionAfter : public CProductInstalled {
public:
    DetectionAfter(const std::wstring& script, const Effects& effects)
        : CProductInstalled(script), m_effects(effects) {}

    const std::vector<Loss>& Losses() const { return m_losses; }

protected:
    bool ProcessDelFile(const OperationAttributes& attributes, const std::wstring& appPath) override {
        FileRequest request;
        return CProductInstalled::ProcessDelFile(attributes, appPath) &&
               ReadFileRequest(L"", attributes, appPath, request) && Stays(m_effects.File(request.path), attributes);
    }
    bool ProcessDelFolder(const OperationAttributes& attributes, const std::wstring& appPath) override {
        std::wstring path;
        return CProductInstalled::ProcessDelFolder(attributes, appPath) &&
               ReadFolderRequest(L"", attributes, appPath, path) && Stays(m_effects.File(path), attributes);
    }
    bool ProcessDelShortcut(const OperationAttributes& attributes, const std::wstring& appPath) override {
        ShortcutRequest request;
        return CProductInstalled::ProcessDelShortcut(attributes, appPath) &&
               ReadShortcutRequest(L"", attributes, appPath, request) &&
               Stays(m_effects.File(request.path), attributes);
    }
    bool ProcessDelRegKey(const OperationAttributes& attributes, const std::wstring& appPath) override {
        RegKeyRequest request;
        return CProductInstalled::ProcessDelRegKey(attributes, appPath) &&
               ReadRegKeyRequest(L"", attributes, LastPiece::Dropped, request) &&
               Stays(m_effects.Key(ViewOf(request.x32view), request.keyPath), attributes);
    }
    bool ProcessDelRegVal(const OperationAttributes& attributes, const std::wstring& appPath) override {
        RegValueRequest request;
        return CProductInstalled::ProcessDelRegVal(attributes, appPath) &&
               ReadRegValueRequest(L"", attributes, appPath, L"%s", request) &&
               Stays(m_effects.Value(ViewOf(request.x32view), request.keyPath, request.valueName), attributes);
    }
    bool ProcessDisableDriver(const OperationAttributes& attributes, const std::wstring& appPath) override {
        const std::wstring* const name = RequireDriverName(L"", attributes, L"");
        return CProductInstalled::ProcessDisableDriver(attributes, appPath) &&
               Stays(m_effects.Key(View::None, L"HKEY_LOCAL_MACHINE\\SYSTEM\\CurrentControlSet\\Services\\" + *name),
                     attributes);
    }

private:
    bool Stays(NodeId item, const OperationAttributes& attributes) {
        if (item == kNoNode) {
            return true;
        }
        m_losses.push_back({item, L"the element " + Describe(attributes) + L" of its script " + GetScriptName()});
        return false;
    }

    const Effects& m_effects;
    std::vector<Loss> m_losses;
};

// Asks the registry marks of a product again, as if what goes had gone.
class MarksAfter {
public:
    MarksAfter(const CProduct& product, UninstallType type, const Effects& effects) : m_effects(effects) {
        for (const CProductVersion& version : product.Versions()) {
            HKEY hive = nullptr;
            std::wstring subkey;
            if (!CSplitKeyPath::Split(version.KeyPath(), hive, subkey)) {
                continue;
            }
            const View native = ViewOf(false);
            m_any = Survives(version, hive, subkey, native) || m_any;
            if (type == UNINSTALL_TYPE_FOREIGN) {
                // The second look takes the first of the two views that holds the key.
                const View other = CWow64::Instance().IsWow64Process() ? View::Bits32 : View::None;
                const bool isDefault = other != View::None && HasKey(version, hive, subkey, other);
                m_any = Survives(version, hive, subkey, isDefault ? other : native) || m_any;
            }
        }
    }

    bool Any() const { return m_any; }
    const std::vector<Loss>& Losses() const { return m_losses; }

private:
    static REGSAM Access(View view) {
        if (!CWow64::Instance().IsWow64Process()) {
            return kReadDefaultView;
        }
        return view == View::Bits32 ? kRead32BitView : kRead64BitView;
    }

    bool HasKey(const CProductVersion& version, HKEY hive, const std::wstring& subkey, View view) const {
        OwnedRegKey key;
        return ::RegOpenKeyExW(hive, subkey.c_str(), 0, Access(view), key.Put()) == ERROR_SUCCESS &&
               m_effects.Key(view, version.KeyPath()) == kNoNode;
    }

    bool Survives(const CProductVersion& version, HKEY hive, const std::wstring& subkey, View view) {
        OwnedRegKey key;
        const std::wstring& value = version.KeyValue();
        if (::RegOpenKeyExW(hive, subkey.c_str(), 0, Access(view), key.Put()) != ERROR_SUCCESS ||
            (!value.empty() &&
             ::RegQueryValueExW(key.Get(), value.c_str(), nullptr, nullptr, nullptr, nullptr) != ERROR_SUCCESS)) {
            return false;
        }
        const NodeId item =
            value.empty() ? m_effects.Key(view, version.KeyPath()) : m_effects.Value(view, version.KeyPath(), value);
        if (item == kNoNode) {
            return true;
        }
        m_losses.push_back({item, L"its mark " + version.KeyPath() + ViewText(view) +
                                      (value.empty() ? L"" : L" with the value " + value)});
        return false;
    }

    const Effects& m_effects;
    bool m_any = false;
    std::vector<Loss> m_losses;
};

// What a product that stays uses, by its own script read from its file, and the element that says so. Folders are left
// as they are named: to list what is in them would reset attributes there.
class UseScan : public CProductCheckUse {
public:
    explicit UseScan(const std::wstring& script) : CProductCheckUse(script) { Walk(); }

    struct Use {
        enum class Kind { File, Folder, Key, Value, Service };
        Kind kind;
        std::wstring path;
        View view;
        std::wstring element;
    };
    const std::vector<Use>& Uses() const { return m_uses; }

protected:
    bool ExecOperation(const OperationAttributes& attributes, const std::wstring& appPath) override {
        const bool result = CProductCheckUse::ExecOperation(attributes, appPath);
        const std::wstring element = Describe(attributes);
        TakePaths(usedFiles, Use::Kind::File, element);
        TakePaths(usedFolders, Use::Kind::Folder, element);
        TakePaths(usedDrivers, Use::Kind::Service, element);
        TakeEntries(usedRegKeys, Use::Kind::Key, element);
        TakeEntries(usedRegValues, Use::Kind::Value, element);
        return result;
    }

    bool ProcessDelFolder(const OperationAttributes& attributes, const std::wstring& appPath) override {
        std::wstring path;
        if (!ReadFolderRequest(L"", attributes, appPath, path)) {
            return false;
        }
        usedFolders.push_back(std::move(path));
        return true;
    }

    bool ProcessDisableAndStopDriver(const OperationAttributes& attributes, const std::wstring& appPath) override {
        return ProcessDisableDriver(attributes, appPath);
    }
    bool ProcessDisableAndStopService(const OperationAttributes& attributes, const std::wstring& appPath) override {
        return ProcessDisableDriver(attributes, appPath);
    }

private:
    void Walk() {
        const Loader load = [&](IXMLDOMDocument* document, HRESULT& hr) {
            return dom::LoadFile(document, GetScriptName(), hr) ? Loading::Loaded : Loading::NotLoaded;
        };
        Script script;
        if (!OpenScript(L"", load, script)) {
            return;
        }
        for (const std::wstring& version : script.versions) {
            WalkListedVersion(L"", script.root.Get(), version);
        }
    }

    void TakePaths(std::vector<std::wstring>& list, Use::Kind kind, const std::wstring& element) {
        for (std::wstring& path : list) {
            m_uses.push_back({kind, std::move(path), View::None, element});
        }
        list.clear();
    }
    void TakeEntries(std::vector<RegistryEntry>& list, Use::Kind kind, const std::wstring& element) {
        for (RegistryEntry& entry : list) {
            m_uses.push_back({kind, std::move(entry.path), ViewOf(entry.x32view), element});
        }
        list.clear();
    }

    std::vector<Use> m_uses;
};

bool Exists(const std::wstring& path) {
    const Wow64Redirection off(CALLER);
    return ::GetFileAttributesW(path.c_str()) != INVALID_FILE_ATTRIBUTES;
}

class Products {
public:
    Products(Plan& plan, const Effects& effects) : m_plan(plan), m_effects(effects) {}

    void Check(const CProduct& product, const Catalogue& catalogue) {
        const bool goes = std::any_of(m_plan.products.begin(), m_plan.products.end(), [&](const PlannedProduct& each) {
            return each.type == catalogue.type && each.name == product.Name();
        });
        if (goes || !product.IsInstalled(catalogue.type)) {
            return;
        }
        m_whose = L"\"" + product.Name() + L"\" (" + catalogue.name + L")";
        CheckDetection(product, catalogue.type);
        CheckUse(product);
    }

private:
    void CheckDetection(const CProduct& product, UninstallType type) {
        const MarksAfter marks(product, type, m_effects);
        DetectionAfter script(product.File(), m_effects);
        if (marks.Any() || (type == UNINSTALL_TYPE_FOREIGN && script.Process())) {
            return;
        }
        std::set<NodeId> told;
        for (const std::vector<Loss>* losses : {&marks.Losses(), &script.Losses()}) {
            for (const Loss& loss : *losses) {
                if (told.insert(loss.item).second) {
                    AddFinding(m_plan, "other-product", Severity::Stop, loss.item,
                               m_whose + L" stays and would no longer be detected: " + loss.by + L" goes with " +
                                   m_plan.items.Path(loss.item));
                }
            }
        }
    }

    void CheckUse(const CProduct& product) {
        const UseScan scan(product.File());
        std::set<NodeId> told;
        for (const UseScan::Use& use : scan.Uses()) {
            const NodeId item = Taken(use);
            if (item != kNoNode && told.insert(item).second) {
                AddFinding(m_plan, "shared", Severity::Stop, item,
                           m_plan.items.Path(item) + L": " + m_whose + L" stays and uses " + use.path +
                               ViewText(use.view) + L", by the element " + use.element + L" of its script " +
                               product.File());
            }
        }
    }

    // The item that takes away what is used, if it is there at all.
    NodeId Taken(const UseScan::Use& use) const {
        switch (use.kind) {
            case UseScan::Use::Kind::File:
                return Exists(use.path) ? m_effects.File(use.path) : kNoNode;
            case UseScan::Use::Kind::Folder: {
                const NodeId holder = Exists(use.path) ? m_effects.File(use.path) : kNoNode;
                return holder != kNoNode ? holder : m_effects.Below(use.path);
            }
            case UseScan::Use::Kind::Key:
                return m_effects.Key(use.view, use.path);
            case UseScan::Use::Kind::Value: {
                const std::size_t separator = use.path.find_last_of(L'\\');
                return m_effects.Value(use.view, use.path.substr(0, separator), use.path.substr(separator + 1));
            }
            case UseScan::Use::Kind::Service:
                return m_effects.Service(use.path);
        }
        return kNoNode;
    }

    Plan& m_plan;
    const Effects& m_effects;
    std::wstring m_whose;
};

// Calls act(product, catalogue) for what the catalogues in a folder list. One that this run does not need may be
// missing; one that cannot be read tells nothing of its products.
template <typename Act>
void ForEachProduct(const std::wstring& folder, const Act& act) {
    for (const Catalogue& catalogue : kCatalogues) {
        CProducts known;
        if (known.Load(folder + L"\\" + catalogue.file, catalogue.type, nullptr)) {
            for (const CProduct& product : known.Products()) {
                act(product, catalogue);
            }
        }
    }
}

bool Uses(const UseScan& scan, const std::wstring& path) {
    const std::wstring folded = FoldedPath(path);
    return std::any_of(scan.Uses().begin(), scan.Uses().end(), [&](const UseScan::Use& use) {
        return (use.kind == UseScan::Use::Kind::File && FoldedPath(use.path) == folded) ||
               (use.kind == UseScan::Use::Kind::Folder && IsWithin(FoldedPath(use.path), folded));
    });
}

}  // namespace

void AddProductFindings(Plan& plan, const Effects& effects, const std::wstring& folder) {
    Products products(plan, effects);
    ForEachProduct(folder,
                   [&](const CProduct& product, const Catalogue& catalogue) { products.Check(product, catalogue); });
}

std::vector<EndangeredPath> EndangeredByRestart(const std::wstring& folder, const std::vector<std::wstring>& pending) {
    std::vector<EndangeredPath> endangered;
    ForEachProduct(folder, [&](const CProduct& product, const Catalogue& catalogue) {
        if (!product.IsInstalled(catalogue.type)) {
            return;
        }
        const UseScan scan(product.File());
        for (const std::wstring& path : pending) {
            if (Uses(scan, path) && Exists(path)) {
                endangered.push_back({path, product.Name()});
            }
        }
    });
    return endangered;
}

}  // namespace preview
