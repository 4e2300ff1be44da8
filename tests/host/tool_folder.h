#pragma once

#include <windows.h>

#include <string>
#include <string_view>

#include "support/temp_folder.h"

// What one run of the tool left.
struct ToolRun {
    DWORD code;
    std::string out;
    std::string err;
};

// A folder of its own with a copy of the built tool, the library and the log module, where catalogues can be laid.
class ToolFolder {
public:
    ToolFolder();

    std::wstring Path(const std::wstring& relative) const { return m_folder.Path(relative); }
    std::wstring Write(const std::wstring& relative, std::string_view content) const {
        return m_folder.WriteFile(relative, content);
    }
    // Lays a catalogue whose root element holds `content`.
    void Catalogue(const std::wstring& file, const std::string& content) const;
    void Delete(const std::wstring& relative) const;

    // Embeds a document into the copy of the library.
    void Embed(std::string_view document) const;

    // Runs the tool to its end with files for its streams and nothing to read, in its own folder unless another is
    // named.
    ToolRun Run(const std::wstring& arguments, const std::wstring& folder = {}, DWORD outAccess = GENERIC_WRITE) const;

private:
    TempFolder m_folder;
};

// For ASCII paths.
std::string Narrow(const std::wstring& text);

std::string ReadBytes(const std::wstring& path);
