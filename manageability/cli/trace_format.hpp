// SPDX-License-Identifier: Apache-2.0
//
// A trace line as text for people and as JSON for programs.
// Lines hold what clients sent; nothing in them may steer a terminal or break a JSON document.
#pragma once

#include <cstdint>
#include <string>

#include "zpf_base/trace.h"

namespace zpf::cli {

/** `2024-05-01 14:03:07.000250 [4711] text` in local time; bytes that are no printable UTF-8 as \xNN. */
std::string trace_text(const zpf_trace_line& line);

/** Says that lines are missing before the next one; empty for none. */
std::string lost_text(std::uint64_t lost);

/** One JSON object; bytes that are no UTF-8 become U+FFFD. `time_ns` is a string: it does not fit a double. */
std::string trace_json(const zpf_trace_line& line, std::uint64_t lost);

} // namespace zpf::cli
