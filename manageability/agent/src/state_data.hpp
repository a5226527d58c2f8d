// SPDX-License-Identifier: Apache-2.0
//
// State that is made up when it is asked for: ietf-netconf-monitoring, the YANG library, streams, counters.
#pragma once

#include <chrono>
#include <memory>
#include <string>

#include "counters.hpp"
#include "kelda/store.hpp"
#include "mapper.hpp"
#include "session_registry.hpp"
#include "writer.hpp"
#include "zpf_nacm/nacm.hpp"

namespace zpf::agent {

/// Faults of a device that can be told to have some.
class FaultSwitch {
public:
    virtual ~FaultSwitch() = default;
    /// @param value_tenths, delay_ms negative: not given
    virtual void inject(const std::string& port, const std::string& kind, int value_tenths, int delay_ms) = 0;
    virtual void clear(const std::string& port) = 0;
    virtual std::vector<std::pair<std::string, std::string>> all() const = 0; ///< port and kind
};

class StateData {
public:
    struct Parts {
        const Yang& yang;
        const kelda::Store& store;
        const Writer& writer;
        const SessionRegistry& sessions;
        const Counters& counters;
        const NacmCounters& nacm_counters;
        const Diagnostics& diagnostics;
        const FaultSwitch* faults;
        std::string trace_file;
        std::string version;
    };
    explicit StateData(Parts parts) : parts_(std::move(parts)) {}

    /// Data below a top node, or null when there are none of this kind.
    bridge::DataPtr below(const lysc_node& top) const;
    bool has_session(uint32_t id) const;

private:
    bridge::DataPtr monitoring() const;
    bridge::DataPtr agent() const;
    bridge::DataPtr streams() const;
    bridge::DataPtr access_counters() const;
    bridge::DataPtr library(const lysc_node& top) const;

    Parts parts_;
    std::chrono::system_clock::time_point started_ = std::chrono::system_clock::now();
};

/// Text of a module or submodule as its file has it; empty when there is none.
std::string schema_text(const Yang& yang, const std::string& name, const std::string& revision);

} // namespace zpf::agent
