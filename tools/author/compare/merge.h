#pragma once

#include <string>
#include <string_view>

#include "author/snapshot/line_reader.h"

namespace tools::author {

// A line of a snapshot: what the thing is called, and behind the last tab what it holds.
struct SnapshotLine {
    std::string_view identity;
    std::string_view facts;
};

SnapshotLine Split(std::string_view line);

// Walks two sorted files at once, in constant memory. `Step` gives the next difference.
class Merge {
public:
    enum class Kind { New, Gone, Changed };

    Merge(const std::wstring& before, const std::wstring& after);

    // False at the end. Throws a Failure, also where a file is not sorted.
    bool Step();

    Kind What() const { return m_kind; }
    // Of New and Changed from the file after, of Gone from the file before. Valid until Step.
    const SnapshotLine& Line() const { return m_kind == Kind::Gone ? m_old.line : m_new.line; }
    std::string_view OldFacts() const { return m_old.line.facts; }

private:
    struct Side {
        explicit Side(const std::wstring& file) : reader(file) {}

        void Advance();

        LineReader reader;
        SnapshotLine line;
        std::string last;  // identity
        bool atEnd = false;
    };

    Side m_old;
    Side m_new;
    Kind m_kind = Kind::Changed;
    bool m_takeOld = true;
    bool m_takeNew = true;
};

}  // namespace tools::author
