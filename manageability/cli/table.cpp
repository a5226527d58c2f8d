// SPDX-License-Identifier: Apache-2.0
//
// Rows in columns.
#include "table.hpp"

#include <fmt/format.h>

#include <algorithm>

namespace zpf::cli {

namespace {

std::string line_of(const std::vector<Column>& columns, const std::vector<std::size_t>& widths,
                    const std::vector<std::string>& cells)
{
    std::string line;
    for (std::size_t i = 0; i < columns.size(); ++i) {
        const std::string& cell = cells[i].empty() ? std::string{"-"} : cells[i];
        line += i == 0 ? "" : "  ";
        line += columns[i].align == Align::right ? fmt::format("{:>{}}", cell, widths[i])
                                                 : fmt::format("{:<{}}", cell, widths[i]);
    }
    line.erase(line.find_last_not_of(' ') + 1);
    return line;
}

} // namespace

void print_table(const std::vector<Column>& columns, const std::vector<std::vector<std::string>>& rows, Colour colour)
{
    std::vector<std::size_t> widths;
    std::vector<std::string> headings;
    for (std::size_t i = 0; i < columns.size(); ++i) {
        widths.push_back(columns[i].heading.size());
        headings.push_back(columns[i].heading);
        for (const auto& row : rows) {
            widths[i] = std::max(widths[i], row[i].size());
        }
    }
    const Style style = Style::of(stdout, colour);
    fmt::print("{}{}{}\n", style.heading, line_of(columns, widths, headings), style.off);
    for (const auto& row : rows) {
        fmt::print("{}\n", line_of(columns, widths, row));
    }
}

} // namespace zpf::cli
