#pragma once

#include <string>
#include <vector>

namespace tools {

// Rows in aligned columns below a heading. Every row has as many cells as the heading.
class Table {
public:
    using Row = std::vector<std::wstring>;

    explicit Table(Row heading) : m_rows{std::move(heading)} {}

    void Add(Row row);
    std::wstring Text() const;

private:
    std::vector<Row> m_rows;
};

}  // namespace tools
