#pragma once

#include <string>
#include <string_view>

#include "foundation/owned.h"

namespace tools::host {

// A file that a run writes at its end. That it can be written is known from the beginning; what stood there before
// stays until then.
class KeptFile {
public:
    // Throws a Failure.
    explicit KeptFile(const std::wstring& path);
    KeptFile(const KeptFile&) = delete;
    KeptFile& operator=(const KeptFile&) = delete;
    // Without a word written, a file that was not there before goes again.
    ~KeptFile();

    const std::wstring& Path() const { return m_path; }
    // Throws a Failure.
    void Write(std::string_view bytes);

private:
    std::wstring m_path;
    OwnedFileHandle m_file;
    bool m_isNew = false;
};

}  // namespace tools::host
