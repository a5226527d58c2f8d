// SPDX-License-Identifier: Apache-2.0
//
// A plug-in's exports sorted by what they are for.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "probe.hpp"
#include "zpf_map/plugin.hpp"
#include "zpf_map/schema.hpp"

namespace zpf::cli {

struct CallbackRow {
    const SchemaNode* node;
    std::string symbol;   ///< empty when the plug-in exports none for the node
    std::string alias_of; ///< the shared default that the symbol is a second name of, or empty
    bool weak = false;
    Finding finding;
};

/// Callbacks of one module in one direction.
struct ModuleReport {
    std::string module;
    bool to_low; ///< OpenConfig to native, else native to OpenConfig
    std::vector<CallbackRow> rows;
};

struct SymbolReport {
    EntryWalkers walkers;
    std::vector<ModuleReport> modules;
    std::vector<std::string> other_walkers; ///< augment dispatchers and entries
    std::vector<std::string> defaults;
    std::vector<std::string> others; ///< translations, utilities, data
    std::vector<std::string> strays; ///< callbacks whose name belongs to no node of the models
};

/// Calls each callback once or twice (probe_callback). Throws Failure when entry walkers are missing.
SymbolReport report_symbols(const Plugin& plugin, const Schema& schema);

} // namespace zpf::cli
