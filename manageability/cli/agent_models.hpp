// SPDX-License-Identifier: Apache-2.0
//
// The agent's YANG modules, as the agent itself gives them: their names and namespaces, and their texts, so that data
// of any of them can be printed by the rules of JSON (RFC 7951) without files of models beside the tool.
#pragma once

#include <map>
#include <string>

#include "agent_client.hpp"

namespace zpf::cli {

struct AgentModule {
    std::string name;
    std::string revision; ///< empty: it has none
};

/// Modules that the agent implements, by namespace. One request; throws what AgentClient::rpc throws.
std::map<std::string, AgentModule> read_modules(AgentClient& agent);

/// Children of `data` as one JSON object, indented. Fetches the modules that they come from. Throws Failure when a
/// module of the agent cannot be used, and what AgentClient::rpc throws.
std::string to_json(AgentClient& agent, const XmlElement& data);

} // namespace zpf::cli
