// SPDX-License-Identifier: Apache-2.0
//
// Clients that come by the network: keys, the system's sshd before both servers, and programs that carry a session.
#pragma once

#include <cstdint>
#include <string>

#include "process.hpp"
#include "session.hpp"
#include "setting.hpp"

namespace zpf::bench {

/// A port of the loopback that nobody listens on now.
uint16_t free_port();

/// What the user logs in with, made for this run.
class Credentials {
public:
    explicit Credentials(const Setting& setting);

    std::string ssh_key;         ///< file
    std::string ssh_public_key;  ///< file
    std::string tls_key;         ///< file
    std::string tls_certificate; ///< file
    std::string tls_fingerprint; ///< SHA-256, hexadecimal
};

/// `ssh -s` to a subsystem on the loopback.
Client connect_ssh(const Setting& setting, const Credentials& credentials, uint16_t port, const std::string& subsystem,
                   std::chrono::milliseconds pause);

/// `openssl s_client` to a port of the loopback.
Client connect_tls(const Setting& setting, const Credentials& credentials, uint16_t port);

/// Debian's sshd on the loopback, with a subsystem for each server's relay.
class SshFront {
public:
    static constexpr const char* kAgentSubsystem = "netconf-agent";
    static constexpr const char* kReferenceSubsystem = "netconf-reference";

    /// Starts it and waits until it listens. Throws std::runtime_error.
    SshFront(const Setting& setting, const Credentials& credentials, uint16_t port, const std::string& agent_socket,
             const std::string& reference_socket);

private:
    Process process_;
};

} // namespace zpf::bench
