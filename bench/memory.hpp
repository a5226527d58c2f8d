// SPDX-License-Identifier: Apache-2.0
//
// What is counted instead of timed: allocations of the plug-in, and the memory that a native walk takes.
#pragma once

#include <cstddef>
#include <string>
#include <vector>

#include "allocations.hpp"

namespace zpf::bench {

struct CountedWork {
    std::string what;
    Allocations allocations;
};

/// Allocations during one run of each kind of work. Throws when the count cannot be trusted.
std::vector<CountedWork> count_allocations_by_work();

/// Memory that one native walk takes.
struct WalkMemory {
    std::size_t entries;
    std::size_t allocated_bytes;
    std::size_t resident_growth_bytes; ///< of the process
};

WalkMemory measure_walk_memory(std::size_t entries);

} // namespace zpf::bench
