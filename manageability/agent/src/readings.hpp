// SPDX-License-Identifier: Apache-2.0
//
// The device's readings: objects of the store's operational branch, one for each port, under the port's name with "_"
// for "/". In the models they are the entries of ots-oper's list of ports.
#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "kelda/store.hpp"
#include "yang.hpp"
#include "zpf_map/tree.hpp"

namespace zpf::agent {

/// "Ots0/0/0/2" is "/oper/optics/if/Ots0_0_0_2/".
std::string reading_branch(std::string_view port);

/// Appends the readings that the selection of a native read names.
void select_readings(const Yang& yang, const kelda::Reader& operational, const Node& selection, const SchemaNode& top,
                     Tree& out);

/// All readings as libyang data; null when there are none. A reading that the model does not take is left out.
bridge::DataPtr load_readings(const Yang& yang, const kelda::Reader& operational);

} // namespace zpf::agent
