// SPDX-License-Identifier: Apache-2.0
//
// A NETCONF client on a stream socket, for tools on the box and for tests: one request at a time, blocking.
#pragma once

#include <chrono>
#include <cstdint>
#include <deque>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

#include "zpf_netconf/framing.hpp"

namespace zpf::netconf {

/// Where agent and tools meet unless told otherwise.
inline constexpr const char* kDefaultSocket = "/run/zpfd/netconf.sock";

/// The agent is not there, has gone, or does not answer.
class ConnectionError : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

class Client {
public:
    /// Connects to a UNIX socket and exchanges hellos. Throws ConnectionError saying what to do.
    explicit Client(const std::string& socket_path, std::chrono::milliseconds timeout = std::chrono::seconds{30});
    /// Takes over a connected stream socket.
    explicit Client(int connected_socket, std::chrono::milliseconds timeout = std::chrono::seconds{30});
    ~Client();
    Client(const Client&) = delete;
    Client& operator=(const Client&) = delete;

    /**
     * Sends an operation, e.g. "<get/>" of the base namespace, and waits for its reply.
     * @return the rpc-reply element; notifications that come before it are kept for next_notification().
     * Throws ConnectionError.
     */
    std::string request(std::string_view operation);

    /// Next notification element, waiting for it; empty when none came in time. Throws ConnectionError.
    std::string next_notification(std::chrono::milliseconds patience);

    uint32_t session_id() const { return session_id_; }
    const std::vector<std::string>& capabilities() const { return capabilities_; }
    int descriptor() const { return socket_; }

private:
    void hello();
    void send(std::string_view message);
    /// @return next message; empty after the patience
    std::string receive(std::chrono::milliseconds patience);

    int socket_;
    std::chrono::milliseconds timeout_;
    Framing framing_ = Framing::end_of_message;
    Deframer deframer_;
    std::deque<std::string> notifications_;
    uint32_t session_id_ = 0;
    uint64_t last_message_id_ = 0;
    std::vector<std::string> capabilities_;
};

} // namespace zpf::netconf
