#pragma once

#include <windows.h>

#include <string>

#include "foundation/owned.h"

namespace tools::logwriter {

// Lets the processes that write to one file take turns, by a word in memory that they share: a system object for this
// would cost more than the line. Where there is no such memory, a turn means nothing.
class FileTurn {
public:
    FileTurn() = default;
    explicit FileTurn(const std::wstring& path);

    // A turn for a scope. One thread of the process at a time.
    class Scope {
    public:
        explicit Scope(FileTurn& turn);
        ~Scope();
        Scope(const Scope&) = delete;
        Scope& operator=(const Scope&) = delete;

    private:
        LONG volatile* const m_owner;
    };

private:
    struct ViewTraits {
        using Value = void*;
        static Value Empty() { return nullptr; }
        static void Close(Value value) { ::UnmapViewOfFile(value); }
    };

    OwnedHandle m_section;
    Owned<ViewTraits> m_view;
};

}  // namespace tools::logwriter
