// SPDX-License-Identifier: Apache-2.0
//
// Rows in columns, for people.
#pragma once

#include <cstdio>
#include <string>
#include <vector>

#include "output.hpp"

namespace zpf::cli {

enum class Align { left, right };

struct Column {
    std::string heading;
    Align align = Align::left;
};

/// Prints the headings and the rows on standard output, each column as wide as its widest cell. An empty cell is "-".
void print_table(const std::vector<Column>& columns, const std::vector<std::vector<std::string>>& rows, Colour colour);

} // namespace zpf::cli
