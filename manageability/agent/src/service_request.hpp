// SPDX-License-Identifier: Apache-2.0
//
// A message on its way through the service.
#pragma once

#include "config_change.hpp"
#include "service.hpp"

namespace zpf::agent {

struct Service::Request {
    std::shared_ptr<SessionInfo> session;
    std::string text;
    std::optional<Envelope> envelope; ///< views into text
    std::shared_ptr<const Message> message;
    std::string operation = "unreadable"; ///< for counters and logs
    std::shared_ptr<const Nacm> nacm;     ///< rules as they were when it came
    Complete complete;

    Author author(NacmCounters& counters) const { return {session->who, *nacm, counters}; }
};

/// Refuses children of an operation that it does not have.
void check_parameters(Element operation, std::initializer_list<std::string_view> known);

} // namespace zpf::agent
