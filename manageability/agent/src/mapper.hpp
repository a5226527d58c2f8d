// SPDX-License-Identifier: Apache-2.0
//
// The mapping of one thread: the shared driver and plug-in, and a context of its own.
#pragma once

#include <atomic>
#include <memory>
#include <string>

#include "yang.hpp"
#include "zpf_base/log.h"
#include "zpf_base/trace.h"
#include "zpf_map/context.hpp"
#include "zpf_map/driver.hpp"
#include "zpf_map/plugin.hpp"

namespace zpf::agent {

/// Where the framework's diagnostics go; levels may change while mappings run.
struct Diagnostics {
    std::atomic<uint32_t> log_levels{0}; ///< bit n admits level n of the framework's debug log; 0: silent
    std::atomic<bool> tracing{false};
    zpf_log* log = nullptr;
    zpf_trace_ring* ring = nullptr;
};

/// The client model's plug-in with what all threads share of it.
class Mapping {
public:
    /// Throws Failure.
    Mapping(Yang& yang, const std::string& plugin_file, Diagnostics& diagnostics);

    const Yang& yang() const { return yang_; }
    const Driver& driver() const { return driver_; }
    Diagnostics& diagnostics() const { return diagnostics_; }

private:
    const Yang& yang_;
    Plugin plugin_;
    Driver driver_;
    Diagnostics& diagnostics_;
};

/// One thread's. Requests of different threads are mapped side by side.
class Mapper {
public:
    explicit Mapper(const Mapping& mapping);

    const Yang& yang() const { return mapping_.yang(); }
    const Driver& driver() const { return mapping_.driver(); }
    Context& context() { return context_; }

    /// Begins a request: takes over the levels in force, and says in log and trace whose lines follow.
    void begin(uint32_t session_id, std::string_view message_id, std::string_view operation);

private:
    const Mapping& mapping_;
    Context context_;
    uint32_t levels_ = 0;
    bool tracing_ = false;
};

} // namespace zpf::agent
