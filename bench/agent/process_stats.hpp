// SPDX-License-Identifier: Apache-2.0
//
// What the system tells of a running process, and where its threads may run.
#pragma once

#include <chrono>
#include <cstdint>
#include <vector>

#include <sched.h>
#include <sys/types.h>

namespace zpf::bench {

/// Processor time of all its threads that live. Throws std::runtime_error when there is no such process.
std::chrono::nanoseconds processor_time(pid_t process);

/// Processor time in ticks of the system, as process lists count it, threads that have ended included.
uint64_t processor_ticks(pid_t process);

/// Memory that is in the machine and not only promised.
uint64_t resident_bytes(pid_t process);

/// Holds processes, with all their threads, on one processor for as long as it lives.
class Pinned {
public:
    explicit Pinned(std::vector<pid_t> processes);
    ~Pinned();
    Pinned(const Pinned&) = delete;
    Pinned& operator=(const Pinned&) = delete;

private:
    std::vector<pid_t> processes_;
    cpu_set_t before_{}; ///< of this process; all others were started by it
};

} // namespace zpf::bench
