// SPDX-License-Identifier: Apache-2.0
//
// One line, one write: the system call behind the debug log.
#pragma once

#include <string_view>

namespace zpf::base {

/**
 * Writes a line, line end included, in one call; only what a full pipe or disk cut off is written by another.
 * @param is_plain_file false when a reader could hang up: then the signal of that is held back, too
 * @return false when not all of it could be written
 */
bool write_line(int fd, std::string_view line, bool is_plain_file) noexcept;

} // namespace zpf::base
