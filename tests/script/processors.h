#pragma once

#include <windows.h>

#include "script/CProductUninstall.h"
#include "support/com_scope.h"
#include "support/notifications.h"
#include "support/played_resource.h"
#include "support/script_builder.h"

// The processors of a script with their lists in the open, one text an entry.

inline std::wstring Flag(bool set, const wchar_t* name) {
    return set ? std::wstring(L" ") + name : std::wstring();
}

template <typename List, typename Text>
void Append(Lines& lines, const wchar_t* kind, const List& list, const Text& text) {
    for (const auto& entry : list) {
        lines.push_back(kind + text(entry));
    }
}

// The use scan of a script. A test may fill the lists itself.
class Scan : public CProductCheckUse {
public:
    explicit Scan(const std::wstring& scriptName = L"staying.xml") : CProductCheckUse(scriptName) {}

    using CProductCheckUse::usedFiles;
    using CProductCheckUse::usedFolders;
    using CProductCheckUse::usedRegKeys;
    using CProductCheckUse::usedRegValues;
    using CProductCheckUse::usedTools;

    // List after list.
    Lines Listed() const {
        const auto same = [](const std::wstring& text) { return text; };
        const auto entry = [](const RegistryEntry& key) { return key.path + Flag(key.x32view, L"x32"); };
        Lines lines;
        Append(lines, L"file ", usedFiles, same);
        Append(lines, L"folder ", usedFolders, same);
        Append(lines, L"key ", usedRegKeys, entry);
        Append(lines, L"value ", usedRegValues, entry);
        Append(lines, L"driver ", usedDrivers, same);
        Append(lines, L"tool ", usedTools, [](const ToolEntry& tool) { return tool.path + L" > " + tool.parameters; });
        return lines;
    }
};

// The scan of a text that is made to arrive.
inline Scan ScanOf(const std::wstring& text) {
    const ArrivingText arriving(text);
    return Scan();
}

inline const std::vector<CProductCheckUse> kNothingStays;

// The removal of the product "Product" with the script "product.xml".
class Removal : public CProductUninstall {
public:
    explicit Removal(const std::vector<CProductCheckUse>* usedBy = &kNothingStays)
        : CProductUninstall(L"Product", L"product.xml", usedBy, &Notifications::Hear) {
        Notifications::Clear(&::GetProgressPercent);
    }

    using CProductUninstall::m_cached;
    using CProductUninstall::Process;
    using CProductUninstall::SortCachedOps;

    // List after list.
    Lines Records() const {
        const auto same = [](const std::wstring& text) { return text; };
        const auto deferred = [](const DeferredOp& record) {
            std::wstring text = record.text;
            for (const auto& [name, value] : record.attributes) {
                text += L" " + name + L"=" + value;
            }
            return text;
        };
        Lines lines;
        Append(lines, L"restart ", m_restartDel.Paths(), same);
        Append(lines, L"file ", m_cached.delFiles, same);
        Append(lines, L"folder ", m_cached.delFolders, same);
        Append(lines, L"kill ", m_cached.killProcesses, same);
        Append(lines, L"disable ", m_cached.disableDrivers, same);
        Append(lines, L"search ", m_cached.delRegKeyData, [](const DelRegKeyDataOp& record) {
            return record.keyPath + L" [" + Joined(record.dataStrings, L"] [") + L"]" +
                   Flag(record.completeStr, L"complete") + Flag(record.x32view, L"x32");
        });
        Append(lines, L"", m_cached.delReg, [](const DelRegOp& record) {
            return (record.isValue ? L"value " : L"key ") + record.keyPath +
                   (record.isValue ? L" = " + record.valueName : L"") + Flag(record.x32view, L"x32");
        });
        Append(lines, L"tool ", m_cached.execTools, [](const ExecToolOp& record) {
            return L"<" + record.commandLine + L">" + Flag(record.wait, L"wait") + Flag(record.showWindow, L"show") +
                   Flag(record.disableWow64Redir, L"native");
        });
        Append(lines, L"method ", m_cached.execDllMethods, deferred);
        Append(lines, L"stop ", m_cached.disableAndStopDrivers, deferred);
        Append(lines, L"shortcut ", m_cached.delShortcuts, [](const DelShortcutOp& record) {
            return record.path + L" > " + record.target + Flag(record.targetIsWholePath, L"whole");
        });
        return lines;
    }

private:
    ComScope m_com;
};

// Runs the removal of `script` to its end.
inline bool Remove(Removal& removal, const std::wstring& script) {
    Embed(script);
    return removal.Uninstall();
}
