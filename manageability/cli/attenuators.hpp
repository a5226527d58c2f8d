// SPDX-License-Identifier: Apache-2.0
//
// The attenuators as the agent tells of them.
#pragma once

#include <string>
#include <vector>

#include "agent_client.hpp"

namespace zpf::cli {

struct Attenuator {
    std::string name;
    std::string controller;    ///< empty: the device has no such port
    std::string configured_db; ///< as the agent writes it; empty: not configured
    std::string actual_db;     ///< empty: not read
    std::string enabled;       ///< "true", "false", or empty
};

/// Sorted as the agent sorts them. Throws what AgentClient::rpc throws.
std::vector<Attenuator> read_attenuators(AgentClient& agent);

/**
 * Name of the controller behind an attenuator, and the other way round; empty for a name of another form. No tree says
 * which belongs to which, but both number the same place: "0/0-VOA-BST2" is "Ots0/0/0/2".
 */
std::string controller_of(const std::string& attenuator);
std::string attenuator_of(const std::string& controller);

} // namespace zpf::cli
