// SPDX-License-Identifier: Apache-2.0
// Rows of texts under the names of their columns.
#ifndef KVN_TOOLS_KVN_TABLE_H
#define KVN_TOOLS_KVN_TABLE_H

#include "streams.h"

#include <algorithm>
#include <ostream>
#include <string>
#include <vector>

namespace kvn
{

class Table
{
public:
    explicit Table(std::vector<std::string> names) : rows_{std::move(names)} {}

    /// @param cells of a row; the last ones may be missing. Control characters are escaped.
    void add(std::vector<std::string> cells)
    {
        for (std::string& cell : cells)
            cell = printable(cell);
        rows_.push_back(std::move(cells));
    }

    /// Columns that no row fills are left out.
    void print(std::ostream& out) const
    {
        for (const auto& row : rows_) {
            std::string line;
            for (std::size_t column = 0; column < rows_.front().size(); ++column)
                if (const std::size_t width = width_of(column); width != 0)
                    line += padded(column < row.size() ? row[column] : "", width + 2);
            line.erase(line.find_last_not_of(' ') + 1);
            out << line << '\n';
        }
    }

private:
    static std::string padded(std::string text, std::size_t width)
    {
        text.resize(std::max(text.size(), width), ' ');
        return text;
    }
    /// 0 for a column that no row fills.
    [[nodiscard]] std::size_t width_of(std::size_t column) const
    {
        std::size_t widest = 0;
        for (std::size_t row = 1; row < rows_.size(); ++row)
            if (column < rows_[row].size())
                widest = std::max(widest, rows_[row][column].size());
        return widest == 0 ? 0 : std::max(widest, rows_.front()[column].size());
    }

    std::vector<std::vector<std::string>> rows_;
};

} // namespace kvn

#endif
