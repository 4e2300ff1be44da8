#pragma once

#include <windows.h>
#include <msxml2.h>

#include <string>

#include "foundation/com.h"

// The work done by bare system calls, without any of the library's code around them.

// A document loaded by MSXML from a file or a text.
ComPtr<IXMLDOMDocument> BareLoad(const std::wstring& file);
ComPtr<IXMLDOMDocument> BareLoadText(const std::wstring& text);

// FindFirst/FindNext, SetFileAttributes, DeleteFile, RemoveDirectory over a tree.
void BareDeleteTree(const std::wstring& folder);

// Asks for the longest names, enumerates values and subkeys into lists, deletes the values, goes down, deletes the
// key: a snapshot needs the sizes, since nothing else bounds a name.
void BareDeleteKey(HKEY hive, const std::wstring& subkey, REGSAM view);

// Opens and closes; false if the key is not there.
bool BareOpenKey(HKEY hive, const std::wstring& subkey, REGSAM access);

// Reads the display name of each program in one view of the Uninstall key.
void BareReadDisplayNames(REGSAM access);

// Reads the target of each link in a folder and deletes the link.
void BareDeleteLinks(const std::wstring& folder);

// The same without deleting anything: how many files and folders, keys or links there are. The keys by opening each and
// enumerating its subkeys, the links by reading their targets.
int BareFindTree(const std::wstring& folder);
int BareFindKey(HKEY base, const std::wstring& subkey, REGSAM view);
int BareReadLinks(const std::wstring& folder);
