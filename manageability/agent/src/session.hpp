// SPDX-License-Identifier: Apache-2.0
//
// One session as the loop keeps it: a state machine between a byte stream and the service. It never blocks; what cannot
// be done now is remembered and done when the stream is ready.
#pragma once

#include <chrono>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

#include "limits.hpp"
#include "outcome.hpp"
#include "session_registry.hpp"
#include "zpf_netconf/framing.hpp"
#include "zpf_transport/unique_fd.hpp"

namespace zpf::agent {

class Session {
public:
    using Clock = std::chrono::steady_clock;

    enum class State {
        hello,  ///< the client's hello has not come
        open,   ///< requests are taken
        closing ///< what is unsent goes out, then it ends
    };

    Session(UniqueFd stream, std::shared_ptr<SessionInfo> info, const Limits& limits);

    int descriptor() const { return stream_.get(); }
    const std::shared_ptr<SessionInfo>& info() const { return info_; }

    State state = State::hello;
    bool busy = false; ///< a request is being worked on; replies keep the order of requests
    std::optional<Subscribed> subscription;
    std::string end_reason = "dropped"; ///< termination-reason of RFC 6470
    uint32_t killed_by = 0;
    uint32_t interest = 0; ///< what epoll watches for
    Clock::time_point deadline = Clock::time_point::max();
    bool announced = false;   ///< its start was
    bool input_ended = false; ///< the client sends no more, and may still read

    /// Takes what the stream has to give; notes its end. @return false when it is broken
    bool receive();
    /// Next message, if a whole one has come. Throws netconf::FramingError.
    std::optional<std::string_view> next_message()
    {
        const auto message = in_.next();
        if (message && waits_ == Waits::message) {
            waits_ = Waits::nothing; // the time of the one after it begins anew
        }
        return message;
    }
    /// The hello has come: longer messages are taken.
    void open()
    {
        in_.set_max_message_bytes(limits_.message_bytes);
        info_->base_1_1 = framing_ == netconf::Framing::chunked;
    }
    /// The hellos agree on base:1.1, and so on chunks.
    void use_chunks();
    /// Forgets what was to be sent.
    void abandon()
    {
        out_.clear();
        sent_ = 0;
    }

    void send(std::string_view message);
    /// Writes what the stream takes. @return false when it is broken
    bool flush();
    std::size_t unsent_bytes() const { return out_.size() - sent_; }

    /// True while more should be read: a client that does not read replies need not send requests.
    bool wants_to_read() const;
    /// Sets the deadline that follows from what the session waits for. @return it
    Clock::time_point update_deadline();

private:
    UniqueFd stream_;
    std::shared_ptr<SessionInfo> info_;
    const Limits& limits_;
    netconf::Framing framing_ = netconf::Framing::end_of_message;
    netconf::Deframer in_;
    std::string out_;
    std::size_t sent_ = 0;
    enum class Waits { nothing, message, reader } waits_ = Waits::nothing;
};

} // namespace zpf::agent
