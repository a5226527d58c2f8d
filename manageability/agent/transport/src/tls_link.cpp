// SPDX-License-Identifier: Apache-2.0
//
// OpenSSL on a non-blocking socket. Reading and sending each remember what they wait for, which need not be what their
// name suggests.
#include "tls_link.hpp"

#include "log_text.hpp"

#include <poll.h>
#include <sys/socket.h>

#include <stdexcept>

namespace zpf::agent {

namespace {

/// What may wait for the agent; beyond it the client's connection is not read.
constexpr size_t kMaxReceivedBytes = 32 * 1024;

constexpr size_t kRecordBytes = 16 * 1024;

} // namespace

TlsLink::TlsLink(UniqueFd socket, const std::string& host, TlsServer& server, Queues& queues)
    : server_(server), queues_(queues), socket_(std::move(socket)), tls_(SSL_new(server.context.get()))
{
    peer_.transport = "netconf-tls";
    peer_.host = host;
    if (!tls_ || SSL_set_fd(tls_.get(), socket_.get()) != 1) {
        throw std::runtime_error("no memory for a connection: " + openssl_reason());
    }
    SSL_set_accept_state(tls_.get());
}

short TlsLink::events() const
{
    if (draining_) {
        return POLLIN;
    }
    if (!logged_in_) {
        return reading_wants_;
    }
    const bool reads = !ended_ && queues_.received.size() < kMaxReceivedBytes;
    const bool sends = !sent_end_ && (!queues_.to_send.empty() || ends_sending_);
    return static_cast<short>((reads ? (reading_wants_ != 0 ? reading_wants_ : POLLIN) : 0) |
                              (sends ? (sending_wants_ != 0 ? sending_wants_ : POLLOUT) : 0));
}

bool TlsLink::advance(bool ready)
{
    if (lost_) {
        return false;
    }
    if (ready) {
        reading_wants_ = sending_wants_ = 0;
    }
    if (draining_) {
        return ready && drain();
    }
    if (!logged_in_) {
        return shake_hands();
    }
    const bool received = receive(ready);
    const bool sent = send();
    const bool told = send_end();
    draining_ = closing_ && ended_ && sent_end_;
    return told || received || sent;
}

/** Everything has been said; the connection is over when the client has closed it. Closing it first, with something of
 * the client's unread, could take back the last that it was sent. */
bool TlsLink::drain()
{
    std::array<char, kRecordBytes> chunk;
    const ssize_t got = ::recv(socket_.get(), chunk.data(), chunk.size(), MSG_DONTWAIT);
    lost_ = got == 0 || (got < 0 && errno != EAGAIN && errno != EINTR);
    return got > 0 || lost_;
}

bool TlsLink::shake_hands()
{
    if (reading_wants_ != 0) {
        return false;
    }
    const int rc = SSL_accept(tls_.get());
    if (rc != 1) {
        return note_result(rc, reading_wants_);
    }
    const Certificate certificate{SSL_get1_peer_certificate(tls_.get())};
    const auto user = certificate ? server_.identities.user_of(certificate.get()) : std::nullopt;
    if (!user) {
        lose("the certificate names no user");
        return true;
    }
    peer_.user = *user;
    logged_in_ = true;
    say(server_.log, 2, "tls from ", peer_.host, ": ", printable(peer_.user), " logged in, ",
        SSL_get_version(tls_.get()));
    return true;
}

bool TlsLink::receive(bool ready)
{
    bool moved = false;
    std::array<char, kRecordBytes> chunk;
    while (!ended_ && !lost_ && reading_wants_ == 0 && queues_.received.size() < kMaxReceivedBytes &&
           (ready || moved || SSL_has_pending(tls_.get()) == 1)) {
        const int got = SSL_read(tls_.get(), chunk.data(), static_cast<int>(chunk.size()));
        if (got > 0) {
            queues_.received.append(std::span{chunk}.first(static_cast<size_t>(got)));
            moved = true;
        } else {
            moved = note_result(got, reading_wants_) || moved;
        }
    }
    return moved;
}

bool TlsLink::send()
{
    bool moved = false;
    while (!lost_ && !sent_end_ && sending_wants_ == 0 && !queues_.to_send.empty()) {
        const auto bytes = queues_.to_send.bytes();
        const int sent = SSL_write(tls_.get(), bytes.data(), static_cast<int>(bytes.size()));
        if (sent > 0) {
            queues_.to_send.take(static_cast<size_t>(sent));
            moved = true;
        } else {
            moved = note_result(sent, sending_wants_) || moved;
        }
    }
    return moved;
}

bool TlsLink::send_end()
{
    if (lost_ || sent_end_ || !ends_sending_ || sending_wants_ != 0 || !queues_.to_send.empty()) {
        return false;
    }
    const int rc = SSL_shutdown(tls_.get());
    if (rc < 0) {
        return note_result(rc, sending_wants_);
    }
    sent_end_ = true;
    ::shutdown(socket_.get(), SHUT_WR);
    return true;
}

/** Judges a call that did not succeed: waits, ended or lost. Returns whether the state has changed. */
bool TlsLink::note_result(int rc, short& wants)
{
    switch (SSL_get_error(tls_.get(), rc)) {
    case SSL_ERROR_WANT_READ:
        wants = POLLIN;
        return false;
    case SSL_ERROR_WANT_WRITE:
        wants = POLLOUT;
        return false;
    case SSL_ERROR_ZERO_RETURN:
        ended_ = true;
        return true;
    case SSL_ERROR_SSL:
        lose(openssl_reason());
        if (!logged_in_) {
            lost_ = false; // until the client has had time to read why
            draining_ = true;
            ::shutdown(socket_.get(), SHUT_WR);
        }
        return true;
    default:
        ERR_clear_error();
        lose("connection ended");
        return true;
    }
}

void TlsLink::lose(const std::string& why)
{
    if (!std::exchange(lost_, true)) {
        say(server_.log, logged_in_ ? 3 : 2, "tls from ", peer_.host, ": ", why);
    }
}

void TlsLink::end_sending()
{
    ends_sending_ = true;
    send_end();
}

void TlsLink::close()
{
    if (std::exchange(closing_, true) || lost_) {
        return;
    }
    if (!logged_in_) {
        lost_ = true;
        return;
    }
    queues_.to_send.clear(); // whatever could not be sent in time
    end_sending();
}

} // namespace zpf::agent
