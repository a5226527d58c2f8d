// SPDX-License-Identifier: Apache-2.0
//
// Keeps sessions busy for a while, one request under way in each, and says how it went.
#pragma once

#include <chrono>
#include <functional>
#include <string_view>
#include <vector>

#include "session.hpp"
#include "watch.hpp"

namespace zpf::bench {

/// One round, or the medians of several.
struct Sample {
    double per_second = 0;
    double p50_us = 0;
    double p99_us = 0;
    double server_us = 0; ///< processor time of the server a request
};

/// The operation to send next.
using NextOperation = std::function<std::string_view()>;

/// How long, or how many requests, whichever comes first.
struct LoadLimit {
    std::chrono::milliseconds time{1000};
    uint64_t requests = UINT64_MAX;
};

/**
 * Sends `next` on each session, again as soon as it is answered.
 * @param server process whose processor time is counted
 * Throws std::runtime_error when an answer is wrong or does not come.
 */
Sample run_load(std::vector<Client>& clients, const NextOperation& next, const LoadLimit& limit, pid_t server,
                const Watch& watch);

/// Each figure's own median. There must be a sample.
Sample median_of(const std::vector<Sample>& rounds);
double median_of(std::vector<double> values);

} // namespace zpf::bench
