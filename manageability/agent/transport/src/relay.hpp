// SPDX-License-Identifier: Apache-2.0
//
// One connection from its first byte to its last, on the calling thread: login, then bytes both ways, then the parting.
#pragma once

#include "link.hpp"

#include <chrono>

namespace zpf::agent {

using Clock = std::chrono::steady_clock;

/** What the connections of one transport share. */
struct RelayTerms {
    int stop_fd = -1; ///< readable once the transport stops, and from then on
    std::chrono::milliseconds login_timeout{};
    std::chrono::milliseconds drain_timeout{};
    Arrival arrival;
    LogSink log;
};

/** Serves `link`, whose queues are `queues`, and returns when the connection is over. Throws only when memory is out.
 */
void serve(Link& link, Queues& queues, const RelayTerms& terms);

} // namespace zpf::agent
