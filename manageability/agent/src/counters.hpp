// SPDX-License-Identifier: Apache-2.0
//
// What the agent counts. Any thread adds; state data and `zpf stats` show.
#pragma once

#include <array>
#include <atomic>
#include <chrono>
#include <cstdint>
#include <map>
#include <mutex>
#include <string>
#include <string_view>

namespace zpf::agent {

/// Sum and number of durations.
struct TimeSum {
    std::atomic<uint64_t> count{0};
    std::atomic<uint64_t> total_ns{0};

    void add(std::chrono::nanoseconds time)
    {
        count.fetch_add(1, std::memory_order_relaxed);
        total_ns.fetch_add(static_cast<uint64_t>(time.count()), std::memory_order_relaxed);
    }
};

struct OperationCount {
    uint64_t done = 0;
    uint64_t refused = 0;
};

struct Counters {
    TimeSum mapping;                            ///< reads and edits through the plug-in or the models
    TimeSum store;                              ///< commits, disk included
    TimeSum device;                             ///< configuration handed to the device
    std::atomic<uint64_t> committed_edits{0};   ///< edits in commits; beside `store` it tells how many shared one
    std::atomic<uint64_t> readings_left_out{0}; ///< readings that the model does not take
    std::atomic<uint64_t> readings_missing{0};  ///< readings that the device did not give
    std::atomic<uint64_t> sessions_opened{0};
    std::atomic<uint64_t> sessions_dropped{0}; ///< closed by the agent: limits, broken framing
    std::atomic<uint64_t> hellos_bad{0};
    std::atomic<uint64_t> cached_plans{0}; ///< reads that did not have to be parsed
    // Of sessions that have ended.
    std::atomic<uint64_t> past_in_rpcs{0};
    std::atomic<uint64_t> past_in_bad_rpcs{0};
    std::atomic<uint64_t> past_out_rpc_errors{0};
    std::atomic<uint64_t> past_out_notifications{0};

    void count_request(std::string_view operation, bool done);
    void count_refusal(std::string_view tag);
    std::map<std::string, OperationCount, std::less<>> requests() const;
    std::map<std::string, uint64_t, std::less<>> refusals() const;

private:
    mutable std::mutex mutex_;
    std::map<std::string, OperationCount, std::less<>> requests_;
    std::map<std::string, uint64_t, std::less<>> refusals_;
};

/// Adds the time of its life.
class Stopwatch {
public:
    explicit Stopwatch(TimeSum& sum) : sum_(sum), begin_(std::chrono::steady_clock::now()) {}
    ~Stopwatch() { sum_.add(std::chrono::steady_clock::now() - begin_); }
    Stopwatch(const Stopwatch&) = delete;
    Stopwatch& operator=(const Stopwatch&) = delete;

private:
    TimeSum& sum_;
    std::chrono::steady_clock::time_point begin_;
};

} // namespace zpf::agent
