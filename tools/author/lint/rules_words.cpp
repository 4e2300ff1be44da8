// Rules about single words: attributes and their values, operations, folder names, hives.

#include "rules_words.h"

#include <algorithm>

#include "foundation/CSpecialFolder.h"
#include "foundation/CSplitKeyPath.h"
#include "script/CProductConfig.h"
#include "script/vocabulary.h"

namespace tools::lint {

namespace {

using namespace attribute;

std::wstring OperationName(const Element& element) {
    return element.section->opCode + (element.words->callsLibrary ? L" with module" : L"");
}

// What an empty value would mean; null where an empty one is allowed or has a rule of its own.
const wchar_t* MeaningOfEmpty(const Element& element, std::wstring_view attribute) {
    switch (element.words->kind) {
        case OPERATION_DEL_FILE:
            return attribute == kName ? L"no file has an empty name" : nullptr;
        case OPERATION_DEL_FOLDER:
            return attribute == kName ? L"the folder path itself is meant then" : nullptr;
        case OPERATION_DEL_SHORTCUT:
            return attribute == kTargetName ? L"every link without a file as its target matches" : nullptr;
        case OPERATION_DEL_REGKEY:
            return attribute == kName ? L"no key has an empty path" : nullptr;
        case OPERATION_DEL_REGVALUE:
            return attribute == kKeyPath ? L"no key has an empty path" : nullptr;
        case OPERATION_KILL_PROCESS:
            return attribute == kTargetName ? L"no process has an empty name" : nullptr;
        case OPERATION_EXEC_TOOL:
            return IsOneOf(attribute, {kToolName, kModule, kMethodName}) ? L"there is nothing to start" : nullptr;
        default:
            return attribute == kName ? L"the key of all services is meant then" : nullptr;
    }
}

bool IsNumber(std::wstring_view text) {
    const std::size_t begin = text.find_first_not_of(L" \t+-");
    return begin != std::wstring_view::npos && text.find_first_not_of(L"0123456789", begin) == std::wstring_view::npos;
}

void CheckNumber(const Script& script, const Node& node, std::wstring_view attribute, Report& report) {
    const std::wstring* const value = node.Find(attribute);
    if (value != nullptr && !IsNumber(*value)) {
        const std::wstring number = std::to_wstring(::_wtoi(value->c_str()));
        report.Add(RuleId::BadValue, script.document, node, attribute,
                   {*value, std::wstring(attribute), number, L"a whole number"});
    }
}

// Of an attribute that is a yes or a no; `meant` tells which words are understood as they read.
template <typename Meant>
void CheckFlag(const Script& script, const Element& element, std::wstring_view attribute, const Meant& meant,
               const wchar_t* countsAs, const wchar_t* instead, Report& report) {
    const std::wstring* const value = element.Find(attribute);
    if (value != nullptr && !meant(*value)) {
        report.Add(RuleId::BadValue, script.document, *element.node, attribute,
                   {*value, std::wstring(attribute), countsAs, instead});
    }
}

bool ReadsAsMeant(const std::wstring& yesOrNo) {
    return IsOneOfBlind(yesOrNo, {L"yes", L"no", L"0", L"false", L""});
}

}  // namespace

void CheckUnknownAttribute(const Script& script, const Element& element, Report& report) {
    if (element.words == nullptr) {
        return;
    }
    for (const Attribute& attribute : element.node->attributes) {
        if (element.words->Reads(attribute.name) || IsReadAnywhere(attribute.name) ||
            IsKnownAttribute(attribute.name) || attribute.name == kOpCode || attribute.name.starts_with(L"xml")) {
            continue;
        }
        report.Add(RuleId::UnknownAttribute, script.document, *element.node, attribute.name,
                   {attribute.name, Suggest(attribute.name, *element.words)});
    }
}

void CheckIgnoredAttribute(const Script& script, const Element& element, Report& report) {
    if (element.words == nullptr) {
        return;
    }
    const auto ignored = [&](const std::wstring& name, const std::wstring& reason) {
        report.Add(RuleId::IgnoredAttribute, script.document, *element.node, name, {name, reason});
    };
    for (const Attribute& attribute : element.node->attributes) {
        if (attribute.name == kOpCode) {
            ignored(attribute.name, L"the section's operation counts");
        } else if (attribute.name == kCompleteStr && element.Find(kDataStr) == nullptr &&
                   element.Is(OPERATION_DEL_REGKEY)) {
            ignored(attribute.name, L"it needs data_str");
        } else if (!element.words->Reads(attribute.name) && IsKnownAttribute(attribute.name)) {
            ignored(attribute.name, OperationName(element) + L" does without it");
        }
    }
}

void CheckMissingAttribute(const Script& script, const Element& element, Report& report) {
    if (element.words == nullptr) {
        return;
    }
    for (const std::wstring_view attribute : element.words->required) {
        if (element.Find(attribute) == nullptr) {
            report.Add(RuleId::MissingAttribute, script.document, *element.node, {std::wstring(attribute)});
        }
    }
    if (element.Is(OPERATION_DEL_FOLDER) && element.FindNonEmpty(kPath) == nullptr &&
        element.FindNonEmpty(kName) == nullptr) {
        report.Add(RuleId::MissingAttribute, script.document, *element.node, {L"path or name"});
    }
}

void CheckEmptyText(const Script& script, const Element& element, Report& report) {
    if (element.words == nullptr) {
        return;
    }
    for (const Attribute& attribute : element.node->attributes) {
        const wchar_t* const meaning = attribute.value.empty() ? MeaningOfEmpty(element, attribute.name) : nullptr;
        const bool folderAlone = element.Is(OPERATION_DEL_FOLDER) && element.FindNonEmpty(kPath) == nullptr;
        if (meaning != nullptr && !folderAlone) {
            report.Add(RuleId::EmptyText, script.document, *element.node, attribute.name, {attribute.name, meaning});
        }
    }
}

void CheckBadValue(const Script& script, const Element& element, Report& report) {
    CheckNumber(script, *element.node, kScore, report);
    CheckFlag(script, element, kMandatory, ReadsAsMeant, L"no", L"yes, or leave it out", report);
    if (element.words == nullptr) {
        return;
    }
    CheckFlag(
        script, element, kX32View,
        [](const std::wstring& value) {
            return IsX32View(&value) || IsOneOfBlind(value, {L"0", L"false", L"no", L""});
        },
        L"false", L"true, or leave it out", report);
    for (const wchar_t* const flag : {kWait, kShowWindow, kDisableWow64Redir}) {
        CheckFlag(script, element, flag, ReadsAsMeant, L"no", L"yes, or leave it out", report);
    }
    if (element.Is(OPERATION_DEL_REGKEY)) {
        CheckFlag(
            script, element, kCompleteStr,
            [](const std::wstring& value) {
                return value == L"yes" || IsOneOfBlind(value, {L"no", L"0", L"false", L""});
            },
            L"no", L"yes in small letters, or leave it out", report);
    }
    if (element.Is(OPERATION_EXEC_TOOL)) {
        CheckFlag(
            script, element, kOs,
            [](const std::wstring& value) {
                return IsOneOf(value, {L"x32", L"x64", L""});
            },
            L"no limit", L"x32 or x64 in small letters", report);
        CheckNumber(script, *element.node, kSleepAfterExec, report);
    }
}

void CheckFolderNames(const Script& script, const Element& element, Report& report) {
    for (const wchar_t* const attribute : {kPath, kRelName, kRelShortcut, kRelTarget}) {
        if (element.words == nullptr || !element.words->Reads(attribute)) {
            continue;
        }
        const std::wstring* const name = element.Find(attribute);
        // Of a shortcut the path is none of these names; an empty rel_target counts by its presence.
        if (name == nullptr || (name->empty() && attribute != kRelTarget) ||
            (attribute == kPath && element.words->kind == OPERATION_DEL_SHORTCUT)) {
            continue;
        }
        CheckFolderName(script, element, attribute, *name, report);
    }
}

void CheckFolderName(const Script& script, const Element& element, const wchar_t* attribute, const std::wstring& name,
                     Report& report) {
    const Version& version = *element.section->version;
    if (name == element::kAppPath) {
        if (version.appPath == nullptr && version.installFolder == nullptr) {
            report.Add(RuleId::AppPathMissing, script.document, *element.node, attribute, {});
        }
        return;
    }
    static const std::vector<std::wstring> names = CSpecialFolder::Names();
    if (std::find(names.begin(), names.end(), name) != names.end()) {
        return;
    }
    if (!CSpecialFolder::NumberOf(name, true)) {
        std::vector<std::wstring> known = names;
        known.emplace_back(element::kAppPath);
        report.Add(RuleId::UnknownFolder, script.document, *element.node, attribute, {name, Suggest(name, known)});
        return;
    }
    const std::wstring lower = LowerCase(name);
    const wchar_t* const effect =
        lower == L"program_files" || lower == L"common_files" ? L" and means the 32-bit folder on a 64-bit system"
        : lower.starts_with(L"windows_system_drivers")        ? L" and means the system folder itself"
                                                              : L"";
    report.Add(RuleId::FolderCase, script.document, *element.node, attribute, {name, effect, lower});
}

void CheckHive(const Document& document, const Node& node, std::wstring_view attribute, Report& report) {
    const std::wstring* const key = node.Find(attribute);
    HKEY hive = nullptr;
    std::wstring subkey;
    if (key == nullptr || key->empty() || CSplitKeyPath::Split(*key, hive, subkey)) {
        return;
    }
    const std::size_t separator = key->find_first_of(L"\\/");
    const std::wstring hint = separator == std::wstring::npos ? L"a key is written as hive, separator and key below it"
                                                              : Suggest(key->substr(0, separator), HiveNames());
    report.Add(RuleId::UnknownHive, document, node, attribute, {*key, hint});
}

void CheckHives(const Script& script, const Element& element, Report& report) {
    if (element.Is(OPERATION_DEL_REGKEY)) {
        CheckHive(script.document, *element.node, kName, report);
    } else if (element.Is(OPERATION_DEL_REGVALUE)) {
        CheckHive(script.document, *element.node, kKeyPath, report);
    }
}

void CheckAttributesOf(const Document& document, const Node& node, std::initializer_list<std::wstring_view> read,
                       Report& report) {
    for (const Attribute& attribute : node.attributes) {
        if (!IsOneOf(attribute.name, read) && !attribute.name.starts_with(L"xml")) {
            const std::vector<std::wstring> known(read.begin(), read.end());
            report.Add(RuleId::UnknownAttribute, document, node, attribute.name,
                       {attribute.name, known.empty() ? L"no attribute is read here" : Suggest(attribute.name, known)});
        }
    }
}

void CheckRequired(const Document& document, const Node& node, std::wstring_view attribute, const wchar_t* ifEmpty,
                   Report& report) {
    const std::wstring* const value = node.Find(attribute);
    if (value == nullptr) {
        report.Add(RuleId::MissingAttribute, document, node, {std::wstring(attribute)});
    } else if (value->empty()) {
        report.Add(RuleId::EmptyText, document, node, attribute, {std::wstring(attribute), ifEmpty});
    }
}

// The words around the operation elements.
void CheckFrame(const Script& script, Report& report) {
    const Document& document = script.document;
    CheckAttributesOf(document, script.root, {}, report);
    for (const Version& version : script.versions) {
        CheckAttributesOf(document, *version.node, {kMandatorySections}, report);
        const std::wstring* const mode = version.node->Find(kMandatorySections);
        if (mode != nullptr && !IsOneOf(*mode, {L"all", L"any", L""})) {
            report.Add(RuleId::BadValue, document, *version.node, kMandatorySections,
                       {*mode, kMandatorySections, L"any", L"all or any in small letters"});
        }
        if (version.appPath != nullptr) {
            CheckAttributesOf(document, *version.appPath, {kKey, kName}, report);
            CheckRequired(document, *version.appPath, kKey, L"no key has an empty path", report);
            if (version.appPath->Find(kName) == nullptr) {  // an empty name is the key's own value
                report.Add(RuleId::MissingAttribute, document, *version.appPath, {kName});
            }
            CheckHive(document, *version.appPath, kKey, report);
        }
        if (version.installFolder != nullptr) {
            CheckAttributesOf(document, *version.installFolder, {kName}, report);
            CheckRequired(document, *version.installFolder, kName, L"app_path is program files itself then", report);
        }
    }
}

void CheckSections(const Script& script, Report& report) {
    for (const Version& version : script.versions) {
        for (const Section& section : version.sections) {
            CheckAttributesOf(script.document, *section.node, {kOpCode, kMinimumScore}, report);
            CheckNumber(script, *section.node, kMinimumScore, report);
            if (section.node->Find(kOpCode) == nullptr) {
                report.Add(RuleId::NoOperation, script.document, *section.node);
            } else if (!section.kind) {
                report.Add(RuleId::UnknownOperation, script.document, *section.node, kOpCode,
                           {section.opCode, Suggest(section.opCode, CProductConfig::OperationNames())});
            }
        }
    }
}

void CheckUnknownElement(const Script& script, Report& report) {
    const std::vector<std::wstring> known = {element::kAppPath, element::kInstallFolder, element::kSections};
    for (const Version& version : script.versions) {
        for (const Node& child : version.node->children) {
            if (child.IsElement() && std::find(known.begin(), known.end(), child.name) == known.end()) {
                report.Add(RuleId::UnknownElement, script.document, child, {child.name, Suggest(child.name, known)});
            }
        }
    }
}

}  // namespace tools::lint
