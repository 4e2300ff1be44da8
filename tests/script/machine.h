#pragma once

#include "script/CProductInstalled.h"
#include "support/com_scope.h"
#include "support/recorded_log.h"
#include "support/registry_sandbox.h"
#include "support/script_builder.h"
#include "support/shell_link.h"
#include "support/temp_folder.h"

// A machine with a file, a folder, links and registry entries. In scripts, and in what is told of them, DIR and KEY
// stand for its folder and its key; "app_path" is the folder.
class Machine {
public:
    Machine() {
        folder.WriteFile(L"f.txt");
        folder.MakeFolder(L"sub");
        MakeLink(folder.MakeFolder(L"links") + L"\\app.lnk", folder.Path(L"app.exe"));
        key.SetString(L"", L"Folder", folder.Path());
        key.SetString(L"native\\child", L"runonce", L"match");
        key.SetString(L"native", L"runonce", L"match");
        key.SetString(L"native", L"", L"");
        key.SetString(L"native", folder.Path(L"f.txt"), L"");
        key.MakeKey(L"only32", View::Bits32);
    }

    // A script of one version with these sections.
    std::wstring Script(const std::wstring& sections, const std::wstring& attributes = {}) const {
        return names.Real(Document(L"<v/>", L"<v " + attributes + L"><app_path key='KEY' name='Folder'/><win_nt>" +
                                                sections + L"</win_nt></v>"));
    }

    // Judges a script's file.
    bool Judge(const std::wstring& script) {
        const std::wstring file = folder.WriteFile(L"script.xml", Utf8(script));
        log.Clear();
        return CProductInstalled(file).Process();
    }

private:
    ComScope m_com;

public:
    TempFolder folder;
    RegistrySandbox key;
    Nicknames names = {{L"DIR", folder.Path()}, {L"KEY", key.Path()}};
    RecordedLog log;
};
