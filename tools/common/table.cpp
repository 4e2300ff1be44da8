#include "common/table.h"

#include <algorithm>
#include <cstddef>

namespace tools {

void Table::Add(Row row) {
    for (std::wstring& cell : row) {
        cell = Printable(cell, m_escape);
    }
    m_rows.push_back(std::move(row));
}

std::wstring Table::Text() const {
    std::vector<std::size_t> widths(m_rows.front().size());
    for (const Row& row : m_rows) {
        for (std::size_t column = 0; column < row.size(); ++column) {
            widths[column] = std::max(widths[column], DisplayWidth(row[column]));
        }
    }
    std::wstring text;
    for (const Row& row : m_rows) {
        for (std::size_t column = 0; column + 1 < row.size(); ++column) {
            text += row[column];
            text.append(widths[column] - DisplayWidth(row[column]) + 2, L' ');
        }
        text += row.back() + L"\n";
    }
    return text;
}

}  // namespace tools
