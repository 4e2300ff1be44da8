#pragma once

#include <windows.h>

#include <prodrm.h>

#include <optional>
#include <string>
#include <vector>

#include "items.h"

// How the library judges whether a product is installed, as its own classes judge in this program.
namespace preview {

enum class Presence {
    NotJudged,  // judging ended before it
    Found,
    NotFound,
};

struct JudgedElement {
    std::wstring attributes;  // of an element that was not judged: the node as it stands
    Presence presence = Presence::NotJudged;
    int score = 0;
    bool mandatory = false;
    std::vector<std::wstring> reasons;  // the library's words, where it was not found
};

struct JudgedSection {
    std::wstring operation;
    int minimum = 0;
    std::optional<int> score;  // none: the section was broken off
    bool passed = false;
    bool mandatoryFailed = false;
    std::vector<JudgedElement> elements;
    std::vector<std::wstring> messages;
};

struct JudgedVersion {
    std::wstring name;
    bool installed = false;
    std::wstring appPath;
    std::wstring mandatorySections;  // "all" or "any"; empty if it was not arrived at
    std::vector<JudgedSection> sections;
    std::vector<std::wstring> messages;
};

// One look for a registry mark.
struct JudgedMark {
    std::wstring key;
    std::wstring value;  // empty: the key alone is looked for
    View view = View::None;
    bool found = false;
};

struct Judgement {
    bool installed = false;
    std::vector<JudgedMark> marks;
    std::wstring script;  // empty: none was asked
    std::vector<JudgedVersion> versions;
    std::vector<std::wstring> messages;
};

// Of the first product of that name. None if the catalogue of `library`'s folder cannot be loaded or does not hold it.
// COM must be initialised.
std::optional<Judgement> Judge(const std::wstring& name, UninstallType type, HMODULE library);

}  // namespace preview
