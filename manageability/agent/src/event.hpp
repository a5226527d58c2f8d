// SPDX-License-Identifier: Apache-2.0
//
// What happens, for those who have subscribed to it (RFC 5277, RFC 6470).
#pragma once

#include <chrono>
#include <functional>
#include <memory>
#include <string>

#include "kelda/store.hpp"
#include "outcome.hpp"
#include "session_registry.hpp"
#include "yang.hpp"

namespace zpf::agent {

struct Event {
    bridge::DataPtr content; ///< the notification node
    std::chrono::system_clock::time_point time = std::chrono::system_clock::now();
};

/// Takes events from any thread.
using EventSink = std::function<void(std::shared_ptr<const Event>)>;

/// RFC 3339, UTC, milliseconds.
std::string date_and_time(std::chrono::system_clock::time_point time);

/// The configuration as the client model shows it; null: nothing.
struct ClientView {
    const lyd_node* before;
    const lyd_node* after;
};

/// Names what changed in the client model, then the records behind it. Who did it: a session, or the agent (null).
std::shared_ptr<const Event> config_change(const Yang& yang, const SessionInfo* by, const ClientView& view,
                                           const kelda::Changes& changes);
std::shared_ptr<const Event> session_start(const Yang& yang, const SessionInfo& session);
/// @param reason "closed", "killed", "dropped", "timeout", "bad-hello" or "other"
std::shared_ptr<const Event> session_end(const Yang& yang, const SessionInfo& session, const std::string& reason,
                                         uint32_t killed_by);
/// @param what "start", "cancel", "timeout", "extend" or "complete"
std::shared_ptr<const Event> confirmed_commit(const Yang& yang, const SessionInfo* by, const std::string& what,
                                              unsigned timeout_s);
/// A reading of the device has changed.
std::shared_ptr<const Event> reading_change(const Yang& yang, const std::string& port);

/// True when the subscriber's filter selects anything of the event.
bool passes(const Yang& yang, const Subscribed& subscription, const Event& event);
/// The notification message.
std::string print_notification(const Event& event);

/// Data path of a record: /config/m:a/b=x/c is /m:a/b[k='x']/c.
std::string instance_identifier(const Yang& yang, std::string_view record_name);

} // namespace zpf::agent
