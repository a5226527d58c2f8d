// SPDX-License-Identifier: Apache-2.0
//
// From messages to operations, and reads.
#include "service.hpp"

#include <array>

#include "rpc_error.hpp"
#include "service_request.hpp"

namespace zpf::agent {

namespace {

constexpr std::size_t kLongMessageBytes = 32 * 1024; ///< parsing more would keep the loop from other sessions

} // namespace

std::shared_ptr<const ReadPlan> PlanCache::find(std::string_view identity) const
{
    const std::lock_guard lock(mutex_);
    const auto found = plans_.find(identity);
    return found == plans_.end() ? nullptr : found->second;
}

void PlanCache::add(std::string identity, std::shared_ptr<const ReadPlan> plan)
{
    if (identity.size() > kMostBytes) {
        return;
    }
    const std::lock_guard lock(mutex_);
    if (plans_.size() >= kMostPlans) {
        plans_.clear();
    }
    plans_[std::move(identity)] = std::move(plan);
}

Service::Handler Service::find_handler(Element operation)
{
    struct Row {
        std::string_view name;
        Handler handler;
    };
    static constexpr std::array kBase{
        Row{"get", &Service::read},
        Row{"get-config", &Service::read},
        Row{"edit-config", &Service::edit_config},
        Row{"copy-config", &Service::copy_config},
        Row{"delete-config", &Service::delete_config},
        Row{"lock", &Service::lock},
        Row{"unlock", &Service::unlock},
        Row{"close-session", &Service::close_session},
        Row{"kill-session", &Service::kill_session},
        Row{"discard-changes", &Service::discard_changes},
        Row{"commit", &Service::commit},
        Row{"cancel-commit", &Service::cancel_commit},
        Row{"validate", &Service::validate_config},
    };
    static constexpr std::array kNmda{Row{"get-data", &Service::read}, Row{"edit-data", &Service::edit_data}};
    static constexpr std::array kMonitoring{Row{"get-schema", &Service::get_schema}};
    static constexpr std::array kNotifications{Row{"create-subscription", &Service::create_subscription}};
    static constexpr std::array kAgent{
        Row{"set-diagnostics", &Service::set_diagnostics},
        Row{"preview-edit", &Service::preview_edit},
        Row{"inject-fault", &Service::inject_fault},
        Row{"clear-fault", &Service::clear_fault},
    };
    const auto find = [&](const auto& rows) -> Handler {
        for (const Row& row : rows) {
            if (row.name == operation.name()) {
                return row.handler;
            }
        }
        return nullptr;
    };
    if (operation.ns() == kBaseNamespace) {
        return find(kBase);
    }
    if (operation.ns() == "urn:ietf:params:xml:ns:yang:ietf-netconf-nmda") {
        return find(kNmda);
    }
    if (operation.ns() == "urn:ietf:params:xml:ns:yang:ietf-netconf-monitoring") {
        return find(kMonitoring);
    }
    if (operation.ns() == "urn:ietf:params:xml:ns:netconf:notification:1.0") {
        return find(kNotifications);
    }
    return operation.ns() == "urn:zpf:yang:zpf-agent" ? find(kAgent) : nullptr;
}

void check_parameters(Element operation, std::initializer_list<std::string_view> known)
{
    for (const Element child : operation.children()) {
        bool found = false;
        for (const std::string_view name : known) {
            found = found || (child.name() == name && child.ns() == operation.ns());
        }
        if (!found) {
            throw refused_protocol("unknown-element", "The operation has no such parameter.",
                                   std::string{child.name()});
        }
    }
}

bool Service::serve_known(Lane& lane, SessionInfo& session, std::string_view message, std::string& reply)
{
    const auto envelope = Envelope::scan(message);
    if (!envelope || !envelope->has_message_id()) {
        return false;
    }
    static thread_local std::string identity;
    envelope->identity(identity);
    const auto plan = plans_.find(identity);
    if (plan == nullptr || !plan->is_light()) {
        return false;
    }
    const auto nacm = parts_.rules.get();
    if (!may_execute(session, *nacm, plan->element())) {
        return false;
    }
    envelope->open_reply(reply);
    const std::size_t length = reply.size();
    try {
        append_answer(lane, session, envelope->message_id(), *plan, *nacm, reply);
    } catch (const std::exception&) {
        reply.clear(); // whatever it is: serve() meets it, too, and knows how to tell it
        return false;
    }
    if (reply.size() == length) {
        reply.append("<ok/>");
    }
    Envelope::close_reply(reply);
    ++parts_.counters.cached_plans;
    parts_.counters.count_request(plan->operation(), true);
    return true;
}

void Service::serve(Lane& lane, const std::shared_ptr<SessionInfo>& session, std::string message, bool on_loop,
                    Complete complete)
{
    const auto request = std::make_shared<Request>();
    request->session = session;
    request->text = std::move(message);
    request->complete = std::move(complete);
    request->envelope = Envelope::scan(request->text);
    request->nacm = parts_.rules.get();
    if (on_loop && request->text.size() > kLongMessageBytes) {
        parts_.pool.submit([this, request](Lane& other) { parse_and_serve(other, request, false); });
    } else {
        parse_and_serve(lane, request, on_loop);
    }
}

void Service::parse_and_serve(Lane& lane, const RequestPtr& request, bool on_loop)
{
    // libyang keeps complaints per thread; those of earlier requests are of no interest.
    ly_err_clean(const_cast<ly_ctx*>(&parts_.mapping.yang().ctx()), nullptr);
    ly_err_clean(parts_.mapping.yang().models().libyang().blank.get(), nullptr);
    try {
        dispatch(lane, request, on_loop);
    } catch (const Refused& refusal) {
        fail(*request, refusal.errors());
    } catch (const std::exception& error) {
        parts_.log(1, request->operation + ": " + error.what());
        RpcError told;
        told.tag = "operation-failed";
        told.message = error.what();
        fail(*request, {told});
    }
}

void Service::dispatch(Lane& lane, const RequestPtr& request, bool on_loop)
{
    if (request->envelope && request->envelope->has_message_id()) {
        std::string identity;
        request->envelope->identity(identity);
        if (const auto plan = plans_.find(identity)) {
            ++parts_.counters.cached_plans;
            request->operation = plan->operation();
            check_rights(*request, plan->element());
            if (!on_loop || plan->is_light()) {
                run_read(lane, *request, *plan);
            } else {
                parts_.pool.submit([this, request, plan](Lane& other) { run_read(other, *request, *plan); });
            }
            return;
        }
    }
    request->message = std::make_shared<const Message>(parts_.mapping.yang().models(), request->text);
    const Element rpc = request->message->top();
    if (!rpc.is("rpc", kBaseNamespace)) {
        throw refused_message("A message is an \"rpc\" element of NETCONF's base namespace.");
    }
    if (!request->envelope) {
        throw refused_message("The attributes of the rpc are not well-formed, or too many.");
    }
    if (!request->envelope->has_message_id()) {
        RpcError error = refused_protocol("missing-attribute", "The rpc has no message-id.").errors().front();
        error.type = "rpc";
        error.info = {{"bad-attribute", "message-id"}, {"bad-element", "rpc"}};
        throw Refused(std::move(error));
    }
    const Element operation = rpc.first_child();
    if (!operation || operation.next()) {
        throw refused_protocol("missing-element", "An rpc holds one operation.", "rpc");
    }
    const Handler handler = find_handler(operation);
    request->operation =
        handler != nullptr ? operation.name() : "unknown"; // counters keep each name that they are told
    if (handler == nullptr) {
        const bool known = parts_.mapping.yang().module_of_namespace(operation.ns()) != nullptr;
        RpcError error = refused_protocol(known ? "operation-not-supported" : "unknown-namespace",
                                          "There is no such operation.", std::string{operation.name()})
                             .errors()
                             .front();
        if (!known) {
            error.info.emplace_back("bad-namespace", std::string{operation.ns()});
        }
        throw Refused(std::move(error));
    }
    check_rights(*request, operation);
    (this->*handler)(lane, request, operation, on_loop);
}

bool Service::may_execute(const SessionInfo& session, const Nacm& nacm, Element operation) const
{
    if (session.who.recovery) {
        return true;
    }
    const Yang& yang = parts_.mapping.yang();
    const lys_module* const module = yang.module_of_namespace(operation.ns());
    const std::string name{operation.name()};
    const lysc_node* const rpc = module ? lys_find_child(nullptr, module, name.c_str(), 0, LYS_RPC, 0) : nullptr;
    return rpc == nullptr || nacm.may_execute(session.who, *module, *rpc);
}

void Service::check_rights(const Request& request, Element operation) const
{
    if (!may_execute(*request.session, *request.nacm, operation)) {
        ++parts_.nacm_counters.denied_operations;
        throw refused_protocol("access-denied", "The access rules do not permit this operation.");
    }
}

void Service::read(Lane& lane, const RequestPtr& request, Element operation, bool on_loop)
{
    const auto plan = std::make_shared<const ReadPlan>(parts_.mapping.yang(), request->message, operation);
    std::string identity;
    request->envelope->identity(identity);
    plans_.add(std::move(identity), plan);
    if (!on_loop || plan->is_light()) {
        run_read(lane, *request, *plan);
    } else {
        parts_.pool.submit([this, request, plan](Lane& other) {
            try {
                run_read(other, *request, *plan);
            } catch (const Refused& refusal) {
                fail(*request, refusal.errors());
            }
        });
    }
}

void Service::run_read(Lane& lane, Request& request, const ReadPlan& plan)
{
    std::string body;
    try {
        append_answer(lane, *request.session, request.envelope->message_id(), plan, *request.nacm, body);
    } catch (const Refused& refusal) {
        fail(request, refusal.errors());
        return;
    } catch (const std::exception& error) {
        parts_.log(1, request.operation + ": " + error.what());
        RpcError told;
        told.tag = "operation-failed";
        told.message = error.what();
        fail(request, {told});
        return;
    }
    finish(request, body);
}

void Service::append_answer(Lane& lane, const SessionInfo& session, std::string_view message_id, const ReadPlan& plan,
                            const Nacm& nacm, std::string& out)
{
    const Stopwatch time(parts_.counters.mapping);
    const kelda::Snapshot snapshot = parts_.store.snapshot();
    const auto candidate = plan.datastore() == Datastore::candidate ? parts_.writer.candidate() : nullptr;
    // What is traced is meant to be seen happening.
    const bool may_keep = parts_.keep_answers && plan.is_mapped_only() && candidate == nullptr &&
                          sees_all(plan, nacm, session.who) && !parts_.diagnostics.tracing &&
                          parts_.diagnostics.log_levels == 0;
    const uint64_t config = snapshot.generation();
    const uint64_t operational = plan.with_state() ? snapshot.volatile_generation() : 0;
    if (may_keep && plan.kept().append(config, operational, out)) {
        return;
    }
    lane.mapper.begin(session.id, message_id, plan.operation());
    const std::size_t begin = out.size();
    const StateSource state = [this](const lysc_node& top) { return parts_.state.below(top); };
    const std::function<void(const std::string&)> left_out = [this](const std::string& reason) {
        ++parts_.counters.readings_left_out;
        parts_.log(2, "left out of a reply: " + reason);
    };
    const auto run = [&](const kelda::Reader& reader) {
        answer(plan, lane.mapper, lane.printer, {reader, snapshot, state, nacm, session.who, left_out}, out);
    };
    if (candidate && !candidate->empty()) {
        run(Overlay(snapshot, *candidate));
    } else {
        run(snapshot);
    }
    if (may_keep) {
        plan.kept().keep(config, operational, std::string_view{out}.substr(begin));
    }
}

void Service::write(const RequestPtr& request, Writer::Work work)
{
    parts_.writer.submit(request->session, std::string{request->envelope->message_id()}, request->operation,
                         std::move(work),
                         [this, request](const std::string& reply, const std::vector<RpcError>& errors) {
                             errors.empty() ? finish(*request, reply) : fail(*request, errors);
                         });
}

void Service::finish(Request& request, std::string_view body, Outcome outcome)
{
    parts_.counters.count_request(request.operation, true);
    outcome.reply.reserve(body.size() + 256);
    request.envelope->open_reply(outcome.reply);
    outcome.reply.append(body.empty() ? std::string_view{"<ok/>"} : body);
    Envelope::close_reply(outcome.reply);
    request.complete(std::move(outcome));
}

void Service::fail(Request& request, const std::vector<RpcError>& errors)
{
    if (errors.front().tag == "malformed-message" && !request.session->base_1_1) {
        RpcError told = errors.front(); // not to be sent to such a client (RFC 6241, appendix A)
        told.tag = "operation-failed";
        fail(request, {told});
        return;
    }
    if (errors.front().type == "rpc") { // no correct rpc message (RFC 6022, 2.1.5); whoever took it counted it as one
        request.session->in_rpcs.fetch_sub(1, std::memory_order_relaxed);
        request.session->in_bad_rpcs.fetch_add(1, std::memory_order_relaxed);
    }
    parts_.counters.count_request(request.operation, false);
    for (const RpcError& error : errors) {
        parts_.counters.count_refusal(error.tag);
    }
    parts_.log(3, "session " + std::to_string(request.session->id) + ": " + request.operation +
                      " refused: " + errors.front().tag + ": " + errors.front().message);
    Outcome outcome;
    outcome.errors = true;
    if (request.envelope) {
        request.envelope->open_reply(outcome.reply);
    } else {
        Envelope::open_anonymous_reply(outcome.reply);
    }
    print(outcome.reply, errors);
    Envelope::close_reply(outcome.reply);
    request.complete(std::move(outcome));
}

} // namespace zpf::agent
