#include "removal/removal.h"

namespace {

std::wstring Flag(bool set, const wchar_t* name) {
    return set ? std::wstring(L" ") + name : std::wstring();
}

void Append(Lines& records, const wchar_t* kind, const std::vector<std::wstring>& texts) {
    for (const std::wstring& text : texts) {
        records.push_back(kind + text);
    }
}

std::wstring Describe(const DeferredOp& record) {
    std::wstring text = record.text;
    for (const auto& [name, value] : record.attributes) {
        text += L" " + name + L"=" + value;
    }
    return text;
}

}  // namespace

Lines Removal::Records() const {
    Lines records;
    Append(records, L"restart ", m_restartDel.Paths());
    Append(records, L"file ", m_cached.delFiles);
    Append(records, L"folder ", m_cached.delFolders);
    Append(records, L"kill ", m_cached.killProcesses);
    Append(records, L"disable ", m_cached.disableDrivers);
    for (const DelRegKeyDataOp& record : m_cached.delRegKeyData) {
        std::wstring text = L"search " + record.keyPath;
        for (const std::wstring& piece : record.dataStrings) {
            text += L" [" + piece + L"]";
        }
        records.push_back(text + Flag(record.completeStr, L"complete") + Flag(record.x32view, L"x32"));
    }
    for (const DelRegOp& record : m_cached.delReg) {
        records.push_back((record.isValue ? L"value " : L"key ") + record.keyPath +
                          (record.isValue ? L" = " + record.valueName : L"") + Flag(record.x32view, L"x32"));
    }
    for (const ExecToolOp& record : m_cached.execTools) {
        records.push_back(L"tool " + record.commandLine + Flag(record.wait, L"wait") +
                          Flag(record.showWindow, L"show") + Flag(record.disableWow64Redir, L"native"));
    }
    for (const DeferredOp& record : m_cached.execDllMethods) {
        records.push_back(L"method " + Describe(record));
    }
    for (const DeferredOp& record : m_cached.disableAndStopDrivers) {
        records.push_back(L"stop " + Describe(record));
    }
    for (const DelShortcutOp& record : m_cached.delShortcuts) {
        records.push_back(L"shortcut " + record.path + L" > " + record.target +
                          Flag(record.targetIsWholePath, L"whole"));
    }
    return records;
}
