// SPDX-License-Identifier: Apache-2.0
//
// Mapping contexts, and the lines that tell whose request follows.
#include "mapper.hpp"

#include <fmt/format.h>

#include "zpf/diagnostics.h"

namespace zpf::agent {

Mapping::Mapping(Yang& yang, const std::string& plugin_file, Diagnostics& diagnostics)
    : yang_(yang), plugin_(plugin_file), driver_(yang.schema(), plugin_), diagnostics_(diagnostics)
{
    for (const EntryWalker& walker : driver_.walkers().to_low) {
        yang.set_mapped(*walker.top, Home::mapped);
    }
    for (const EntryWalker& walker : driver_.walkers().to_high) {
        yang.set_mapped(*walker.top, walker.top->config ? Home::native : Home::operational);
    }
}

Mapper::Mapper(const Mapping& mapping) : mapping_(mapping), context_(&mapping.yang().schema()) {}

void Mapper::begin(uint32_t session_id, std::string_view message_id, std::string_view operation)
{
    const Diagnostics& diagnostics = mapping_.diagnostics();
    const uint32_t levels = diagnostics.log_levels.load(std::memory_order_relaxed);
    if (levels != levels_) {
        context_.set_log(levels, diagnostics.log);
        levels_ = levels;
    }
    const bool tracing = diagnostics.tracing.load(std::memory_order_relaxed);
    if (tracing != tracing_) {
        context_.set_trace(tracing ? diagnostics.ring : nullptr);
        tracing_ = tracing;
    }
    if (!tracing_ && levels_ == 0) {
        return;
    }
    const std::string line = fmt::format("session {} message-id \"{:.60}\" {:.60}", session_id, message_id, operation);
    if (tracing_) {
        trace_ring_write(diagnostics.ring, ZPF_TRACE_FLAGS,
                         fmt::format("{}: {}", ret_nc_zpf_trace_index_incr(), line).c_str());
    }
    if (levels_ != 0) {
        static uint32_t slot = 0xFFFFFFFF;
        log_filter_emit(diagnostics.log, 0, 0, 0, 0, 0, &slot, "%s", line.c_str());
    }
}

} // namespace zpf::agent
