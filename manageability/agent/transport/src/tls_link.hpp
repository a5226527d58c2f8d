// SPDX-License-Identifier: Apache-2.0
//
// One TLS connection as a link.
#pragma once

#include "link.hpp"
#include "tls_identity.hpp"

namespace zpf::agent {

/** What all TLS connections of a transport share. */
struct TlsServer {
    TlsOptions options;
    LogSink log;
    TlsIdentities identities;
    TlsContext context;
};

class TlsLink : public Link {
public:
    /** Takes over an accepted socket. Throws std::runtime_error when memory is out. */
    TlsLink(UniqueFd socket, const std::string& host, TlsServer& server, Queues& queues);

    [[nodiscard]] int descriptor() const override { return socket_.get(); }
    [[nodiscard]] short events() const override;
    bool advance(bool ready) override;
    [[nodiscard]] bool logged_in() const override { return logged_in_; }
    [[nodiscard]] const Peer& peer() const override { return peer_; }
    [[nodiscard]] bool received_all() const override { return ended_ || lost_; }
    [[nodiscard]] bool gone() const override { return lost_; }
    void end_sending() override;
    void close() override;

private:
    bool shake_hands();
    bool receive(bool ready);
    bool send();
    bool send_end();
    bool drain();
    bool note_result(int rc, short& wants);
    void lose(const std::string& why);

    TlsServer& server_;
    Queues& queues_;
    Peer peer_;
    UniqueFd socket_; // before tls_, which refers to it
    Tls tls_;
    short reading_wants_ = 0; // what the socket has to be ready for before reading can go on; 0: not known to wait
    short sending_wants_ = 0;
    bool logged_in_ = false;
    bool ends_sending_ = false;
    bool sent_end_ = false;
    bool closing_ = false;
    bool ended_ = false;    // close_notify has come
    bool draining_ = false; // nothing more is sent, and what comes is thrown away
    bool lost_ = false;
};

} // namespace zpf::agent
