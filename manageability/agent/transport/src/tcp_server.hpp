// SPDX-License-Identifier: Apache-2.0
//
// A listening TCP socket whose connections get a thread each, up to a limit.
#pragma once

#include "zpf_transport/transport.hpp"

#include <list>
#include <mutex>
#include <thread>

namespace zpf::agent {

class TcpServer {
public:
    /** One connection, on a thread of its own; returns when it is over. */
    using Serve = std::function<void(UniqueFd socket, const std::string& host)>;

    struct Terms {
        int max_connections;
        std::string refusal; ///< sent to a connection beyond the limit before it is closed
        std::string name;    ///< "ssh" or "tls", for where() and log lines
        LogSink log;
    };

    /** Listens at once, so that clients can connect; accept() begins to serve them. Throws std::runtime_error. */
    TcpServer(const std::string& address, uint16_t port, Terms terms);
    ~TcpServer();

    TcpServer(const TcpServer&) = delete;
    TcpServer& operator=(const TcpServer&) = delete;

    void accept(Serve serve);

    /** Readable from the moment of stop() on: connections watch it. */
    [[nodiscard]] int stop_fd() const { return stop_.get(); }
    [[nodiscard]] const std::string& where() const { return where_; }

    /** Accepts no more and returns once every connection's thread has ended. Again does nothing. */
    void stop();

private:
    struct Connection {
        std::thread thread;
        bool over = false;
    };

    void accept_until_stopped();
    void accept_one();
    void refuse_for_want_of_descriptors();
    void start(UniqueFd socket, std::string host);
    void run(Connection& connection, UniqueFd socket, const std::string& host);
    void join_those_over();

    Terms terms_;
    Serve serve_;
    UniqueFd listener_;
    UniqueFd stop_;
    UniqueFd ended_; // counts connections that are over, to wake the accepting thread
    UniqueFd spare_; // given up for a moment to accept, and refuse, when descriptors have run out
    std::string where_;
    std::mutex mutex_;                  // guards Connection::over
    std::list<Connection> connections_; // touched by the accepting thread, and by stop() after it
    std::thread acceptor_;
};

} // namespace zpf::agent
