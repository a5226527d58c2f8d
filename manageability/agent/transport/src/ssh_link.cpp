// SPDX-License-Identifier: Apache-2.0
//
// libssh is run without blocking: its callbacks change this object's state and fill the queue, and it is asked to work
// only when poll says that its socket is ready.
#include "ssh_link.hpp"

#include "authorized_keys.hpp"
#include "log_text.hpp"

#include <poll.h>

#include <algorithm>
#include <stdexcept>

namespace zpf::agent {

namespace {

/// What may wait for the agent. Beyond it data stays with libssh, which then lets the client's window run out.
constexpr size_t kMaxReceivedBytes = 1024 * 1024;

/// A client with more than this in libssh's buffer has ignored its window, which is smaller.
constexpr size_t kMaxBehindBytes = 4 * 1024 * 1024;

/// What may wait in libssh's output buffer before the agent is read, or the client heard, no more.
constexpr uint64_t kMaxUnsentBytes = 64 * 1024;
constexpr uint64_t kMaxUnflushedBytes = 256 * 1024;

/// Length, padding and authentication of a packet are at least this. To take more than is true would leave a debt for
/// ever.
constexpr uint64_t kLeastOverheadBytes = 24;

/// No more than this in one packet, which every client takes.
constexpr size_t kMaxPieceBytes = 32 * 1024;

} // namespace

SshLink::SshLink(UniqueFd socket, const std::string& host, SshServer& server, Queues& queues)
    : server_(server), queues_(queues), session_(ssh_new()), event_(ssh_event_new())
{
    peer_.transport = "netconf-ssh";
    peer_.host = host;
    if (!session_ || !event_) {
        throw std::runtime_error("no memory for a session");
    }
    {
        const std::lock_guard lock(server_.bind_mutex);
        if (ssh_bind_accept_fd(server_.bind.get(), session_.get(), socket.get()) != SSH_OK) {
            throw std::runtime_error(ssh_get_error(server_.bind.get()));
        }
    }
    static_cast<void>(socket.release()); // libssh closes it with the session
    ssh_set_blocking(session_.get(), 0);
    // What is waiting in libssh is told from byte counts on both sides of its buffer; compression would upset them.
    ssh_options_set(session_.get(), SSH_OPTIONS_COMPRESSION, "no");
    ssh_set_counters(session_.get(), &socket_count_, &packet_count_);
    install_callbacks();
}

SshLink::~SshLink()
{
    if (keys_exchanged_) {
        ssh_event_remove_session(event_.get(), session_.get());
    }
}

void SshLink::install_callbacks()
{
    server_callbacks_.userdata = this;
    server_callbacks_.auth_none_function = [](ssh_session, const char* user, void* link) {
        self(link).peer_.user = user;
        return static_cast<int>(SSH_AUTH_DENIED); // how clients ask which methods there are
    };
    server_callbacks_.auth_password_function = [](ssh_session, const char* user, const char*, void* link) {
        return self(link).refuse_attempt(user);
    };
    server_callbacks_.auth_pubkey_function = [](ssh_session, const char* user, ssh_key key, char state, void* link) {
        return self(link).judge_key(user, key, state);
    };
    server_callbacks_.channel_open_request_session_function = [](ssh_session, void* link) {
        return self(link).open_channel();
    };
    ssh_callbacks_init(&server_callbacks_);
    ssh_set_server_callbacks(session_.get(), &server_callbacks_);
    // Whatever no callback takes (other channels, forwarding, shells, commands) is refused and not kept.
    ssh_set_message_callback(
        session_.get(), [](ssh_session, ssh_message, void*) { return 1; }, nullptr);

    channel_callbacks_.userdata = this;
    channel_callbacks_.channel_subsystem_request_function = [](ssh_session, ssh_channel, const char* name, void* link) {
        return self(link).start_subsystem(name);
    };
    channel_callbacks_.channel_data_function = [](ssh_session, ssh_channel, void* data, uint32_t count, int is_stderr,
                                                  void* link) {
        return is_stderr != 0 ? static_cast<int>(count) : self(link).take_data(static_cast<const char*>(data), count);
    };
    channel_callbacks_.channel_eof_function = [](ssh_session, ssh_channel, void* link) {
        self(link).take_rest();
        self(link).ended_ = true;
    };
    channel_callbacks_.channel_close_function = [](ssh_session, ssh_channel, void* link) {
        self(link).take_rest();
        self(link).closed_ = true;
    };
    ssh_callbacks_init(&channel_callbacks_);
}

int SshLink::descriptor() const
{
    return ssh_get_fd(session_.get());
}

short SshLink::events() const
{
    // Reading goes on when the agent is slow, since it is how windows of the other direction are opened; the client's
    // own window holds it back then. It stops for a client that does not read what it is answered.
    const bool reads = unflushed_.waiting() < kMaxUnflushedBytes;
    const bool writes = (ssh_get_poll_flags(session_.get()) & SSH_WRITE_PENDING) != 0;
    return static_cast<short>((reads ? POLLIN : 0) | (writes ? POLLOUT : 0));
}

bool SshLink::advance(bool ready)
{
    if (lost_) {
        return false;
    }
    if (!keys_exchanged_) {
        return ready && exchange_keys();
    }
    if (ready) {
        process();
    }
    const bool pulled = pull_rest();
    const bool sent = send();
    note_state();
    return sent || pulled || ready;
}

bool SshLink::exchange_keys()
{
    const int rc = ssh_handle_key_exchange(session_.get());
    if (rc == SSH_AGAIN) {
        return false;
    }
    if (rc != SSH_OK || ssh_event_add_session(event_.get(), session_.get()) != SSH_OK) {
        lose(std::string{"no key exchange: "} + ssh_get_error(session_.get()));
        return true;
    }
    ssh_set_auth_methods(session_.get(), SSH_AUTH_METHOD_PUBLICKEY);
    keys_exchanged_ = true;
    return true;
}

void SshLink::process()
{
    if (ssh_event_dopoll(event_.get(), 0) == SSH_ERROR) {
        lose("connection ended");
        return;
    }
    note_state();
    if (lost_) {
        return;
    }
    if (!authenticated_ && failed_attempts_ >= server_.options.max_auth_tries) {
        ssh_session_set_disconnect_message(session_.get(), "too many authentication failures");
        ssh_disconnect(session_.get());
        lose("too many authentication failures");
    } else if (closed_ && !serving_) {
        ssh_disconnect(session_.get());
        lose("only the subsystem netconf is served");
    }
}

/** To follow every call of libssh: each may have read from the socket and come upon its end, or written to it. */
void SshLink::note_state()
{
    const uint64_t left = socket_count_.out_bytes - std::exchange(socket_bytes_noted_, socket_count_.out_bytes);
    const uint64_t packed = packet_count_.out_bytes + packet_count_.out_packets * kLeastOverheadBytes;
    unflushed_.add(packed - std::exchange(packed_bytes_noted_, packed));
    unflushed_.left(left);
    unsent_.left(left);
    if (ssh_is_connected(session_.get()) == 0 ||
        (ssh_get_status(session_.get()) & (SSH_CLOSED | SSH_CLOSED_ERROR)) != 0) {
        lose("connection ended");
    }
}

bool SshLink::pull_rest()
{
    if (!rest_waits_ || !queues_.received.empty()) {
        return false;
    }
    take_rest();
    return true;
}

bool SshLink::send()
{
    if (lost_ || closed_ || closing_ || queues_.to_send.empty() || unsent_.waiting() >= kMaxUnsentBytes) {
        return false;
    }
    const size_t piece = std::min({queues_.to_send.size(), size_t{ssh_channel_window_size(channel_)}, kMaxPieceBytes});
    if (piece == 0) {
        return false; // the client makes room when it has read
    }
    const int sent = ssh_channel_write(channel_, queues_.to_send.bytes().data(), static_cast<uint32_t>(piece));
    if (sent < 0) {
        lose(std::string{"cannot send: "} + ssh_get_error(session_.get()));
        return true;
    }
    queues_.to_send.take(static_cast<size_t>(sent));
    unsent_.add(static_cast<uint64_t>(sent));
    return sent > 0;
}

void SshLink::lose(const std::string& why)
{
    if (!std::exchange(lost_, true)) {
        say(server_.log, serving_ ? 3 : 2, "ssh from ", peer_.host, ": ", printable(why),
            peer_.user.empty() ? "" : ", user " + printable(peer_.user));
    }
}

void SshLink::end_sending()
{
    if (!gone()) {
        ssh_channel_send_eof(channel_);
        note_state();
    }
}

void SshLink::close()
{
    if (std::exchange(closing_, true) || lost_) {
        return;
    }
    if (!keys_exchanged_ || channel_ == nullptr) {
        ssh_disconnect(session_.get());
        lost_ = true;
        return;
    }
    ssh_channel_request_send_exit_status(channel_, 0);
    ssh_channel_close(channel_);
    note_state();
}

int SshLink::judge_key(const char* user, ssh_key key, char signature_state)
{
    char* raw = nullptr;
    if (authenticated_ || ssh_pki_export_pubkey_base64(key, &raw) != SSH_OK) {
        return refuse_attempt(user);
    }
    const SshText encoded{raw};
    if (!is_authorized(server_.options.authorized_keys, user, encoded.get(), server_.log)) {
        return refuse_attempt(user);
    }
    if (signature_state == SSH_PUBLICKEY_STATE_NONE) {
        return SSH_AUTH_SUCCESS; // the key will do; its owner has yet to sign
    }
    if (signature_state != SSH_PUBLICKEY_STATE_VALID) {
        return refuse_attempt(user);
    }
    authenticated_ = true;
    peer_.user = user;
    say(server_.log, 2, "ssh from ", peer_.host, ": ", printable(user), " logged in with a key of type ",
        ssh_key_type_to_char(ssh_key_type(key)));
    return SSH_AUTH_SUCCESS;
}

int SshLink::refuse_attempt(const char* user)
{
    ++failed_attempts_;
    if (!authenticated_) {
        peer_.user = user;
    }
    return SSH_AUTH_DENIED;
}

ssh_channel SshLink::open_channel()
{
    if (!authenticated_ || channel_ != nullptr) {
        say(server_.log, 2, "ssh from ", peer_.host, ": a further channel was refused, a connection has one session");
        return nullptr;
    }
    channel_ = ssh_channel_new(session_.get());
    if (channel_ != nullptr) {
        ssh_set_channel_callbacks(channel_, &channel_callbacks_);
    }
    return channel_;
}

int SshLink::start_subsystem(std::string_view name)
{
    if (serving_ || name != "netconf") {
        say(server_.log, 2, "ssh from ", peer_.host, ": subsystem ", printable(name), " refused");
        return 1;
    }
    serving_ = true;
    return 0;
}

int SshLink::take_data(const char* data, uint32_t count)
{
    if (!serving_ || closing_) {
        return static_cast<int>(count);
    }
    const size_t room = kMaxReceivedBytes - std::min(queues_.received.size(), kMaxReceivedBytes);
    const size_t taken = rest_waits_ ? 0 : std::min<size_t>(count, room); // nothing overtakes what waits
    queues_.received.append({data, taken});
    rest_waits_ = taken < count;
    if (count - taken > kMaxBehindBytes) {
        lose("sends beyond its window");
    }
    return static_cast<int>(taken);
}

void SshLink::take_rest()
{
    if (!std::exchange(rest_waits_, false)) {
        return;
    }
    // In one piece: each read lets libssh open the client's window again.
    const int count = ssh_channel_poll(channel_, 0);
    if (count <= 0) {
        return;
    }
    std::vector<char> rest(static_cast<size_t>(count));
    const int got = ssh_channel_read_nonblocking(channel_, rest.data(), static_cast<uint32_t>(count), 0);
    if (got > 0) {
        queues_.received.append({rest.data(), static_cast<size_t>(got)});
    }
}

} // namespace zpf::agent
