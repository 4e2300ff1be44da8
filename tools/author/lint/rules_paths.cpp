// Rules about files, folders, shortcuts, processes and services.

#include "rules_paths.h"

#include <windows.h>

#include <algorithm>

#include "places.h"
#include "script/vocabulary.h"

namespace tools::lint {

namespace {

using namespace attribute;

constexpr std::wstring_view kSystemProcesses[] = {
    L"csrss.exe",   L"dllhost.exe",  L"dwm.exe",       L"explorer.exe", L"lsaiso.exe",  L"lsass.exe",
    L"lsm.exe",     L"msiexec.exe",  L"rundll32.exe",  L"services.exe", L"smss.exe",    L"spoolsv.exe",
    L"svchost.exe", L"taskhost.exe", L"taskhostw.exe", L"userinit.exe", L"wininit.exe", L"winlogon.exe",
};

constexpr std::wstring_view kSystemServices[] = {
    L"AppInfo",
    L"BFE",
    L"BITS",
    L"CryptSvc",
    L"DcomLaunch",
    L"Dhcp",
    L"disk",
    L"Dnscache",
    L"EventLog",
    L"EventSystem",
    L"gpsvc",
    L"LanmanServer",
    L"LanmanWorkstation",
    L"MpsSvc",
    L"msiserver",
    L"NTFS",
    L"PlugPlay",
    L"Power",
    L"ProfSvc",
    L"RpcEptMapper",
    L"RpcSs",
    L"SamSs",
    L"Schedule",
    L"SecurityHealthService",
    L"Spooler",
    L"Tcpip",
    L"TrustedInstaller",
    L"UserManager",
    L"WinDefend",
    L"Winmgmt",
    L"wuauserv",
};

// The attribute that names the thing of a file, folder or shortcut; null for other operations.
const wchar_t* PathAttribute(const Element& element) {
    if (element.Is(OPERATION_DEL_SHORTCUT)) {
        return kPath;
    }
    return element.Is(OPERATION_DEL_FILE) || element.Is(OPERATION_DEL_FOLDER) ? kName : nullptr;
}

const std::wstring* PathText(const Element& element) {
    const wchar_t* const attribute = PathAttribute(element);
    return attribute != nullptr ? element.Find(attribute) : nullptr;
}

const wchar_t* FolderAttribute(const Element& element) {
    return element.Is(OPERATION_DEL_SHORTCUT) ? kRelShortcut : kPath;
}

// %NAME%
bool HasEnvironmentName(const std::wstring& text) {
    const std::size_t first = text.find(L'%');
    const std::size_t second = first != std::wstring::npos ? text.find(L'%', first + 1) : first;
    return second != std::wstring::npos && second > first + 1;
}

bool IsAbsolute(const std::wstring& path) {
    const auto isSeparator = [](wchar_t unit) { return unit == L'\\' || unit == L'/'; };
    return path.size() > 2 &&
           ((path[1] == L':' && isSeparator(path[2])) || (isSeparator(path[0]) && isSeparator(path[1])));
}

bool ClimbsOut(const std::wstring& path) {
    for (std::size_t begin = 0; begin <= path.size();) {
        const std::size_t end = std::min(path.find_first_of(L"\\/", begin), path.size());
        if (std::wstring_view(path).substr(begin, end - begin) == L"..") {
            return true;
        }
        begin = end + 1;
    }
    return false;
}

bool NamesInAppPath(const Element& element) {
    const auto names = [&](const wchar_t* folder, std::initializer_list<const wchar_t*> files) {
        return IsExactly(element.Find(folder), element::kAppPath) &&
               std::any_of(files.begin(), files.end(),
                           [&](const wchar_t* file) { return element.FindNonEmpty(file) != nullptr; });
    };
    return names(kPath, {kName, kToolName, kModule}) || names(kRelTarget, {kTargetName}) || names(kRelName, {kName}) ||
           names(kRelShortcut, {kPath});
}

bool DeletesWholeAppPath(const Element& element) {
    return element.Is(OPERATION_DEL_FOLDER) && IsExactly(element.Find(kPath), element::kAppPath) &&
           element.FindNonEmpty(kName) == nullptr;
}

// Most elements need no closer look.
bool IsHarmless(const Element& element) {
    const std::wstring* const folder = element.FindNonEmpty(kPath);
    const std::wstring* const name = element.FindNonEmpty(kName);
    if (folder == nullptr || name == nullptr) {
        return false;
    }
    for (const System system : {System::X86, System::X64}) {
        for (const std::wstring& path : FoldersOf(*folder, *element.section->version, system)) {
            if (!IsHarmlessBelow(path, *name, system)) {
                return false;
            }
        }
    }
    return true;
}

}  // namespace

void CheckRelativePath(const Script& script, const Element& element, Report& report) {
    const std::wstring* const text = PathText(element);
    if (text == nullptr || element.FindNonEmpty(FolderAttribute(element)) != nullptr || IsAbsolute(*text) ||
        HasEnvironmentName(*text) || (text->empty() && !element.Is(OPERATION_DEL_SHORTCUT))) {
        return;
    }
    report.Add(RuleId::RelativePath, script.document, *element.node, PathAttribute(element),
               {*text, FolderAttribute(element)});
}

void CheckEnvironmentText(const Script& script, const Element& element, Report& report) {
    for (const wchar_t* const attribute : {PathAttribute(element), static_cast<const wchar_t*>(kCmdLine)}) {
        const std::wstring* const text = attribute != nullptr ? element.Find(attribute) : nullptr;
        const bool read = attribute != kCmdLine || element.Is(OPERATION_EXEC_TOOL);
        if (text != nullptr && read && HasEnvironmentName(*text)) {
            report.Add(RuleId::EnvironmentText, script.document, *element.node, attribute, {*text});
        }
    }
}

void CheckTrailingSeparator(const Script& script, const Element& element, Report& report) {
    const std::wstring* const text = PathText(element);
    if (text != nullptr && text->size() > 3 && (text->back() == L'\\' || text->back() == L'/') &&
        !element.Is(OPERATION_DEL_SHORTCUT)) {
        report.Add(RuleId::TrailingSeparator, script.document, *element.node, PathAttribute(element), {*text});
    }
}

void CheckParentFolder(const Script& script, const Element& element, Report& report) {
    const std::wstring* const text = PathText(element);
    if (text != nullptr && ClimbsOut(*text)) {
        report.Add(RuleId::ParentFolder, script.document, *element.node, PathAttribute(element), {*text});
    }
}

void CheckWildcard(const Script& script, const Element& element, Report& report) {
    const wchar_t* const attribute = element.Is(OPERATION_KILL_PROCESS) ? kTargetName : PathAttribute(element);
    const std::wstring* const text = attribute != nullptr ? element.Find(attribute) : nullptr;
    if (text != nullptr && text->find_first_of(L"*?") != std::wstring::npos) {
        report.Add(RuleId::Wildcard, script.document, *element.node, attribute, {*text});
    }
}

// By where the path leads on either kind of system.
void CheckWholePath(const Script& script, const Element& element, Report& report) {
    if (!(element.Is(OPERATION_DEL_FILE) || element.Is(OPERATION_DEL_FOLDER)) || IsHarmless(element)) {
        return;
    }
    const std::wstring* const name = element.Find(kName);
    const bool mayHoldRoot =
        script.role == Role::Removal && element.Is(OPERATION_DEL_FOLDER) && (name == nullptr || !name->empty());
    std::size_t longest = name != nullptr ? name->size() : 0;
    bool isProtected = false;
    for (const System system : {System::X86, System::X64}) {
        for (const std::wstring& path : PathsOf(element, system)) {
            longest = IsFromRegistry(path) ? longest : std::max(longest, path.size());
            if (mayHoldRoot && !isProtected && IsProtectedFolder(path, system)) {
                report.Add(RuleId::ProtectedRoot, script.document, *element.node, {path});
                isProtected = true;
            }
        }
    }
    if (longest >= MAX_PATH) {
        report.Add(RuleId::TooLong, script.document, *element.node, kName, {std::to_wstring(longest)});
    }
}

void CheckUnanchoredAppPath(const Script& script, Report& report) {
    for (const Version& version : script.versions) {
        const Element* whole = nullptr;
        bool anchored = false;
        for (const Section& section : version.sections) {
            for (const Element& element : section.elements) {
                whole = DeletesWholeAppPath(element) ? &element : whole;
                anchored = anchored || NamesInAppPath(element);
            }
        }
        if (script.role == Role::Removal && version.appPath != nullptr && whole != nullptr && !anchored) {
            report.Add(RuleId::UnanchoredAppPath, script.document, *whole->node);
        }
    }
}

void CheckProcessName(const Script& script, const Element& element, Report& report) {
    const std::wstring* const text = element.FindNonEmpty(kTargetName);
    if (text == nullptr || !element.Is(OPERATION_KILL_PROCESS) || text->find_first_of(L"*?") != std::wstring::npos) {
        return;
    }
    std::wstring name = text->substr(text->find_last_of(L"\\/") + 1);
    if (name.find(L'.') == std::wstring::npos) {
        name += L".exe";
    }
    if (name != *text) {
        report.Add(RuleId::ProcessName, script.document, *element.node, kTargetName, {*text, name});
    }
}

void CheckSystemProcess(const Script& script, const Element& element, Report& report) {
    const std::wstring* const text = element.Find(kTargetName);
    if (text != nullptr && element.Is(OPERATION_KILL_PROCESS) &&
        std::any_of(std::begin(kSystemProcesses), std::end(kSystemProcesses),
                    [text](std::wstring_view name) { return EqualsBlind(*text, name); })) {
        report.Add(RuleId::SystemProcess, script.document, *element.node, kTargetName, {*text});
    }
}

void CheckSystemService(const Script& script, const Element& element, Report& report) {
    const std::wstring* const text = element.Find(kName);
    const bool isService = element.Is(OPERATION_DISABLE_DRIVER) || element.Is(OPERATION_DISABLE_SERVICE) ||
                           element.Is(OPERATION_DISABLEANDSTOP_DRIVER) || element.Is(OPERATION_DISABLEANDSTOP_SERVICE);
    if (text != nullptr && isService && script.role == Role::Removal &&
        std::any_of(std::begin(kSystemServices), std::end(kSystemServices),
                    [text](std::wstring_view name) { return EqualsBlind(*text, name); })) {
        report.Add(RuleId::SystemService, script.document, *element.node, kName, {*text});
    }
}

void CheckRestartRequired(const Script& script, const Element& element, Report& report) {
    const std::wstring* const value = element.Find(kRestartRequired);
    if (value == nullptr || script.role != Role::Removal) {
        return;
    }
    if (IsYes(value)) {
        report.Add(RuleId::RestartRequired, script.document, *element.node, kRestartRequired,
                   {*value, L"asks for no restart", L"every other value does: write now, say"});
    } else if (IsOneOfBlind(*value, {L"no", L"false", L"0", L""})) {
        report.Add(RuleId::RestartRequired, script.document, *element.node, kRestartRequired,
                   {*value, L"asks for a restart, as every value but yes does", L"leave it out"});
    }
}

}  // namespace tools::lint
