// SPDX-License-Identifier: Apache-2.0
//
// One NETCONF session of the measuring client: sends without waiting, and takes replies as their bytes come, so that
// one thread can keep many sessions busy.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include "process.hpp"
#include "watch.hpp"
#include "zpf_netconf/framing.hpp"
#include "zpf_transport/unique_fd.hpp"

namespace zpf::bench {

class Session {
public:
    /// Exchanges hellos over a connected stream socket, and then lets `pause` go by, for servers that lose a request
    /// which they read together with the hello. `preamble` is sent first of all. Throws std::runtime_error.
    Session(agent::UniqueFd stream, std::string_view preamble, std::chrono::milliseconds pause, const Watch& watch);

    int descriptor() const { return stream_.get(); }

    /// Sends an operation. Throws std::runtime_error.
    void send(std::string_view operation);
    /// Reads what has come. @return true when that completes the reply to the last operation. Throws
    /// std::runtime_error when the reply is an error or to another operation.
    bool receive();
    /// Last reply; good until the next call of receive().
    std::string_view reply() const { return reply_; }
    /// Sends, and waits for the reply. Throws std::runtime_error.
    std::string request(std::string_view operation, const Watch& watch);

private:
    void wait_readable(const Watch& watch) const;
    void write_out();
    std::optional<std::string_view> read_message();
    void check_reply() const;

    agent::UniqueFd stream_;
    netconf::Framing framing_ = netconf::Framing::end_of_message;
    netconf::Deframer deframer_;
    uint64_t id_ = 0;
    std::string id_text_; ///< message-id="N"
    std::string message_;
    std::string out_;
    std::string_view reply_;
};

/// A session, and the program that carries it, if there is one.
struct Client {
    std::optional<Process> carrier; ///< ends after the session
    Session session;
};

/// Connects to a UNIX socket. Throws std::runtime_error.
agent::UniqueFd connect_unix(const std::string& path);

/// A session over the standard streams of a program, as `ssh -s` is one.
Client client_through(const Program& carrier, std::chrono::milliseconds pause, const Watch& watch);

} // namespace zpf::bench
