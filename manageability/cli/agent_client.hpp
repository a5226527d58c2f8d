// SPDX-License-Identifier: Apache-2.0
//
// What the commands that talk to the agent share: options, a session, and refusals as the agent words them.
#pragma once

#include <functional>
#include <stdexcept>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "output.hpp"
#include "xml.hpp"
#include "zpf_netconf/client.hpp"

namespace CLI {
class App;
}

namespace zpf::cli {

inline constexpr const char* kNetconfNamespace = "urn:ietf:params:xml:ns:netconf:base:1.0";
inline constexpr const char* kAgentNamespace = "urn:zpf:yang:zpf-agent";

struct AgentOptions {
    std::string socket = netconf::kDefaultSocket;
    bool json = false;
    Colour colour = Colour::automatic;
};

/// An rpc-error of the agent.
struct RpcError {
    Refusal refusal;
    std::vector<std::pair<std::string, std::string>> info; ///< elements of error-info other than bad-element
};

/// The agent has refused a request.
class RefusedByAgent : public std::runtime_error {
public:
    explicit RefusedByAgent(std::vector<RpcError> errors);
    const std::vector<RpcError>& errors() const { return errors_; }

private:
    std::vector<RpcError> errors_;
};

/// A session with the agent.
class AgentClient {
public:
    /// Throws netconf::ConnectionError saying what to do.
    explicit AgentClient(const AgentOptions& options) : client_(options.socket) {}

    /// @return the rpc-reply element. Throws RefusedByAgent, netconf::ConnectionError, BadXml.
    XmlElement rpc(std::string_view operation);

    /// A `get` of state and configuration, with these elements as its subtree filter.
    XmlElement get(std::string_view filter);

    /// The same for the running configuration alone.
    XmlElement get_config(std::string_view filter);

    /// Ends the session in order; the agent being gone by then does no harm.
    void close();

    netconf::Client& session() { return client_; }

private:
    netconf::Client client_;
};

/// The agent's state of itself; an element without children when it tells nothing. Throws what AgentClient::rpc throws.
XmlElement read_agent_state(AgentClient& agent);

/// Adds --socket and --json.
void add_agent_options(CLI::App& command, AgentOptions& options);

/**
 * Runs what talks to the agent, and prints why it could not.
 * @return the exit status: 1 when the agent has refused, 3 when it cannot be reached
 */
int with_agent(const AgentOptions& options, const std::function<int(AgentClient&)>& work);

/// What all of these commands say at the end of their help.
inline constexpr const char* kAgentExitStatuses =
    "Exit status: 0 done, 1 the request was refused, 2 usage, 3 bad input file, or the agent cannot be reached.";

} // namespace zpf::cli
