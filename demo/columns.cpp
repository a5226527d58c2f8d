// SPDX-License-Identifier: Apache-2.0
//
// Columns as wide as the widest line on the left.
#include "columns.hpp"

#include <fmt/format.h>

#include <algorithm>
#include <sstream>
#include <vector>

#include "output.hpp"

namespace zpf::demo {

namespace {

std::vector<std::string> lines_of(const std::string& text)
{
    std::vector<std::string> lines;
    std::istringstream in(text);
    for (std::string line; std::getline(in, line);) {
        lines.push_back(line);
    }
    return lines;
}

} // namespace

void print_side_by_side(const std::string& left_heading, const std::string& left, const std::string& right_heading,
                        const std::string& right)
{
    constexpr std::size_t kLeastWidth = 58;
    const auto style = cli::Style::of(stdout, cli::Colour::automatic);
    const auto left_lines = lines_of(left);
    const auto right_lines = lines_of(right);
    std::size_t width = std::max(kLeastWidth, left_heading.size());
    for (const std::string& line : left_lines) {
        width = std::max(width, line.size());
    }
    fmt::print("{}{:<{}}{}   {}{}{}\n", style.heading, left_heading, width, style.off, style.heading, right_heading,
               style.off);
    for (std::size_t i = 0; i < std::max(left_lines.size(), right_lines.size()); ++i) {
        fmt::print("{:<{}} | {}\n", i < left_lines.size() ? left_lines[i] : "", width,
                   i < right_lines.size() ? right_lines[i] : "");
    }
    fmt::print("\n");
}

} // namespace zpf::demo
