#pragma once

#include <optional>
#include <string>

#include "command_line.h"
#include "foundation/owned.h"
#include "library.h"

namespace tools::host {

// A copy of the library that carries the document of a file, with the catalogues and scripts beside it, for as long as
// the object lives: in a folder of its own that the caller's account alone can write to. What an earlier run left
// behind because it broke off is cleared away first.
class DocumentLibrary {
public:
    // Throws a Failure, with what is wrong with the document and where, and leaves nothing behind.
    explicit DocumentLibrary(const std::wstring& document);
    DocumentLibrary(const DocumentLibrary&) = delete;
    DocumentLibrary& operator=(const DocumentLibrary&) = delete;
    ~DocumentLibrary();

    // Without a backslash at the end.
    const std::wstring& Folder() const { return m_folder; }

private:
    OwnedHandle m_inUse;  // held while the folder is needed; gone with the process
    std::wstring m_folder;
};

// The library that a command's options mean: the one beside this program, or a copy with a document of its own.
class PlannedLibrary {
public:
    explicit PlannedLibrary(const Options& options);

    const Library& Get() const { return *m_library; }

private:
    std::optional<DocumentLibrary> m_own;
    std::optional<Library> m_library;
};

}  // namespace tools::host
