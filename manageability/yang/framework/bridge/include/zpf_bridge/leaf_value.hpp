// SPDX-License-Identifier: Apache-2.0
//
// One value against its type.
#pragma once

#include <optional>
#include <string>

#include "zpf_bridge/libyang.hpp"

namespace zpf::bridge {

/// Why the type does not take the value, or nothing when it does; `canonical` then receives the canonical form.
std::optional<std::string> complain_about(const ly_ctx& ctx, const lysc_node& leaf, const std::string& value,
                                          std::string& canonical);

} // namespace zpf::bridge
