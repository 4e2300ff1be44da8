#include "author/compare/merge.h"

#include <windows.h>

#include "common/failure.h"

namespace tools::author {

SnapshotLine Split(std::string_view line) {
    const std::size_t tab = line.rfind('\t');
    if (tab == std::string_view::npos) {
        return {line, {}};
    }
    return {line.substr(0, tab), line.substr(tab + 1)};
}

void Merge::Side::Advance() {
    last.assign(line.identity);
    atEnd = !reader.Next();
    line = Split(reader.Line());
    if (!atEnd && line.identity <= last) {
        throw Failure(ERROR_INSTALL_FAILURE, L"not a sorted snapshot: \"" + reader.File() + L"\"");
    }
}

Merge::Merge(const std::wstring& before, const std::wstring& after) : m_old(before), m_new(after) {}

bool Merge::Step() {
    for (;;) {
        if (m_takeOld) {
            m_old.Advance();
        }
        if (m_takeNew) {
            m_new.Advance();
        }
        if (m_old.atEnd && m_new.atEnd) {
            m_takeOld = m_takeNew = false;
            return false;
        }
        const int order = m_old.atEnd ? 1 : m_new.atEnd ? -1 : m_old.line.identity.compare(m_new.line.identity);
        m_takeOld = order <= 0;
        m_takeNew = order >= 0;
        if (order != 0 || m_old.line.facts != m_new.line.facts) {
            m_kind = order < 0 ? Kind::Gone : order > 0 ? Kind::New : Kind::Changed;
            return true;
        }
    }
}

}  // namespace tools::author
