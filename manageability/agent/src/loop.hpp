// SPDX-License-Identifier: Apache-2.0
//
// The one thread that moves bytes: sessions, listening sockets, signals. Nothing in it waits for anything but epoll.
#pragma once

#include <array>
#include <atomic>
#include <chrono>
#include <functional>
#include <memory>
#include <mutex>
#include <string>
#include <sys/epoll.h>
#include <thread>
#include <unordered_map>
#include <utility>
#include <vector>

#include "counters.hpp"
#include "event.hpp"
#include "limits.hpp"
#include "service.hpp"
#include "session.hpp"
#include "zpf_transport/transport.hpp"

namespace zpf::agent {

struct LoopParts {
    Service& service;
    const Mapping& mapping;
    Writer& writer;
    Rules& rules;
    NacmCounters& nacm_counters;
    Counters& counters;
    SessionRegistry& sessions;
    std::atomic<int>& subscribers; ///< sessions that are told of events
    std::function<void(int level, const std::string&)> log;
};

class Loop {
public:
    Loop(LoopParts parts, const Limits& limits);
    ~Loop();
    Loop(const Loop&) = delete;
    Loop& operator=(const Loop&) = delete;

    /// Accepts connections of a listening UNIX socket; users are who the kernel says they are.
    void listen(UniqueFd socket);
    /// Takes a stream over; from any thread.
    void arrive(UniqueFd stream, Peer peer);
    /// Hands an event to those who have subscribed to it; from any thread.
    void announce(std::shared_ptr<const Event> event);
    /// Runs until `signals` (a signalfd) is readable, then ends all sessions in order.
    void run(int signals);

private:
    struct Completion {
        uint32_t session;
        Outcome outcome;
    };

    using Ready = std::array<epoll_event, 64>;

    void watch(int descriptor, uint64_t tag);
    int wait(Ready& ready);
    void set_interest(Session& session);
    void take_messages();
    void accept_all(int listener);
    void open_session(UniqueFd stream, const Peer& peer);
    void on_ready(uint32_t id, uint32_t events);
    void take_requests(Session& session);
    bool take_hello(Session& session, std::string_view message);
    void serve(Session& session, std::string_view message);
    void deliver(uint32_t id, Outcome outcome);
    void apply(Session& session, Outcome& outcome);
    void settle(Session& session);
    void end_session(uint32_t id);
    void drop(Session& session, const std::string& why);
    void expire();
    int timeout_ms() const;
    void tell_subscribers(const Event& event);
    void shut_down();
    Session* find(uint32_t id);

    LoopParts parts_;
    const Limits& limits_;
    Lane lane_;
    UniqueFd epoll_;
    UniqueFd wake_;
    std::vector<UniqueFd> listeners_;
    std::unordered_map<uint32_t, std::unique_ptr<Session>> sessions_;
    uint32_t last_session_id_ = 0;
    Session::Clock::time_point next_deadline_ = Session::Clock::time_point::max();
    std::string reply_; ///< of the request at hand; kept for its memory
    std::thread::id thread_;
    bool stopping_ = false;
    std::size_t under_way_ = 0;               ///< requests that other threads work on
    std::array<bool, 3> is_awake_worth_it_{}; ///< with nothing, with one request and with several under way

    std::mutex inbox_mutex_; ///< guards what other threads bring
    bool woken_ = false;
    std::vector<std::pair<UniqueFd, Peer>> arrivals_;
    std::vector<Completion> completions_;
    std::vector<std::shared_ptr<const Event>> events_;
};

} // namespace zpf::agent
