// SPDX-License-Identifier: Apache-2.0
//
// The event loop.
#include "loop.hpp"

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstring>
#include <sched.h>
#include <sys/epoll.h>
#include <sys/eventfd.h>
#include <sys/socket.h>
#include <unistd.h>

#include "awake.hpp"
#include "local_user.hpp"
#include "rpc_error.hpp"

namespace zpf::agent {

namespace {

// Tags of descriptors that are no sessions; sessions have their ids, which are 32 bits wide.
constexpr uint64_t kWakeTag = uint64_t{1} << 40;
constexpr uint64_t kSignalTag = uint64_t{1} << 41;
constexpr uint64_t kListenerTag = uint64_t{1} << 42; ///< plus the descriptor

constexpr std::chrono::seconds kShutdownTime{5};

/// Whether another thread can run while this one is awake.
bool has_processors()
{
    cpu_set_t allowed;
    return ::sched_getaffinity(0, sizeof allowed, &allowed) == 0 && CPU_COUNT(&allowed) > 1;
}

} // namespace

Loop::Loop(LoopParts parts, const Limits& limits)
    : parts_(std::move(parts)),
      limits_(limits),
      lane_(parts_.mapping),
      epoll_(::epoll_create1(EPOLL_CLOEXEC)),
      wake_(::eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK)),
      thread_(std::this_thread::get_id())
{
    if (epoll_.get() < 0 || wake_.get() < 0) {
        throw std::runtime_error(std::string{"no epoll: "} + std::strerror(errno));
    }
    watch(wake_.get(), kWakeTag);
}

Loop::~Loop() = default;

void Loop::watch(int descriptor, uint64_t tag)
{
    epoll_event event{};
    event.events = EPOLLIN;
    event.data.u64 = tag;
    if (::epoll_ctl(epoll_.get(), EPOLL_CTL_ADD, descriptor, &event) != 0) {
        throw std::runtime_error(std::string{"epoll: "} + std::strerror(errno));
    }
}

void Loop::listen(UniqueFd socket)
{
    watch(socket.get(), kListenerTag + static_cast<uint64_t>(socket.get()));
    listeners_.push_back(std::move(socket));
}

void Loop::arrive(UniqueFd stream, Peer peer)
{
    const std::lock_guard lock(inbox_mutex_);
    arrivals_.emplace_back(std::move(stream), std::move(peer));
    if (!std::exchange(woken_, true)) {
        ::eventfd_write(wake_.get(), 1);
    }
}

void Loop::announce(std::shared_ptr<const Event> event)
{
    const std::lock_guard lock(inbox_mutex_);
    events_.push_back(std::move(event));
    if (!std::exchange(woken_, true)) {
        ::eventfd_write(wake_.get(), 1);
    }
}

void Loop::deliver(uint32_t id, Outcome outcome)
{
    if (std::this_thread::get_id() == thread_) {
        if (Session* const session = find(id)) {
            apply(*session, outcome);
        }
        return;
    }
    const std::lock_guard lock(inbox_mutex_);
    completions_.push_back({id, std::move(outcome)});
    if (!std::exchange(woken_, true)) {
        ::eventfd_write(wake_.get(), 1);
    }
}

Session* Loop::find(uint32_t id)
{
    const auto found = sessions_.find(id);
    return found == sessions_.end() ? nullptr : found->second.get();
}

void Loop::run(int signals)
{
    thread_ = std::this_thread::get_id();
    watch(signals, kSignalTag);
    Ready ready{};
    while (!stopping_) {
        const int count = wait(ready);
        for (int i = 0; i < count; ++i) {
            const uint64_t tag = ready[static_cast<std::size_t>(i)].data.u64;
            if (tag == kSignalTag) {
                stopping_ = true;
            } else if (tag == kWakeTag) {
                take_messages();
            } else if (tag >= kListenerTag) {
                accept_all(static_cast<int>(tag - kListenerTag));
            } else {
                on_ready(static_cast<uint32_t>(tag), ready[static_cast<std::size_t>(i)].events);
            }
        }
        expire();
    }
    shut_down();
}

/// Waits for what is to be done next. A client that was just answered often asks again at once, and putting a processor
/// to sleep and waking it takes longer than that. So the loop stays awake for a moment when the last time it would have
/// been worth it; with a request under way, or with several, that is another question than without.
int Loop::wait(Ready& ready)
{
    using Clock = std::chrono::steady_clock;
    const std::size_t situation = std::min<std::size_t>(under_way_, 2);
    bool& is_worth_it = is_awake_worth_it_.at(situation);
    const auto look = [&](int timeout) {
        return ::epoll_wait(epoll_.get(), ready.data(), static_cast<int>(ready.size()), timeout);
    };
    const Clock::time_point begin = Clock::now();
    const Clock::time_point end = begin + (situation == 1 ? kMostAwakeForOne : kMostAwake);
    if (is_worth_it && has_processors()) {
        do {
            if (const int count = look(0); count != 0) {
                return count;
            }
            std::this_thread::yield();
        } while (Clock::now() < end);
    }
    const int count = look(timeout_ms());
    is_worth_it = Clock::now() < end;
    return count;
}

/// What other threads have brought.
void Loop::take_messages()
{
    eventfd_t count = 0;
    ::eventfd_read(wake_.get(), &count);
    std::vector<std::pair<UniqueFd, Peer>> arrivals;
    std::vector<Completion> completions;
    std::vector<std::shared_ptr<const Event>> events;
    {
        const std::lock_guard lock(inbox_mutex_);
        woken_ = false;
        arrivals.swap(arrivals_);
        completions.swap(completions_);
        events.swap(events_);
    }
    for (auto& [stream, peer] : arrivals) {
        open_session(std::move(stream), peer);
    }
    under_way_ -= completions.size();
    for (Completion& completion : completions) {
        if (Session* const session = find(completion.session)) {
            apply(*session, completion.outcome);
            take_requests(*session);
            settle(*session);
        }
    }
    for (const auto& event : events) {
        tell_subscribers(*event);
    }
}

void Loop::accept_all(int listener)
{
    for (;;) {
        UniqueFd stream(::accept4(listener, nullptr, nullptr, SOCK_CLOEXEC | SOCK_NONBLOCK));
        if (stream.get() < 0) {
            if (errno == EMFILE || errno == ENFILE) {
                parts_.log(1, "no descriptor left for another session");
            }
            return;
        }
        const Peer peer = local_peer(stream.get());
        open_session(std::move(stream), peer);
    }
}

void Loop::open_session(UniqueFd stream, const Peer& peer)
{
    if (sessions_.size() >= limits_.sessions || stopping_) {
        parts_.log(1, "a session of " + peer.user + " is turned away: there are " + std::to_string(sessions_.size()) +
                          " already");
        ++parts_.counters.sessions_dropped;
        return;
    }
    auto info = std::make_shared<SessionInfo>();
    info->id = ++last_session_id_;
    info->who = {peer.user, peer.transport == "unix" ? local_groups(peer.user) : std::vector<std::string>{},
                 peer.recovery};
    info->transport = peer.transport;
    info->host = peer.host;
    const uint32_t id = info->id;
    auto session = std::make_unique<Session>(std::move(stream), info, limits_);
    watch(session->descriptor(), id);
    session->interest = EPOLLIN;
    parts_.sessions.add(info);
    parts_.log(3, "session " + std::to_string(id) + " of " + peer.user + " by " + peer.transport);
    std::string hello = "<hello xmlns=\"" + std::string{kBaseNamespace} + "\"><capabilities>";
    for (const std::string& capability : parts_.mapping.yang().capabilities()) {
        hello += "<capability>";
        append_escaped(hello, capability);
        hello += "</capability>";
    }
    hello += "</capabilities><session-id>" + std::to_string(id) + "</session-id></hello>";
    session->send(hello);
    Session& kept = *sessions_.emplace(id, std::move(session)).first->second;
    settle(kept);
}

void Loop::on_ready(uint32_t id, uint32_t events)
{
    Session* const session = find(id);
    if (session == nullptr) {
        return;
    }
    const bool gone = (events & (EPOLLHUP | EPOLLERR)) != 0;
    if ((events & EPOLLIN) != 0 && !session->receive()) {
        session->end_reason = session->state == Session::State::closing ? session->end_reason : "dropped";
        end_session(id);
        return;
    }
    if (gone) { // what it asked for before still counts, but nobody is there to read an answer
        take_requests(*session);
        end_session(id);
        return;
    }
    take_requests(*session);
    settle(*session);
}

/// Works on the messages that have come, as long as each is answered at once.
void Loop::take_requests(Session& session)
{
    try {
        while (!session.busy && session.state != Session::State::closing) {
            const auto message = session.next_message();
            if (!message) {
                return;
            }
            if (session.state == Session::State::hello) {
                if (!take_hello(session, *message)) {
                    return;
                }
            } else {
                serve(session, *message);
            }
        }
    } catch (const netconf::FramingError& error) {
        drop(session, error.what());
    }
}

bool Loop::take_hello(Session& session, std::string_view text)
{
    bool base = false;
    bool chunks = false;
    try {
        const Message message(parts_.mapping.yang().models(), text);
        const Element hello = message.top();
        const Element capabilities = hello.child("capabilities");
        for (Element capability = capabilities ? capabilities.first_child() : Element{}; capability;
             capability = capability.next()) {
            base = base || capability.text() == "urn:ietf:params:netconf:base:1.0";
            chunks = chunks || capability.text() == "urn:ietf:params:netconf:base:1.1";
        }
        if (!hello.is("hello", kBaseNamespace) || hello.child("session-id")) {
            base = chunks = false;
        }
    } catch (const Refused&) {
        base = chunks = false;
    }
    if (!base && !chunks) {
        ++parts_.counters.hellos_bad;
        drop(session, "its first message is no hello of a NETCONF client");
        session.end_reason = "bad-hello";
        return false;
    }
    session.state = Session::State::open;
    session.deadline = Session::Clock::time_point::max();
    if (chunks) {
        session.use_chunks();
    }
    session.open();
    ++parts_.counters.sessions_opened;
    session.announced = true;
    tell_subscribers(*session_start(parts_.mapping.yang(), *session.info()));
    return true;
}

void Loop::serve(Session& session, std::string_view message)
{
    session.info()->in_rpcs.fetch_add(1, std::memory_order_relaxed);
    reply_.clear();
    if (parts_.service.serve_known(lane_, *session.info(), message, reply_)) {
        session.send(reply_);
        return;
    }
    session.busy = true;
    const uint32_t id = session.info()->id;
    parts_.service.serve(lane_, session.info(), std::string{message}, true,
                         [this, id](Outcome outcome) { deliver(id, std::move(outcome)); });
    under_way_ += session.busy ? 1 : 0;
}

/// The outcome of the request that the session waits for.
void Loop::apply(Session& session, Outcome& outcome)
{
    session.busy = false;
    if (outcome.errors) {
        session.info()->out_rpc_errors.fetch_add(1, std::memory_order_relaxed);
    }
    session.send(outcome.reply);
    if (outcome.subscription) {
        parts_.subscribers += session.subscription ? 0 : 1;
        session.subscription = std::move(outcome.subscription);
    }
    if (outcome.close) {
        session.end_reason = "closed";
        session.state = Session::State::closing;
    }
    if (outcome.kill != 0) {
        if (Session* const victim = find(outcome.kill)) {
            victim->end_reason = "killed";
            victim->killed_by = session.info()->id;
            end_session(outcome.kill);
        }
    }
}

/// Sends what can be sent, and sees to what is to be watched for next. May end the session.
void Loop::settle(Session& session)
{
    const uint32_t id = session.info()->id;
    if (!session.flush()) {
        session.end_reason = session.state == Session::State::closing ? session.end_reason : "dropped";
        end_session(id);
        return;
    }
    if (session.unsent_bytes() > limits_.unsent_bytes) {
        drop(session, "it does not read its replies");
    }
    const bool done = session.state == Session::State::closing || session.input_ended;
    if (done && session.unsent_bytes() == 0 && !session.busy) {
        end_session(id);
        return;
    }
    next_deadline_ = std::min(next_deadline_, session.update_deadline());
    set_interest(session);
}

void Loop::set_interest(Session& session)
{
    const uint32_t wanted =
        (session.wants_to_read() ? uint32_t{EPOLLIN} : 0U) | (session.unsent_bytes() > 0 ? uint32_t{EPOLLOUT} : 0U);
    if (wanted == session.interest) {
        return;
    }
    epoll_event event{};
    event.events = wanted;
    event.data.u64 = session.info()->id;
    ::epoll_ctl(epoll_.get(), EPOLL_CTL_MOD, session.descriptor(), &event);
    session.interest = wanted;
}

void Loop::drop(Session& session, const std::string& why)
{
    parts_.log(2, "session " + std::to_string(session.info()->id) + " of " + session.info()->who.user +
                      " is ended: " + why);
    ++parts_.counters.sessions_dropped;
    session.state = Session::State::closing;
    session.busy = false;
    session.abandon();
}

void Loop::end_session(uint32_t id)
{
    const auto found = sessions_.find(id);
    if (found == sessions_.end()) {
        return;
    }
    const std::unique_ptr<Session> session = std::move(found->second);
    sessions_.erase(found);
    const auto& info = session->info();
    parts_.subscribers -= session->subscription ? 1 : 0;
    parts_.sessions.remove(id);
    parts_.counters.past_in_rpcs += info->in_rpcs;
    parts_.counters.past_in_bad_rpcs += info->in_bad_rpcs;
    parts_.counters.past_out_rpc_errors += info->out_rpc_errors;
    parts_.counters.past_out_notifications += info->out_notifications;
    parts_.log(3, "session " + std::to_string(id) + " has ended: " + session->end_reason);
    if (session->announced) {
        parts_.writer.session_ended(info);
        tell_subscribers(*session_end(parts_.mapping.yang(), *info, session->end_reason, session->killed_by));
    }
}

int Loop::timeout_ms() const
{
    if (next_deadline_ == Session::Clock::time_point::max()) {
        return -1;
    }
    const auto left = next_deadline_ - Session::Clock::now();
    const auto ms = std::chrono::duration_cast<std::chrono::milliseconds>(left).count() + 1;
    return static_cast<int>(std::clamp<long long>(ms, 0, 60'000));
}

/// Ends sessions whose time is over. Deadlines that were met meanwhile cost one look at the clock.
void Loop::expire()
{
    if (next_deadline_ == Session::Clock::time_point::max() || Session::Clock::now() < next_deadline_) {
        return;
    }
    const auto now = Session::Clock::now();
    std::vector<uint32_t> late;
    next_deadline_ = Session::Clock::time_point::max();
    for (const auto& [id, session] : sessions_) {
        if (session->deadline <= now) {
            late.push_back(id);
        } else {
            next_deadline_ = std::min(next_deadline_, session->deadline);
        }
    }
    for (const uint32_t id : late) {
        Session& session = *find(id);
        drop(session, session.state == Session::State::hello
                          ? "no hello came in time"
                          : "a message was not finished, or a reply not read, in time");
        session.end_reason = "timeout";
        end_session(id);
    }
}

void Loop::tell_subscribers(const Event& event)
{
    std::string printed;
    std::vector<uint32_t> told;
    for (const auto& [id, session] : sessions_) {
        if (session->subscription && session->state == Session::State::open) {
            told.push_back(id);
        }
    }
    for (const uint32_t id : told) {
        Session& session = *find(id);
        if (!parts_.rules.get()->may_receive(session.info()->who, *event.content)) {
            ++parts_.nacm_counters.denied_notifications;
            continue;
        }
        if (!passes(parts_.mapping.yang(), *session.subscription, event)) {
            continue;
        }
        if (printed.empty()) {
            printed = print_notification(event);
        }
        session.send(printed);
        session.info()->out_notifications.fetch_add(1, std::memory_order_relaxed);
        settle(session);
    }
}

/// Sessions finish what they have begun, as far as that does not take long.
void Loop::shut_down()
{
    listeners_.clear();
    const auto end = Session::Clock::now() + kShutdownTime;
    std::vector<uint32_t> ids;
    for (auto& [id, session] : sessions_) {
        ids.push_back(id);
    }
    for (const uint32_t id : ids) {
        if (Session* const session = find(id)) {
            session->end_reason = "other";
            session->state = Session::State::closing;
            settle(*session);
        }
    }
    while (!sessions_.empty() && Session::Clock::now() < end) {
        std::array<epoll_event, 64> ready{};
        const int count = ::epoll_wait(epoll_.get(), ready.data(), static_cast<int>(ready.size()), 100);
        for (int i = 0; i < count; ++i) {
            const uint64_t tag = ready[static_cast<std::size_t>(i)].data.u64;
            if (tag == kWakeTag) {
                take_messages();
            } else if (tag < kWakeTag) {
                if (Session* const session = find(static_cast<uint32_t>(tag))) {
                    settle(*session);
                }
            }
        }
    }
    while (!sessions_.empty()) {
        end_session(sessions_.begin()->first);
    }
}

} // namespace zpf::agent
