#include <windows.h>
#include <shlwapi.h>

#include <algorithm>
#include <functional>
#include <string>
#include <vector>

#include "findings_passes.h"
#include "foundation/CSplitKeyPath.h"
#include "foundation/CWow64.h"
#include "foundation/owned.h"
#include "foundation/registry_access.h"

namespace preview {

namespace {

constexpr wchar_t kUninstall[] = L"SOFTWARE\\Microsoft\\Windows\\CurrentVersion\\Uninstall";
constexpr wchar_t kAppPaths[] = L"SOFTWARE\\Microsoft\\Windows\\CurrentVersion\\App Paths";
constexpr wchar_t kServices[] = L"SYSTEM\\CurrentControlSet\\Services";

struct Branch {
    HKEY hive;
    View view;
};

// Where programs register, on a system of two views or of one.
std::vector<Branch> Branches() {
    if (!CWow64::Instance().IsWow64Process()) {
        return {{HKEY_LOCAL_MACHINE, View::Bits32}, {HKEY_CURRENT_USER, View::Bits32}};
    }
    return {{HKEY_LOCAL_MACHINE, View::Bits64}, {HKEY_LOCAL_MACHINE, View::Bits32}, {HKEY_CURRENT_USER, View::Bits64}};
}

REGSAM ReadAccess(View view) {
    if (!CWow64::Instance().IsWow64Process() || view == View::None) {
        return kReadDefaultView;
    }
    return view == View::Bits32 ? kRead32BitView : kRead64BitView;
}

// Empty if there is none or it is no text.
std::wstring TextValue(HKEY key, const wchar_t* name) {
    DWORD type = REG_NONE;
    DWORD bytes = 0;
    if (::RegQueryValueExW(key, name, nullptr, &type, nullptr, &bytes) != ERROR_SUCCESS ||
        (type != REG_SZ && type != REG_EXPAND_SZ)) {
        return {};
    }
    std::wstring text(bytes / sizeof(wchar_t) + 1, L'\0');
    if (::RegQueryValueExW(key, name, nullptr, &type, reinterpret_cast<BYTE*>(text.data()), &bytes) != ERROR_SUCCESS) {
        return {};
    }
    wchar_t expanded[1024] = {};
    const DWORD length = ::ExpandEnvironmentStringsW(text.c_str(), expanded, static_cast<DWORD>(std::size(expanded)));
    return length != 0 && length <= std::size(expanded) ? expanded : text.c_str();
}

using ActOnKey = std::function<void(HKEY key, const std::wstring& name)>;

void ForEachSubkey(HKEY hive, const std::wstring& path, View view, const ActOnKey& act) {
    OwnedRegKey parent;
    if (::RegOpenKeyExW(hive, path.c_str(), 0, ReadAccess(view), parent.Put()) != ERROR_SUCCESS) {
        return;
    }
    wchar_t name[256] = {};
    for (DWORD index = 0; ::RegEnumKeyW(parent.Get(), index, name, 256) == ERROR_SUCCESS; ++index) {
        OwnedRegKey key;
        if (::RegOpenKeyExW(parent.Get(), name, 0, ReadAccess(view), key.Put()) == ERROR_SUCCESS) {
            act(key.Get(), name);
        }
    }
}

// The program file of a command line: quoted, or up to its extension, or all of it.
std::wstring ImageOf(std::wstring line) {
    if (line.starts_with(L'"')) {
        return line.substr(1, line.find(L'"', 1) - 1);
    }
    wchar_t windows[MAX_PATH] = {};
    ::GetSystemWindowsDirectoryW(windows, MAX_PATH);
    constexpr std::wstring_view kRoot = L"\\SystemRoot\\";
    constexpr std::wstring_view kDevice = L"\\??\\";
    if (line.starts_with(kRoot)) {
        line.replace(0, kRoot.size(), std::wstring(windows) + L"\\");
    } else if (line.starts_with(kDevice)) {
        line.erase(0, kDevice.size());
    }
    const wchar_t* const end = ::StrStrIW(line.c_str(), L".exe");
    return end != nullptr ? line.substr(0, static_cast<std::size_t>(end - line.c_str()) + 4) : line;
}

std::wstring ServiceImage(const std::wstring& name) {
    OwnedRegKey key;
    const std::wstring path = std::wstring(kServices) + L"\\" + name;
    if (::RegOpenKeyExW(HKEY_LOCAL_MACHINE, path.c_str(), 0, kReadDefaultView, key.Put()) != ERROR_SUCCESS) {
        return {};
    }
    return ImageOf(TextValue(key.Get(), L"ImagePath"));
}

class Programs {
public:
    Programs(Plan& plan, const Effects& effects) : m_plan(plan), m_effects(effects) {}

    void Check() {
        for (const Branch& branch : Branches()) {
            ForEachSubkey(branch.hive, kUninstall, branch.view, [&](HKEY key, const std::wstring& name) {
                CheckInstalled(branch, KeyText(branch, kUninstall, name), key, name);
            });
            ForEachSubkey(branch.hive, kAppPaths, branch.view, [&](HKEY key, const std::wstring& name) {
                CheckRegistered(KeyText(branch, kAppPaths, name), branch.view, ImageOf(TextValue(key, nullptr)),
                                L"the program " + name + L", registered in ");
            });
        }
        ForEachSubkey(HKEY_LOCAL_MACHINE, kServices, View::None, [&](HKEY key, const std::wstring& name) {
            if (m_effects.Service(name) == kNoNode) {
                CheckRegistered(KeyText({HKEY_LOCAL_MACHINE, View::None}, kServices, name), View::None,
                                ImageOf(TextValue(key, L"ImagePath")), L"the program of the service " + name + L", ");
            }
        });
        for (NodeId node = 0; node < m_plan.items.Size(); ++node) {
            CheckRunning(node);
        }
    }

private:
    static std::wstring KeyText(const Branch& branch, const wchar_t* path, const std::wstring& name) {
        return std::wstring(HiveName(branch.hive)) + L"\\" + path + L"\\" + name;
    }

    // A product that goes may take its own entry along, whatever folder it names.
    bool IsOfPlan(const std::wstring& displayName) const {
        return std::any_of(m_plan.products.begin(), m_plan.products.end(), [&](const PlannedProduct& product) {
            return ::StrStrIW(displayName.c_str(), product.name.c_str()) != nullptr ||
                   ::StrStrIW(product.name.c_str(), displayName.c_str()) != nullptr;
        });
    }

    void CheckInstalled(const Branch& branch, const std::wstring& keyPath, HKEY key, const std::wstring& name) {
        std::wstring displayName = TextValue(key, L"DisplayName");
        if (displayName.empty()) {
            displayName = name;
        }
        std::wstring location = TextValue(key, L"InstallLocation");
        std::erase(location, L'"');
        const NodeId entry = m_effects.Key(branch.view, keyPath);
        const NodeId holder = location.empty() ? kNoNode : m_effects.File(location);
        if (IsOfPlan(displayName) || (entry != kNoNode && holder != kNoNode)) {
            return;
        }
        const std::wstring whose = L"\"" + displayName + L"\" (" + keyPath + ViewText(branch.view);
        if (entry != kNoNode) {
            Warn(entry, L"is, or holds, the Uninstall entry of the program " + whose + L")");
        }
        if (location.empty()) {
            return;
        }
        const std::wstring where = whose + L", InstallLocation " + location + L")";
        if (holder != kNoNode) {
            Warn(holder, L"is, or holds, the folder of the program " + where);
        } else if (const NodeId inside = IsCommon(location) ? kNoNode : m_effects.Below(location); inside != kNoNode) {
            Warn(inside, L"lies in the folder of the program " + where);
        }
    }

    // A folder that many programs share says nothing of whose the things in it are.
    static bool IsCommon(const std::wstring& location) {
        const std::wstring folded = FoldedPath(location);
        return std::count(folded.begin(), folded.end(), L'\\') < 2;
    }

    // A program that is registered by a key of its own, which stays.
    void CheckRegistered(const std::wstring& keyPath, View view, const std::wstring& image, const std::wstring& what) {
        const NodeId holder = image.empty() ? kNoNode : m_effects.File(image);
        if (holder != kNoNode && m_effects.Key(view, keyPath) == kNoNode) {
            Warn(holder, L"is, or holds, " + what + keyPath + ViewText(view) + L": " + image);
        }
    }

    void CheckRunning(NodeId node) {
        const Item& item = m_plan.items[node];
        if (!item.IsItem() || item.state != ItemState::Present) {
            return;
        }
        if (item.kind == ItemKind::Process) {
            const std::wstring image = m_plan.items.Path(node);
            if (image.find(L'\\') == std::wstring::npos) {
                AddFinding(m_plan, "foreign-process", Severity::Warn, node,
                           image + L" runs from a file that the system does not tell");
            } else if (m_effects.File(image) == kNoNode) {
                AddFinding(m_plan, "foreign-process", Severity::Warn, node,
                           L"the process runs from " + image + L", which does not go");
            }
        } else if (item.kind == ItemKind::Service) {
            const std::wstring image = ServiceImage(item.name);
            if (!image.empty() && m_effects.File(image) == kNoNode) {
                AddFinding(m_plan, "foreign-service", Severity::Warn, node,
                           std::wstring(L"the service ") + item.name + L" runs from " + image + L", which does not go");
            }
        }
    }

    // A root of the system holds other programs as a matter of course, and is told of already.
    void Warn(NodeId node, const std::wstring& evidence) {
        const bool isRoot = std::any_of(m_plan.findings.begin(), m_plan.findings.end(), [&](const Finding& finding) {
            return finding.item == node && finding.code == "protected-root";
        });
        if (isRoot) {
            return;
        }
        AddFinding(m_plan, "foreign", Severity::Warn, node, m_plan.items.Path(node) + L" " + evidence);
    }

    Plan& m_plan;
    const Effects& m_effects;
};

}  // namespace

void AddProgramFindings(Plan& plan, const Effects& effects) {
    Programs(plan, effects).Check();
}

}  // namespace preview
