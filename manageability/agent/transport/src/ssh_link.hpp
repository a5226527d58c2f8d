// SPDX-License-Identifier: Apache-2.0
//
// One SSH connection as a link: key exchange, public-key login, one channel with the subsystem "netconf", its bytes.
#pragma once

#include "link.hpp"
#include "ssh_handles.hpp"

#include <mutex>

namespace zpf::agent {

/** What all SSH connections of a transport share. */
struct SshServer {
    SshOptions options;
    LogSink log;
    SshBind bind;
    std::mutex bind_mutex; // accepting a connection reads and may change the bind
};

/** Bytes handed to a buffer and not known to have left it. */
class Backlog {
public:
    void add(uint64_t bytes) { waiting_ += bytes; }
    void left(uint64_t bytes) { waiting_ -= bytes < waiting_ ? bytes : waiting_; }
    [[nodiscard]] uint64_t waiting() const { return waiting_; }

private:
    uint64_t waiting_ = 0;
};

class SshLink : public Link {
public:
    /** Takes over an accepted socket. Throws std::runtime_error when libssh does not. */
    SshLink(UniqueFd socket, const std::string& host, SshServer& server, Queues& queues);
    ~SshLink() override;

    SshLink(const SshLink&) = delete;
    SshLink& operator=(const SshLink&) = delete;

    [[nodiscard]] int descriptor() const override;
    [[nodiscard]] short events() const override;
    bool advance(bool ready) override;
    [[nodiscard]] bool logged_in() const override { return serving_; }
    [[nodiscard]] const Peer& peer() const override { return peer_; }
    [[nodiscard]] bool received_all() const override { return ended_ || gone(); }
    [[nodiscard]] bool gone() const override { return lost_ || closed_; }
    void end_sending() override;
    void close() override;

private:
    void install_callbacks();
    bool exchange_keys();
    void process();
    void note_state();
    bool pull_rest();
    bool send();
    void lose(const std::string& why);

    int judge_key(const char* user, ssh_key key, char signature_state);
    int refuse_attempt(const char* user);
    ssh_channel open_channel();
    int start_subsystem(std::string_view name);
    int take_data(const char* data, uint32_t count);
    void take_rest();

    static SshLink& self(void* link) { return *static_cast<SshLink*>(link); }

    SshServer& server_;
    Queues& queues_;
    Peer peer_;
    // Declared before the session and so destroyed after it: it refers to all of these to its end.
    ssh_server_callbacks_struct server_callbacks_{};
    ssh_channel_callbacks_struct channel_callbacks_{};
    ssh_counter_struct socket_count_{};
    ssh_counter_struct packet_count_{};
    SshSession session_;
    SshEvent event_;
    ssh_channel channel_ = nullptr; // the session's

    uint64_t socket_bytes_noted_ = 0;
    uint64_t packed_bytes_noted_ = 0;
    Backlog unsent_;    // channel data that libssh holds, because of the socket or of a key exchange
    Backlog unflushed_; // packets of all kinds that libssh holds because of the socket

    int failed_attempts_ = 0;
    bool keys_exchanged_ = false;
    bool authenticated_ = false;
    bool serving_ = false;
    bool rest_waits_ = false; // libssh holds data that was not taken when it came
    bool ended_ = false;
    bool closed_ = false;
    bool lost_ = false;
    bool closing_ = false;
};

} // namespace zpf::agent
