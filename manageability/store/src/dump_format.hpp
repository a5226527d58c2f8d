// SPDX-License-Identifier: Apache-2.0
//
// First and last line of a dump.
#pragma once

#include <string_view>

namespace kelda::detail {

inline constexpr std::string_view kDumpHead = "kelda-dump 1";
inline constexpr std::string_view kDumpEnd = "end "; // then the number of records; it has no tab, as all records have

} // namespace kelda::detail
