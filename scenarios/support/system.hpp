// SPDX-License-Identifier: Apache-2.0
//
// The system as it is shipped: the models, the plug-in and the driver that joins them.
//
// One of each serves a whole test program. The environment variable ZPF_SCENARIO_MODELS=published puts the published
// OpenConfig modules in place of ours.
#pragma once

#include <memory>
#include <string>

#include "zpf_bridge/data.hpp"
#include "zpf_bridge/models.hpp"
#include "zpf_map/driver.hpp"

namespace zpf::scenarios {

/// True when the run is meant for the published modules.
bool wants_published_models();

/// Why the modules wanted cannot be had, or empty.
std::string missing_models();

class System {
public:
    static const System& shared();

    const bridge::Models& models() const { return models_; }
    const Schema& schema() const { return models_.schema(); }
    const Plugin& plugin() const { return plugin_; }
    const Driver& driver() const { return driver_; }

    /// Options of an edit that is judged by the native models, as zpf does.
    EditOptions judged_edit(int32_t default_operation = ZPF_OP_MERGE) const;

private:
    System();

    bridge::Models models_;
    Plugin plugin_;
    Driver driver_;
};

} // namespace zpf::scenarios
