#pragma once

#include <string>
#include <utility>
#include <vector>

#include "common/text.h"

namespace tools {

// Rows in aligned columns below a heading. Every row has as many cells as the heading.
class Table {
public:
    using Row = std::vector<std::wstring>;

    explicit Table(Row heading, Escape escape = Escape::Unshowable) : m_rows{std::move(heading)}, m_escape(escape) {}

    void Add(Row row);
    std::wstring Text() const;

private:
    std::vector<Row> m_rows;
    Escape m_escape;
};

}  // namespace tools
