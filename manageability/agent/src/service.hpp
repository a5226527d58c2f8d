// SPDX-License-Identifier: Apache-2.0
//
// The operations of NETCONF, apart from sessions and sockets: a message comes in, an outcome goes out. Reads are
// answered on the thread that asks or on one of the pool's; whatever changes something goes through the writer.
#pragma once

#include <memory>
#include <mutex>
#include <string>
#include <string_view>
#include <unordered_map>

#include "counters.hpp"
#include "envelope.hpp"
#include "outcome.hpp"
#include "pool.hpp"
#include "read.hpp"
#include "session_registry.hpp"
#include "state_data.hpp"
#include "writer.hpp"

namespace zpf::agent {

/// Read requests by their text, so that a poller's is compiled once. Forgets all when it is full: pollers come back.
class PlanCache {
public:
    std::shared_ptr<const ReadPlan> find(std::string_view identity) const;
    void add(std::string identity, std::shared_ptr<const ReadPlan> plan);

private:
    static constexpr std::size_t kMostPlans = 512;
    static constexpr std::size_t kMostBytes = 16 * 1024; ///< longer requests are not worth their memory

    mutable std::mutex mutex_;
    struct Hash {
        using is_transparent = void;
        std::size_t operator()(std::string_view text) const { return std::hash<std::string_view>{}(text); }
    };
    std::unordered_map<std::string, std::shared_ptr<const ReadPlan>, Hash, std::equal_to<>> plans_;
};

struct ServiceParts {
    kelda::Store& store;
    const Mapping& mapping;
    Writer& writer;
    Pool& pool;
    Rules& rules;
    NacmCounters& nacm_counters;
    Counters& counters;
    const StateData& state;
    FaultSwitch* faults; ///< null: the device has none to switch
    Diagnostics& diagnostics;
    bool keep_answers; ///< repeated reads are answered from memory while nothing has changed
    std::function<void(int level, const std::string&)> log;
};

class Service {
public:
    explicit Service(ServiceParts parts) : parts_(std::move(parts)) {}

    /**
     * Answers a read that is known and light, on the spot.
     * @return false when it is not: serve() then takes the message
     */
    bool serve_known(Lane& lane, SessionInfo& session, std::string_view message, std::string& reply);

    /**
     * Works on a message. `complete` may be called before this returns, or later on another thread.
     * @param lane of this thread
     * @param on_loop this thread must not be kept: long work goes to the pool
     */
    void serve(Lane& lane, const std::shared_ptr<SessionInfo>& session, std::string message, bool on_loop,
               Complete complete);

private:
    struct Request; ///< one message on its way
    using RequestPtr = std::shared_ptr<Request>;
    using Handler = void (Service::*)(Lane&, const RequestPtr&, Element operation, bool on_loop);

    static Handler find_handler(Element operation);
    void parse_and_serve(Lane& lane, const RequestPtr& request, bool on_loop);
    void dispatch(Lane& lane, const RequestPtr& request, bool on_loop);
    void check_rights(const Request& request, Element operation) const;

    void read(Lane& lane, const RequestPtr& request, Element operation, bool on_loop);
    void run_read(Lane& lane, Request& request, const ReadPlan& plan);
    /// Appends the answer, kept or worked out. Throws Refused and others.
    void append_answer(Lane& lane, const SessionInfo& session, std::string_view message_id, const ReadPlan& plan,
                       const Nacm& nacm, std::string& out);
    bool may_execute(const SessionInfo& session, const Nacm& nacm, Element operation) const;
    void write(const RequestPtr& request, Writer::Work work);

    // What changes something; in service_writes.cpp.
    void edit_config(Lane&, const RequestPtr& request, Element operation, bool);
    void edit_data(Lane&, const RequestPtr& request, Element operation, bool);
    void copy_config(Lane&, const RequestPtr& request, Element operation, bool);
    void delete_config(Lane&, const RequestPtr& request, Element operation, bool);
    void lock(Lane&, const RequestPtr& request, Element operation, bool);
    void unlock(Lane&, const RequestPtr& request, Element operation, bool);
    void discard_changes(Lane&, const RequestPtr& request, Element operation, bool);
    void commit(Lane&, const RequestPtr& request, Element operation, bool);
    void cancel_commit(Lane&, const RequestPtr& request, Element operation, bool);
    void validate_config(Lane&, const RequestPtr& request, Element operation, bool);
    void preview_edit(Lane&, const RequestPtr& request, Element operation, bool);
    void edit(const RequestPtr& request, Element config, bool candidate, Element operation);

    // The others; in service_session.cpp.
    void close_session(Lane&, const RequestPtr& request, Element operation, bool);
    void kill_session(Lane&, const RequestPtr& request, Element operation, bool);
    void get_schema(Lane&, const RequestPtr& request, Element operation, bool);
    void create_subscription(Lane&, const RequestPtr& request, Element operation, bool);
    void set_diagnostics(Lane&, const RequestPtr& request, Element operation, bool);
    void inject_fault(Lane&, const RequestPtr& request, Element operation, bool);
    void clear_fault(Lane&, const RequestPtr& request, Element operation, bool);

    void finish(Request& request, std::string_view body, Outcome outcome = {});
    void fail(Request& request, const std::vector<RpcError>& errors);

    ServiceParts parts_;
    PlanCache plans_;
};

} // namespace zpf::agent
