// SPDX-License-Identifier: Apache-2.0
//
// The naming rule of node callbacks, applied to a model.
#pragma once

#include <string>
#include <vector>

#include "zpf_bridge/libyang.hpp"

namespace zpf::test {

/**
 * Names that the callbacks of a module's own nodes have, for a plug-in named "ocopticalattenuator":
 * ymap_<direction>_<plug-in>_<module>_<kind>_lvla_<top>_<parent>_<node>, all lower case without hyphens, parent and
 * node left out where they are the top node. Nodes of an augment count from the first node of the module.
 *
 * @param direction "ox" (OpenConfig to native) or "xo"
 */
std::vector<std::string> callback_names(const ly_ctx& context, const lys_module& module, const std::string& direction);

} // namespace zpf::test
