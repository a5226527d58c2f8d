// SPDX-License-Identifier: Apache-2.0
//
// A commit that waits to be confirmed, as a record: a power cut must not make it permanent.
#pragma once

#include <string>
#include <string_view>

#include "writer.hpp"

namespace zpf::agent {

inline constexpr std::string_view kConfirmedRecord = "/agent/confirmed-commit";

std::string to_record(const Confirmed& confirmed);
Confirmed from_record(std::string_view record);

} // namespace zpf::agent
