// SPDX-License-Identifier: Apache-2.0
//
// Two texts side by side.
#pragma once

#include <string>

namespace zpf::demo {

/// Prints both texts in columns under their headings; lines that are too long run into the margin rather than be cut.
void print_side_by_side(const std::string& left_heading, const std::string& left, const std::string& right_heading,
                        const std::string& right);

} // namespace zpf::demo
