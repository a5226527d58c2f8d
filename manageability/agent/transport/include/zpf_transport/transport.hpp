// SPDX-License-Identifier: Apache-2.0
//
// Ways in for clients on the network. A transport logs a client in, decrypts, and hands the agent a plain byte stream
// and a user name; the agent knows nothing of what is behind the stream. Each connection has a thread of its own, which
// sleeps in the kernel while nothing moves, so that a connection that hangs or dies takes its own session with it and
// no other.
#pragma once

#include "zpf_transport/unique_fd.hpp"

#include <chrono>
#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace zpf::agent {

/** Who is at the other end of a stream. */
struct Peer {
    std::string user;
    std::string transport; ///< "netconf-ssh", "netconf-tls" or "unix"
    std::string host;      ///< numeric address without the port; empty for "unix"
    bool recovery = false; ///< exempt from access control; never set by a transport of the network
};

/**
 * Takes over one client that has logged in. Called on a thread of the transport, one call per connection, several at a
 * time, until stop() has returned.
 *
 * `stream` is one end of a socket pair (AF_UNIX, non-blocking, close-on-exec) and belongs to the callee. Reading it
 * gives what the client sends, and end of file once the client has ended; what is written before it is closed reaches
 * the client. A client that does not read makes writes to it fail with EAGAIN; a callee that does not read stops the
 * client.
 */
using Arrival = std::function<void(UniqueFd stream, Peer peer)>;

/** Level 1 error, 2 information, 3 debug; called on any thread of the transport, several at a time. May be empty. */
using LogSink = std::function<void(int level, std::string_view text)>;

/** A listening socket and its connections. */
class Transport {
public:
    virtual ~Transport() = default;

    /** Where it listens, with the actual port: "ssh:127.0.0.1:830", "tls:[::1]:6513". */
    [[nodiscard]] virtual std::string where() const = 0;

    /**
     * Listens no more, delivers what the agent has written so far to those clients that take it within a second, closes
     * every connection and joins every thread. Doing it again does nothing; the destructor does it.
     */
    virtual void stop() = 0;
};

/** Numbers that keep strangers from using up the machine. */
struct ConnectionLimits {
    int max_connections = 128;                       ///< those that have not logged in yet included
    std::chrono::milliseconds login_timeout{20'000}; ///< from accepting the connection to the first byte of the session
    std::chrono::milliseconds drain_timeout{5'000};  ///< for taking some of what the agent left when it closed its end
};

/** A user name, and the file or fingerprint that lets a client in by that name. */
using UserEntry = std::pair<std::string, std::string>;

struct SshOptions : ConnectionLimits {
    std::string host_key_dir;               ///< must exist; an ed25519 and an ecdsa key are made here on first start
    std::vector<UserEntry> authorized_keys; ///< user, file with public keys in OpenSSH's form; read anew at each login
    int max_auth_tries = 6;                 ///< refused attempts after which a connection is closed
};

struct TlsOptions : ConnectionLimits {
    std::string state_dir; ///< must exist; the server's key and certificate are made here when no files are named
    std::string certificate_file; ///< PEM, with the chain; empty: the one in state_dir
    std::string key_file;         ///< PEM; empty exactly when certificate_file is
    std::string ca_file;          ///< PEM; clients are let in by a certificate that these authorities vouch for
    /** SHA-256 fingerprint in hexadecimal (any case, with or without colons), user. These certificates are let in,
     * whoever has signed them, and name the user whatever their common name says; without ca_file, no others are. */
    std::vector<UserEntry> users;
};

/**
 * Listens for SSH on `address` (numeric, or a name; empty or "*": all) and `port` (0: any free one). Only public keys
 * log in, and only the subsystem "netconf" is served, once per connection. Throws std::runtime_error with a message
 * that says what failed, where, and what to do about it.
 */
std::unique_ptr<Transport> listen_ssh(const std::string& address, uint16_t port, SshOptions options, Arrival arrival,
                                      LogSink log);

/** Listens for TLS 1.2 and later, client certificates required; otherwise as listen_ssh. */
std::unique_ptr<Transport> listen_tls(const std::string& address, uint16_t port, const TlsOptions& options,
                                      Arrival arrival, LogSink log);

} // namespace zpf::agent
