#pragma once

#include "script.h"

namespace tools::lint {

// Of operation elements.
void CheckUnknownAttribute(const Script& script, const Element& element, Report& report);
void CheckIgnoredAttribute(const Script& script, const Element& element, Report& report);
void CheckMissingAttribute(const Script& script, const Element& element, Report& report);
void CheckEmptyText(const Script& script, const Element& element, Report& report);
void CheckBadValue(const Script& script, const Element& element, Report& report);
void CheckFolderNames(const Script& script, const Element& element, Report& report);
void CheckFolderName(const Script& script, const Element& element, const wchar_t* attribute, const std::wstring& name,
                     Report& report);
void CheckHives(const Script& script, const Element& element, Report& report);

// Of what stands around them.
void CheckFrame(const Script& script, Report& report);
void CheckSections(const Script& script, Report& report);
void CheckUnknownElement(const Script& script, Report& report);

// Of any document: the attributes of a node that reads no others, one that must be there with a text, and a registry
// key with its hive.
void CheckAttributesOf(const Document& document, const Node& node, std::initializer_list<std::wstring_view> read,
                       Report& report);
void CheckRequired(const Document& document, const Node& node, std::wstring_view attribute, const wchar_t* ifEmpty,
                   Report& report);
void CheckHive(const Document& document, const Node& node, std::wstring_view attribute, Report& report);

}  // namespace tools::lint
