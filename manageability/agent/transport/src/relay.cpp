// SPDX-License-Identifier: Apache-2.0
//
// One thread, three descriptors: the client's connection, the agent's stream, and the signal to stop. Each side is read
// only while what it sends can be passed on, so that a slow side holds up the other one and nothing piles up between
// them.
#include "relay.hpp"

#include "log_text.hpp"

#include <poll.h>
#include <sys/socket.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <optional>

namespace zpf::agent {

namespace {

constexpr size_t kChunkBytes = 16 * 1024;

/// How long a client may take in all for what an agent that has closed its end left behind.
constexpr std::chrono::seconds kDrainInAll{60};

/// How long a client may take to answer the end of its connection.
constexpr std::chrono::seconds kParting{2};

/// How long all of this may take when the transport stops.
constexpr std::chrono::seconds kStopping{1};

/// Rounds of moving bytes between two looks at the signal to stop.
constexpr int kRounds = 16;

/** Milliseconds for poll, rounded up so that a deadline is past when poll returns; -1 without a deadline. */
int poll_timeout_ms(const std::optional<Clock::time_point>& deadline)
{
    if (!deadline) {
        return -1;
    }
    const auto left = std::chrono::ceil<std::chrono::milliseconds>(*deadline - Clock::now()).count();
    return static_cast<int>(std::max<decltype(left)>(left, 0));
}

bool expired(const std::optional<Clock::time_point>& deadline)
{
    return deadline && Clock::now() >= *deadline;
}

pollfd watch(int fd, short events)
{
    return {events != 0 ? fd : -1, events, 0};
}

class Relay {
public:
    Relay(Link& link, Queues& queues, const RelayTerms& terms) : link_(link), queues_(queues), terms_(terms) {}

    bool log_in();
    void pass_on(UniqueFd stream);
    void part();

private:
    bool move();
    bool give_to_agent();
    bool take_from_agent();
    void pass_on_ends();
    [[nodiscard]] bool over() const;
    [[nodiscard]] short stream_events() const;
    void wait(bool busy);
    void note_stop();
    void note_hang_up();
    void note_progress();

    Link& link_;
    Queues& queues_;
    const RelayTerms& terms_;
    UniqueFd stream_;
    std::optional<Clock::time_point> deadline_;
    std::optional<Clock::time_point> last_deadline_; // no progress moves deadline_ beyond it
    bool link_ready_ = true;
    bool stopping_ = false;
    bool agent_quiet_ = false;   // the stream had nothing to read when it was last read
    bool agent_ended_ = false;   // end of file was read from the stream
    bool agent_hung_up_ = false; // nobody has the other end of the stream any more
    bool told_agent_ = false;
    bool told_client_ = false;
};

bool Relay::log_in()
{
    deadline_ = Clock::now() + terms_.login_timeout;
    while (!link_.logged_in() && !link_.gone() && !stopping_) {
        if (expired(deadline_)) {
            say(terms_.log, 2, link_.peer().transport, " from ", link_.peer().host, ": no session in time, closed");
            return false;
        }
        if (!link_.advance(std::exchange(link_ready_, false)) && !link_.gone()) {
            wait(false);
        }
    }
    if (!stopping_) {
        deadline_.reset();
    }
    return link_.logged_in();
}

void Relay::pass_on(UniqueFd stream)
{
    stream_ = std::move(stream);
    for (;;) {
        bool moved = true;
        for (int round = 0; moved && round < kRounds; ++round) {
            moved = move();
        }
        if (over()) {
            return;
        }
        wait(moved);
    }
}

bool Relay::move()
{
    const size_t waiting = queues_.to_send.size();
    bool moved = link_.advance(std::exchange(link_ready_, false));
    if (queues_.to_send.size() < waiting) {
        note_progress();
    }
    moved = give_to_agent() || moved;
    moved = take_from_agent() || moved;
    pass_on_ends();
    return moved;
}

bool Relay::give_to_agent()
{
    if (queues_.received.empty()) {
        return false;
    }
    const auto bytes = queues_.received.bytes();
    const ssize_t given = ::send(stream_.get(), bytes.data(), bytes.size(), MSG_NOSIGNAL | MSG_DONTWAIT);
    if (given > 0) {
        queues_.received.take(static_cast<size_t>(given));
        return true;
    }
    if (given < 0 && errno != EAGAIN && errno != EINTR) {
        queues_.received.clear();
        note_hang_up();
    }
    return false;
}

bool Relay::take_from_agent()
{
    if (agent_ended_ || queues_.to_send.size() >= kChunkBytes) {
        return false;
    }
    std::array<char, kChunkBytes> chunk;
    const ssize_t taken = ::recv(stream_.get(), chunk.data(), chunk.size(), MSG_DONTWAIT);
    agent_quiet_ = taken <= 0;
    if (taken > 0) {
        if (!link_.gone()) {
            queues_.to_send.append(std::span{chunk}.first(static_cast<size_t>(taken)));
        }
        return true;
    }
    if (taken < 0 && (errno == EAGAIN || errno == EINTR)) {
        return false;
    }
    agent_ended_ = true;
    if (taken < 0) {
        note_hang_up(); // closed with something of the client's unread
    }
    return true;
}

void Relay::pass_on_ends()
{
    if (!told_agent_ && queues_.received.empty() && (link_.received_all() || link_.gone())) {
        told_agent_ = true;
        ::shutdown(stream_.get(), SHUT_WR);
    }
    if (!told_client_ && agent_ended_ && queues_.to_send.empty() && !link_.gone()) {
        told_client_ = true;
        link_.end_sending();
    }
}

bool Relay::over() const
{
    if (expired(deadline_)) {
        return true;
    }
    if (link_.gone()) {
        return queues_.received.empty() || agent_hung_up_;
    }
    if (!queues_.to_send.empty()) {
        return false;
    }
    if (stopping_ && agent_quiet_) {
        return true;
    }
    return agent_ended_ && (agent_hung_up_ || told_agent_);
}

short Relay::stream_events() const
{
    const bool reads = !agent_ended_ && queues_.to_send.size() < kChunkBytes;
    const bool writes = !queues_.received.empty() && !agent_hung_up_;
    return static_cast<short>((reads ? POLLIN : 0) | (writes ? POLLOUT : 0));
}

void Relay::wait(bool busy)
{
    const short events = stream_ ? stream_events() : short{0};
    std::array<pollfd, 3> fds{watch(link_.descriptor(), link_.gone() ? short{0} : link_.events()),
                              pollfd{agent_hung_up_ && events == 0 ? -1 : stream_.get(), events, 0},
                              watch(terms_.stop_fd, stopping_ ? short{0} : short{POLLIN})};
    if (::poll(fds.data(), fds.size(), busy ? 0 : poll_timeout_ms(deadline_)) <= 0) {
        return;
    }
    link_ready_ = link_ready_ || fds[0].revents != 0;
    if ((fds[1].revents & (POLLHUP | POLLERR)) != 0) {
        note_hang_up();
    }
    if (fds[2].revents != 0) {
        note_stop();
    }
}

void Relay::note_stop()
{
    stopping_ = true;
    agent_quiet_ = false; // what the agent wrote just before is still to be read
    deadline_ = last_deadline_ = Clock::now() + kStopping;
}

void Relay::note_hang_up()
{
    if (std::exchange(agent_hung_up_, true) || stopping_) {
        return;
    }
    last_deadline_ = Clock::now() + kDrainInAll;
    deadline_ = Clock::now() + terms_.drain_timeout;
}

void Relay::note_progress()
{
    if (agent_hung_up_ && !stopping_) {
        deadline_ = std::min(Clock::now() + terms_.drain_timeout, last_deadline_.value());
    }
}

void Relay::part()
{
    stream_.reset();
    if (!stopping_) {
        deadline_ = Clock::now() + kParting;
    }
    link_.close();
    while (!link_.gone() && !expired(deadline_)) {
        const bool moved = link_.advance(std::exchange(link_ready_, false));
        queues_.received.clear();
        if (!moved && !link_.gone()) {
            wait(false);
        }
    }
}

} // namespace

void serve(Link& link, Queues& queues, const RelayTerms& terms)
{
    Relay relay(link, queues, terms);
    if (relay.log_in()) {
        std::array<int, 2> ends{};
        if (::socketpair(AF_UNIX, SOCK_STREAM | SOCK_NONBLOCK | SOCK_CLOEXEC, 0, ends.data()) != 0) {
            say(terms.log, 1, "no socket pair for a session: ", errno_text());
        } else {
            UniqueFd ours{ends[0]};
            terms.arrival(UniqueFd{ends[1]}, link.peer());
            relay.pass_on(std::move(ours));
        }
    }
    relay.part();
}

} // namespace zpf::agent
