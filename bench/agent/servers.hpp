// SPDX-License-Identifier: Apache-2.0
//
// The servers that are measured, each on a socket of its own.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "process.hpp"
#include "session.hpp"
#include "setting.hpp"

namespace zpf::bench {

/// One that sessions can be opened to.
class Server {
public:
    virtual ~Server() = default;
    virtual Client connect() const = 0;
    virtual pid_t pid() const = 0;
};

struct AgentOptions {
    std::string name = "agent";           ///< of its store and socket in the folder of the run
    std::size_t interfaces = 4;           ///< in the store, when that is new
    std::vector<std::string> arguments{}; ///< more of them
};

/// zpfd.
class AgentServer : public Server {
public:
    /// Starts it, and waits until it says that it is ready. Throws std::runtime_error with what it said otherwise.
    AgentServer(const Setting& setting, const AgentOptions& options);

    Client connect() const override;
    pid_t pid() const override { return process_.pid(); }
    const std::string& socket() const { return socket_; }
    /// From before it was started to its line "ready".
    std::chrono::duration<double, std::milli> start_time() const { return start_time_; }
    /// That line; it names the places where the agent listens.
    const std::string& ready_line() const { return ready_line_; }
    /// Ends it, and waits for that. Its store stays.
    void stop() { process_.stop(); }

private:
    Process start(const AgentOptions& options, int output) const;
    void wait_until_ready(const std::string& log);

    const Setting& setting_;
    std::string socket_;
    agent::UniqueFd output_; ///< the other end of its standard output; kept, so that it can always write there
    Clock::time_point began_;
    Process process_;
    std::string ready_line_;
    std::chrono::duration<double, std::milli> start_time_{};
};

/// Debian's netconfd, with the attenuators' module and both attenuators configured.
class ReferenceServer : public Server {
public:
    /// @param ssh_port which its relay will be told that clients come from; netconfd lets in only those
    ReferenceServer(const Setting& setting, uint16_t ssh_port);

    Client connect() const override;
    pid_t pid() const override { return process_.pid(); }
    const std::string& socket() const { return socket_; }

    /// It loses a request which it reads together with the hello.
    static constexpr std::chrono::milliseconds kPauseAfterHello{200};

private:
    Process start(uint16_t ssh_port) const;

    const Setting& setting_;
    std::string socket_;
    std::string connect_line_; ///< what its relay sends before anything else
    Process process_;
};

} // namespace zpf::bench
