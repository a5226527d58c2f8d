// SPDX-License-Identifier: Apache-2.0
//
// What a plug-in's callback does with its node, learnt by calling it and watching: no table of ours says so, and the
// next plug-in needs none.
#pragma once

#include <string>

#include "zpf_map/plugin.hpp"
#include "zpf_map/schema.hpp"

namespace zpf::cli {

enum class Treatment {
    mapped,   ///< hands the node to a translation, or calls the framework itself
    accepted, ///< takes the node and does nothing
    refused,  ///< says that the device has nothing behind it
    failed,   ///< any other result
};

struct Finding {
    Treatment treatment = Treatment::accepted;
    std::string by; ///< the translation that ran, or empty
};

/// Calls the callback of a node in a context of its own, as a get and as an edit would.
Finding probe_callback(const Schema& schema, const SchemaNode& node, const ExportedSymbol& callback);

const char* to_string(Treatment treatment);

} // namespace zpf::cli
