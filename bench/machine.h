#pragma once

#include <functional>
#include <string>

#include "bench.h"
#include "support/registry_sandbox.h"
#include "support/temp_folder.h"

constexpr int kMissing = 10000;  // elements of each of three kinds

// The thing to remove: a tree of files, a tree of keys and a folder of links.
class Machine {
public:
    explicit Machine(int files);

    std::string Script() const;
    std::wstring Tree() const { return m_folder.Path(L"tree"); }
    std::wstring Links() const { return m_folder.Path(L"links"); }
    std::wstring Subkey() const { return m_sandbox.Subkey(L"tree"); }

    void RemoveBare() const;
    bool IsClean() const;

private:
    void MakeLinks() const;

    TempFolder m_folder;
    RegistrySandbox m_sandbox;
};

// Lays the product into a folder, with one listed product and this document to remove by.
void PrepareProduct(const TempFolder& folder, const std::string& script);

// Calls the library's export; ends this process if it fails.
void Uninstall(const Library& library);

// Seconds that the removal of things that are not there takes.
double RemoveMissing();

// A document of things that are not there.
std::string MissingPath(const std::wstring& folder, const char* kind, int index);
std::string MissingScript(const std::wstring& folder, const std::wstring& key);

// Peak memory of a part of this program, in bytes above what it had before its work: `part` runs in a process of its
// own and calls TellPeak.
double PeakOfPart(const wchar_t* part, const TempFolder& folder);
int TellPeak(const std::wstring& folder, const std::function<void()>& work);
