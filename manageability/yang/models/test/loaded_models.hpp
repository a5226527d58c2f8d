// SPDX-License-Identifier: Apache-2.0
//
// YANG modules loaded as strictly as libyang can: what it merely warns of is kept, too.
#pragma once

#include <string>
#include <vector>

#include "zpf_bridge/libyang.hpp"

namespace zpf::test {

struct LoadedModels {
    bridge::ContextPtr context;
    std::vector<std::string> complaints; ///< errors and warnings, in the order in which they came
};

/// Loads modules by name, found with their imports in the folder. Missing ones are among the complaints.
LoadedModels load_models(const std::string& folder, const std::vector<std::string>& modules);

/// Names of the modules that have a file in the folder, sorted.
std::vector<std::string> modules_in(const std::string& folder);

/// The module as compiled, or null.
const lys_module* find_module(const LoadedModels& models, const std::string& name);

} // namespace zpf::test
