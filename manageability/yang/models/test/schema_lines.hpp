// SPDX-License-Identifier: Apache-2.0
//
// A compiled module as text, one line of facts for each path: what two models must agree in to be the same to clients.
#pragma once

#include <map>
#include <string>

#include "zpf_bridge/libyang.hpp"

namespace zpf::test {

/// Data path (with "prefix" being the module's name where it changes), or "identity NAME" and "feature NAME", to facts:
/// kind, type with its restrictions, units, config, mandatory, default, keys, status, and the order of the children.
std::map<std::string, std::string> schema_lines(const lys_module& module);

} // namespace zpf::test
