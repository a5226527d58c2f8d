// SPDX-License-Identifier: Apache-2.0
//
// Bytes of a session.
#include "session.hpp"

#include <array>
#include <cerrno>
#include <sys/socket.h>

namespace zpf::agent {

namespace {

constexpr std::size_t kReadBytes = 64 * 1024;
constexpr std::size_t kMostWaitingBytes = 256 * 1024;   ///< requests that wait for the one before
constexpr std::size_t kMostUnsentReplies = 1024 * 1024; ///< beyond it, no further request is taken

} // namespace

Session::Session(UniqueFd stream, std::shared_ptr<SessionInfo> info, const Limits& limits)
    : deadline(Clock::now() + limits.hello_time),
      stream_(std::move(stream)),
      info_(std::move(info)),
      limits_(limits),
      in_(limits.hello_bytes)
{}

bool Session::receive()
{
    static thread_local std::array<char, kReadBytes> bytes;
    const ssize_t got = ::recv(stream_.get(), bytes.data(), bytes.size(), MSG_DONTWAIT);
    if (got > 0) {
        in_.feed({bytes.data(), static_cast<std::size_t>(got)});
        return true;
    }
    input_ended = got == 0;
    return got == 0 || errno == EAGAIN || errno == EINTR;
}

void Session::use_chunks()
{
    framing_ = netconf::Framing::chunked;
    in_.set_framing(framing_);
}

void Session::send(std::string_view message)
{
    netconf::append_message(out_, framing_, message);
}

bool Session::flush()
{
    while (sent_ < out_.size()) {
        const ssize_t sent =
            ::send(stream_.get(), out_.data() + sent_, out_.size() - sent_, MSG_NOSIGNAL | MSG_DONTWAIT);
        if (sent < 0) {
            if (errno == EINTR) {
                continue;
            }
            return errno == EAGAIN;
        }
        sent_ += static_cast<std::size_t>(sent);
        if (waits_ == Waits::reader) {
            waits_ = Waits::nothing; // it reads; its time begins anew
        }
    }
    static constexpr std::size_t kKeptBytes = 256 * 1024;
    out_.clear();
    sent_ = 0;
    if (out_.capacity() > kKeptBytes) {
        out_.shrink_to_fit();
    }
    return true;
}

bool Session::wants_to_read() const
{
    return state != State::closing && !input_ended && !(busy && in_.pending_bytes() > kMostWaitingBytes) &&
           unsent_bytes() < kMostUnsentReplies;
}

Session::Clock::time_point Session::update_deadline()
{
    if (state == State::hello) {
        return deadline;
    }
    const Waits now = unsent_bytes() > 0 ? Waits::reader : !busy && in_.in_message() ? Waits::message : Waits::nothing;
    if (now != waits_ || now == Waits::nothing) {
        waits_ = now;
        deadline = now == Waits::nothing   ? Clock::time_point::max()
                   : now == Waits::message ? Clock::now() + limits_.message_time
                                           : Clock::now() + limits_.unsent_time;
    }
    return deadline;
}

} // namespace zpf::agent
