// SPDX-License-Identifier: Apache-2.0
//
// Operations on sessions, schemas and the agent itself.
#include <charconv>
#include <set>

#include "read.hpp"
#include "rpc_error.hpp"
#include "service_request.hpp"
#include "zpf_base/log.h"

namespace zpf::agent {

namespace {

std::string_view required(Element operation, std::string_view name)
{
    const Element element = operation.child(name);
    if (!element || element.text().empty()) {
        throw refused_protocol("missing-element", "The operation needs this parameter.", std::string{name});
    }
    return element.text();
}

template <typename Number>
Number number_of(std::string_view text, std::string_view name)
{
    Number number{};
    const auto end = std::from_chars(text.data(), text.data() + text.size(), number);
    if (end.ec != std::errc{} || end.ptr != text.data() + text.size()) {
        throw refused_protocol("invalid-value", "\"" + std::string{text} + "\" is no number that can stand here.",
                               std::string{name});
    }
    return number;
}

} // namespace

void Service::close_session(Lane&, const RequestPtr& request, Element operation, bool)
{
    check_parameters(operation, {});
    Outcome outcome;
    outcome.close = true;
    finish(*request, "", std::move(outcome));
}

void Service::kill_session(Lane&, const RequestPtr& request, Element operation, bool)
{
    check_parameters(operation, {"session-id"});
    const auto id = number_of<uint32_t>(required(operation, "session-id"), "session-id");
    if (id == request->session->id) {
        throw refused_protocol("invalid-value", "A session cannot kill itself; it can close.", "session-id");
    }
    if (!parts_.state.has_session(id)) {
        throw refused_protocol("invalid-value", "There is no session " + std::to_string(id) + ".", "session-id");
    }
    Outcome outcome;
    outcome.kill = id;
    finish(*request, "", std::move(outcome));
}

void Service::get_schema(Lane&, const RequestPtr& request, Element operation, bool)
{
    check_parameters(operation, {"identifier", "version", "format"});
    const std::string name{required(operation, "identifier")};
    const Element version = operation.child("version");
    if (const Element format = operation.child("format")) {
        const std::string_view text = format.text();
        if (text.substr(text.find(':') == std::string_view::npos ? 0 : text.find(':') + 1) != "yang") {
            throw refused("invalid-value", "Schemas are there as YANG only.", "", "format");
        }
    }
    const std::string text =
        schema_text(parts_.mapping.yang(), name, version ? std::string{version.text()} : std::string{});
    if (text.empty()) {
        throw refused("invalid-value", "There is no schema \"" + name + "\" of this version.", "", "identifier");
    }
    std::string body = R"(<data xmlns="urn:ietf:params:xml:ns:yang:ietf-netconf-monitoring">)";
    append_escaped(body, text);
    body.append("</data>");
    finish(*request, body);
}

void Service::create_subscription(Lane&, const RequestPtr& request, Element operation, bool)
{
    check_parameters(operation, {"stream", "filter", "startTime", "stopTime"});
    std::set<std::string_view> seen;
    for (const Element parameter : operation.children()) {
        if (!seen.insert(parameter.name()).second) {
            throw refused_protocol("bad-element", "The parameter stands twice.", std::string{parameter.name()});
        }
    }
    const Element stream = operation.child("stream");
    if (stream && stream.text() != "NETCONF") {
        throw refused_protocol("invalid-value", "There is no stream \"" + std::string{stream.text()} + "\".", "stream");
    }
    if (operation.child("stopTime") && !operation.child("startTime")) {
        throw refused_protocol("missing-element", "A stopTime needs a startTime.", "startTime");
    }
    if (operation.child("startTime")) {
        throw refused_protocol("operation-not-supported", "Events are not kept, so there is no replay.", "startTime");
    }
    Outcome outcome;
    outcome.subscription.emplace();
    outcome.subscription->message = request->message;
    if (const Element filter = operation.child("filter")) {
        const auto select = select_of(filter);
        if (!select) {
            outcome.subscription->filter = filter;
        } else if (*select != "/") { // the root selects every event
            outcome.subscription->xpath = checked_xpath(parts_.mapping.yang(), filter, *select);
        }
    }
    if (request->session->subscribed.exchange(true)) { // last, for a refused request must not count as one
        throw refused_protocol("operation-failed", "The session has a subscription already.");
    }
    finish(*request, "", std::move(outcome));
}

void Service::set_diagnostics(Lane&, const RequestPtr& request, Element operation, bool)
{
    check_parameters(operation, {"log", "trace"});
    uint32_t levels = parts_.diagnostics.log_levels;
    if (const Element log = operation.child("log")) {
        if (zpf_log_filter_set(&levels, std::string{log.text()}.c_str()) != 0) {
            throw refused_protocol("invalid-value", "The levels are off, error and trace.", "log");
        }
    }
    const Element trace = operation.child("trace");
    if (trace && trace.text() != "true" && trace.text() != "false") {
        throw refused_protocol("invalid-value", "\"true\" or \"false\".", "trace");
    }
    if (trace && trace.text() == "true" && parts_.diagnostics.ring == nullptr) {
        throw refused("operation-failed", "The agent has no trace ring.");
    }
    parts_.diagnostics.log_levels = levels;
    if (trace) {
        parts_.diagnostics.tracing = trace.text() == "true";
    }
    finish(*request, "");
}

void Service::inject_fault(Lane&, const RequestPtr& request, Element operation, bool)
{
    check_parameters(operation, {"port", "kind", "value", "delay"});
    if (parts_.faults == nullptr) {
        throw refused("operation-not-supported", "This device has no faults to inject.");
    }
    const std::string port{required(operation, "port")};
    const std::string kind{required(operation, "kind")};
    const Element value = operation.child("value");
    const Element delay = operation.child("delay");
    try {
        parts_.faults->inject(port, kind, value ? number_of<int>(value.text(), "value") : -1,
                              delay ? number_of<int>(delay.text(), "delay") : -1);
    } catch (const std::invalid_argument& error) {
        throw refused("invalid-value", error.what(), "", "kind");
    }
    finish(*request, "");
}

void Service::clear_fault(Lane&, const RequestPtr& request, Element operation, bool)
{
    check_parameters(operation, {"port"});
    if (parts_.faults == nullptr) {
        throw refused("operation-not-supported", "This device has no faults to inject.");
    }
    parts_.faults->clear(std::string{required(operation, "port")});
    finish(*request, "");
}

} // namespace zpf::agent
